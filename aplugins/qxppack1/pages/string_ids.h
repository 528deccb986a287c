// Numbers of the module's own strings: effect names, preset names, and the automation labels,
// units and enumeration lists. Each effect keeps to the block of numbers its page uses.
#pragma once
#include <cstdint>

enum QxPackStringId : uint32_t {
  IDS_TIME_NAME = 1050,
  IDS_TIME_PRESET0 = 1200,  // one number per preset row, in row order
  IDS_PITCHS_NAME = 2050,
  IDS_PITCHS_PRESET0 = 2200,

  IDS_ECHOS_TITLE = 3000,  // the page's title
  IDS_ECHOS_NAME = 3022,
  IDS_ECHOS_PRESET0 = 3200,
  IDS_ECHOS_LABEL0 = 3300,  // one label per automation parameter, in index order
  IDS_ECHOS_DELAY_NOTES = 3330,  // the 18 note names, comma-separated
  IDS_ECHOS_DECAY_NOTES = 3331,  // the same and "Measures"

  IDS_ECHOMT_TITLE = 4000,  // the page's title
  IDS_ECHOMT_NAME = 4119,
  IDS_ECHOMT_PRESET0 = 4200,

  IDS_REVERB_NAME = 5047,
  IDS_REVERB_PRESET0 = 5200,
  IDS_REVERB_LABEL0 = 5300,
  IDS_REVERB_REFLECTION_STYLE = 5312,  // a label no parameter uses
  IDS_REVERB_MODES = 5330,
  IDS_REVERB_STYLES = 5331,

  IDS_CHORUS_NAME = 6050,
  IDS_CHORUS_PRESET0 = 6200,
  IDS_CHORUS_LABEL0 = 6300,
  IDS_CHORUS_PERIOD_NOTES = 6330,

  IDS_UNIT_MS = 7001,
  IDS_UNIT_DB = 7002,
  IDS_UNIT_HZ = 7003,
  IDS_UNIT_PERCENT = 7004,
  IDS_UNIT_SECONDS = 7005,
};
