// The parameter view: every effect's parameters as people name and measure them (dB, ms, s, Hz,
// %, bpm, ratio, note and mode names), with exact conversion to and from the stored record.
//
// One table per effect; every host (qxfx, LV2 ports, GStreamer properties, Python) is made from it.
// Host-neutral: it reaches a live effect only through the effect's own control interface.
//
// Three kinds of value appear below:
//   stored  - the value as the record holds it, widened to double (an int32, uint32 or float64
//             field). Exact: every stored value of an integer field is a whole double.
//   natural - what a person reads and types, in QxParamView::Unit: stored / Divisor
//             (tenths of a dB -> dB, tenths of a second -> s, thousandths of a Hz -> Hz ...).
//             Enumerations and toggles are their index (0, 1, ...) in natural units too.
//   text    - a natural value with its unit ("-10 dB", "400 ms", "Dotted 8th Note", "on").
//
// Round trips are exact: for every stored value s in [StoredMin, StoredMax] (every whole number for
// integer fields), QxParamToStored(p, QxParamToNatural(p, s)) == s and
// QxParamParse(p, QxParamFormat(p, s)) == s.
//
// Typical use:
//   const QxEffectView* fx = QxFindEffectView("simple-delay");
//   const QxParamView* p = QxFindParam(*fx, "delayout");           // case-insensitive
//   double stored;  std::string why;
//   if (QxParamParse(*p, "-10dB", &stored, &why) == QxParse::Ok)  // stored == -100
//     QxParamSetLive(*p, filter, stored);                           // through IQxEchosProp2
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/com/guid.h"
#include "platform/com/hresult.h"
#include "platform/com/unknown.h"

// How a parameter behaves for a control: a slider, a whole-number box, a list, a switch.
enum class QxParamKind : int {
  Continuous,  // a value on a fine grid of Step (a slider)
  Integer,     // whole numbers of Unit
  Enum,        // an index into EnumName(0 .. EnumCount - 1)
  Toggle,      // 0 off, 1 on
};

// The field's type in the record.
enum class QxStoreType : int { Int32, UInt32, Float64 };

struct QxParamView {
  const char* Name;         // the name people type: "DelayOut", "tapDelay[2]", "DecayTime"
  const char* Field;        // the record's field name (often Name; Reverb's differ: "decayTenths")
  const char* Unit;         // natural unit: "dB" "ms" "s" "Hz" "%" "bpm" "x" "semitones" "cents"
                            // "frames" "voices"; "" for enumerations, toggles and bare numbers
  const char* Help;         // one short line for listings
  QxParamKind Kind;
  QxStoreType Store;
  uint32_t Offset;          // byte offset of the field in the record
  double Divisor;           // natural = stored / Divisor
  double StoredMin;         // the record's range (what the effect clamps to)
  double StoredMax;
  double StoredDefault;     // what a new effect holds (its first preset row)
  double Step;              // natural step of a control (one stored unit for integer fields)
  bool PageOnly;            // only the property page reads it: setting it changes no sound
  bool MinIsSilence;        // the minimum level means silence, not a small gain ("-inf dB", "off")
  int EnumCount;            // Enum: names 0 .. EnumCount - 1
  const char16_t* (*EnumName)(int index);  // Enum: the name of an index (null for others)
  // The live effect, through its own control interface; null-safe on a wrong object.
  HRESULT (*Get)(IUnknown* effect, double* stored);
  HRESULT (*Set)(IUnknown* effect, double stored);

  double NaturalMin() const { return StoredMin / Divisor; }
  double NaturalMax() const { return StoredMax / Divisor; }
  double NaturalDefault() const { return StoredDefault / Divisor; }
};

struct QxEffectView {
  const char* Name;         // command-line name: "simple-delay", "multi-tap-delay", "reverb" ...
  const char16_t* Title;    // the class table's name: "Simple Delay"
  CLSID Clsid;              // the filter's class identifier
  IID ControlIid;           // its control interface (IQxEchosProp2 ...)
  size_t RecordSize;        // bytes of the parameter record
  std::span<const QxParamView> Params;  // in record order
};

// The six effects, in the class table's order.
std::span<const QxEffectView> QxEffectViews();
// By command-line name or title, case-insensitive; null when unknown.
const QxEffectView* QxFindEffectView(std::string_view name);
// By Name or Field, case-insensitive; null when unknown.
const QxParamView* QxFindParam(const QxEffectView& effect, std::string_view name);

// Natural <-> stored. QxParamToStored rounds to the nearest stored value (integer fields) and
// reports whether that was exact, or refuses what lies outside the range.
enum class QxParse : int {
  Ok,          // exact
  Rounded,     // between two stored values; *stored holds the nearest
  OutOfRange,  // *stored holds the nearest end of the range
  Invalid,     // not a value of this parameter
};
double QxParamToNatural(const QxParamView& p, double stored);
QxParse QxParamToStored(const QxParamView& p, double natural, double* stored);

// Text. Format gives the natural value with its unit ("-10 dB", "0.1 s", "Quarter Note", "on",
// "-inf dB" for a silent minimum), in the shortest form that parses back to the same stored value.
std::string QxParamFormat(const QxParamView& p, double stored);
// The natural value alone, no unit: what Format shows before the unit ("-10", "Quarter Note").
std::string QxParamFormatValue(const QxParamView& p, double stored);
// Accepts a number with or without a unit and spaces ("-10dB", "400 ms", "0.4s", "2kHz", "105%",
// "+7st" or "-50cents" for a ratio), "-inf"/"off" for a silent minimum, on/off/yes/no/true/false
// for toggles, and for enumerations the index or a name: case-insensitive, exact or a unique
// prefix at a word boundary ("dotted 8th" is "Dotted 8th Note"). *why says what went wrong, with
// the accepted range or names.
QxParse QxParamParse(const QxParamView& p, std::string_view text, double* stored, std::string* why);
// The enumeration names as UTF-8, or "" outside 0 .. EnumCount - 1.
std::string QxParamEnumName(const QxParamView& p, int index);

// The record: read or write one field of a whole record of the effect (RecordSize bytes).
double QxParamReadRecord(const QxParamView& p, const void* record);
void QxParamWriteRecord(const QxParamView& p, void* record, double stored);

// A live effect through its control interface: the single-field getter and setter, which clamp
// to the stored range as the page's own edits do.
HRESULT QxParamGetLive(const QxParamView& p, IUnknown* effect, double* stored);
HRESULT QxParamSetLive(const QxParamView& p, IUnknown* effect, double stored);
// What a loaded state holds that no control could have set ("Ratio is 1e-300, outside 0.01 x to
// 100 x"), or "" when every parameter lies in its range. A damaged or hand-made state can hold such
// values, and some would run for ever: hosts refuse it.
std::string QxParamsOutOfRange(const QxEffectView& view, IUnknown* effect);
