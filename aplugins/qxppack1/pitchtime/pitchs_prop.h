// Pitch Shift's parameter record (also its persistent payload and preset row) and IQxPitchsProp,
// its control interface, in slot order.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"
#include "platform/com/types.h"

// The control interface shares its identifier with the persistent form, as Time Stretch's does.
inline constexpr IID IID_IQxPitchsProp = MakeGuid("ED1B4103-93BE-11D0-AEBC-00A0C9053912");

// Little-endian, 48 bytes, no padding. Semitones and Cents are what the user typed; only Ratio,
// Accuracy, PreserveDuration, Mode and AntiAlias reach the audio.
struct PitchParams {
  int32_t Semitones;         // -50 to 50
  int32_t Cents;             // tenths of a cent, -1000 to 1000
  int32_t Accuracy;          // 1 linear, 2 sinc over 9, 3 sinc over 15; others as 2
  int32_t PreserveDuration;  // 0 or 1
  int32_t Mode;              // row of SpliceModeTable, with PreserveDuration on
  int32_t Reserved1;
  double Ratio;              // transposition, 2.0 an octave up; a finite number above 0
  int32_t AntiAlias;         // 0 or 1
  int32_t Reserved2;
  double InitialTime;        // source length in frames, for display only
};
static_assert(sizeof(PitchParams) == 48);
static_assert(offsetof(PitchParams, Ratio) == 24 && offsetof(PitchParams, AntiAlias) == 32);
static_assert(offsetof(PitchParams, InitialTime) == 40);

inline constexpr int32_t QX_PITCHS_MAX_SEMITONES = 50;
inline constexpr int32_t QX_PITCHS_MAX_CENTS = 1000;
inline constexpr double QX_PITCHS_MAX_TIME = 2.253069e8;

struct IQxPitchsProp : IUnknown {
  virtual HRESULT GetParams(PitchParams* record) = 0;
  // Stores the record, then clamps Semitones, Cents and InitialTime; E_FAIL when one had to be
  // clamped (the clamped value stays). A Ratio that is not a finite number above 0 is refused
  // with E_INVALIDARG and nothing is stored.
  virtual HRESULT SetParams(const PitchParams* record) = 0;
  // direction 0: input format, 1: output format; VFW_E_NOT_CONNECTED when not set.
  virtual HRESULT GetFormat(WAVEFORMATEX* record, int32_t direction) = 0;
  virtual HRESULT RegisterWindow(HWND window, uint16_t command, int32_t enable) = 0;
  virtual HRESULT GetSemitones(int32_t* value) = 0;
  virtual HRESULT SetSemitones(int32_t value) = 0;
  virtual HRESULT GetCents(int32_t* value) = 0;
  virtual HRESULT SetCents(int32_t value) = 0;
  virtual HRESULT GetAccuracy(int32_t* value) = 0;
  virtual HRESULT SetAccuracy(int32_t value) = 0;
  virtual HRESULT GetPreserveDuration(int32_t* value) = 0;
  virtual HRESULT SetPreserveDuration(int32_t value) = 0;
  virtual HRESULT GetMode(int32_t* value) = 0;
  virtual HRESULT SetMode(int32_t value) = 0;
  virtual HRESULT GetRatio(double* value) = 0;
  // E_INVALIDARG, and no change, for a value that is not a finite number above 0.
  virtual HRESULT SetRatio(double value) = 0;
  virtual HRESULT GetAntiAlias(int32_t* value) = 0;
  virtual HRESULT SetAntiAlias(int32_t value) = 0;
  virtual HRESULT GetInitialTime(double* value) = 0;
  virtual HRESULT SetInitialTime(double value) = 0;
  // What the page learnt from a licence check; kept, never acted on.
  virtual HRESULT SetLicenceState(int32_t value) = 0;
  virtual HRESULT GetLicenceState(int32_t* value) = 0;
  virtual HRESULT SetLicenceFlags(int32_t value) = 0;
  virtual HRESULT GetLicenceFlags(int32_t* value) = 0;
  // The input format's rate; 44100 with E_FAIL before a format is set.
  virtual HRESULT GetSampleRate(uint32_t* value) = 0;
};
