// Numbers of the module's own strings: effect names, preset names, and the automation labels,
// units and enumeration lists. Each effect keeps to the block of numbers its page uses.
#pragma once
#include <cstdint>

enum QxPackStringId : uint32_t {
  IDS_TIME_TITLE = 1000,  // the page's title
  IDS_TIME_NAME = 1050,
  IDS_TIME_PRESET0 = 1200,  // one number per preset row, in row order
  // Texts the Time Stretch page writes at run time.
  IDS_TIME_PAGE_NEED_PIN = 1300,
  IDS_TIME_PAGE_UNAVAILABLE = 1301,
  IDS_TIME_PAGE_INITIAL_TEMPO = 1302,
  IDS_TIME_PAGE_INITIAL_TIME = 1303,
  IDS_TIME_PAGE_FINAL_PERCENT = 1304,  // formats with two %s: low and high, or high and low
  IDS_TIME_PAGE_FINAL_TEMPO = 1305,
  IDS_TIME_PAGE_FINAL_TIME = 1306,
  IDS_TIME_PAGE_FORMAT0 = 1310,  // the three input forms, in InputFormat order
  IDS_PITCHS_TITLE = 2000,
  IDS_PITCHS_NAME = 2050,
  IDS_PITCHS_PRESET0 = 2200,
  // Texts the Pitch Shift page writes at run time.
  IDS_PITCHS_PAGE_NEED_PIN = 2300,
  IDS_PITCHS_PAGE_SEMITONES50 = 2301,
  IDS_PITCHS_PAGE_SEMITONES12 = 2302,
  IDS_PITCHS_PAGE_FINAL_TIME = 2303,  // a format with two %s
  IDS_PITCHS_PAGE_UP = 2304,
  IDS_PITCHS_PAGE_DOWN = 2305,
  IDS_PITCHS_PAGE_INTERVAL0 = 2310,  // twelve interval names, by semitone count modulo 12

  IDS_ECHOS_TITLE = 3000,  // the page's title
  IDS_ECHOS_NAME = 3022,
  IDS_ECHOS_PRESET0 = 3200,
  IDS_ECHOS_LABEL0 = 3300,  // one label per automation parameter, in index order
  IDS_ECHOS_DELAY_NOTES = 3330,  // the 18 note names, comma-separated
  IDS_ECHOS_DECAY_NOTES = 3331,  // the same and "Measures"

  IDS_ECHOMT_TITLE = 4000,  // the page's title
  IDS_ECHOMT_NAME = 4119,
  IDS_ECHOMT_PRESET0 = 4200,

  IDS_REVERB_TITLE = 5000,  // the page's title
  IDS_REVERB_NAME = 5047,
  IDS_REVERB_PRESET0 = 5200,
  IDS_REVERB_LABEL0 = 5300,
  IDS_REVERB_REFLECTION_STYLE = 5312,  // a label no parameter uses
  IDS_REVERB_MODES = 5330,
  IDS_REVERB_STYLES = 5331,

  IDS_CHORUS_TITLE = 6000,  // the page's title
  IDS_CHORUS_NAME = 6050,
  IDS_CHORUS_PRESET0 = 6200,
  IDS_CHORUS_LABEL0 = 6300,
  IDS_CHORUS_PERIOD_NOTES = 6330,
  IDS_CHORUS_NOTE0 = 7190,  // the page's period list, one string per entry (7190..7208)
  IDS_CHORUS_NOTE_COUNT = 19,

  IDS_UNIT_MS = 7001,
  IDS_UNIT_DB = 7002,
  IDS_UNIT_HZ = 7003,
  IDS_UNIT_PERCENT = 7004,
  IDS_UNIT_SECONDS = 7005,
};
