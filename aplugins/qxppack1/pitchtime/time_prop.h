// Time Stretch's parameter record (also its persistent payload and preset row) and IQxTimeProp,
// its control interface, in slot order.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"
#include "platform/com/types.h"

// The control interface shares its identifier with the current persistent form, as Simple Delay's
// does.
inline constexpr IID IID_IQxTimeProp = MakeGuid("5FF5B4A4-858F-11D0-AEBC-00A0C9053912");

// Little-endian, 32 bytes, no padding.
struct TimeParams {
  double FinalLength;     // output length as a percentage of the input x 100, 5000.0 to 50000.0
  int32_t Mode;           // row of SpliceModeTable
  uint32_t InitialTempo;  // source tempo in bpm x 100, up to 50000
  double InitialTime;     // source length in frames, 0.0 to 7.938e8
  int32_t InputFormat;    // how the page shows the length: 0 percent, 1 tempo, 2 time
  int32_t Reserved;
};
static_assert(sizeof(TimeParams) == 32);
static_assert(offsetof(TimeParams, Mode) == 8 && offsetof(TimeParams, InitialTempo) == 12);
static_assert(offsetof(TimeParams, InitialTime) == 16 && offsetof(TimeParams, InputFormat) == 24);

inline constexpr double QX_TIME_MIN_LENGTH = 5000.0;
inline constexpr double QX_TIME_MAX_LENGTH = 50000.0;
inline constexpr uint32_t QX_TIME_MAX_TEMPO = 50000;
inline constexpr double QX_TIME_MAX_TIME = 7.938e8;  // five hours at 44100 Hz

struct IQxTimeProp : IUnknown {
  virtual HRESULT GetParams(TimeParams* record) = 0;
  // Stores the record, then clamps; E_FAIL when a value had to be clamped (the clamped one stays).
  virtual HRESULT SetParams(const TimeParams* record) = 0;
  // direction 0: input format, 1: output format; VFW_E_NOT_CONNECTED when not set.
  virtual HRESULT GetFormat(WAVEFORMATEX* record, int32_t direction) = 0;
  virtual HRESULT RegisterWindow(HWND window, uint16_t command, int32_t enable) = 0;
  virtual HRESULT GetFinalLength(double* value) = 0;
  virtual HRESULT SetFinalLength(double value) = 0;
  virtual HRESULT GetMode(int32_t* value) = 0;
  virtual HRESULT SetMode(int32_t value) = 0;
  virtual HRESULT GetInitialTempo(uint32_t* value) = 0;
  virtual HRESULT SetInitialTempo(uint32_t value) = 0;
  virtual HRESULT GetInitialTime(double* value) = 0;
  virtual HRESULT SetInitialTime(double value) = 0;
  virtual HRESULT GetInputFormat(int32_t* value) = 0;
  virtual HRESULT SetInputFormat(int32_t value) = 0;
  // What the page learnt from a licence check; kept, never acted on.
  virtual HRESULT SetLicenceState(int32_t value) = 0;
  virtual HRESULT GetLicenceState(int32_t* value) = 0;
  virtual HRESULT SetLicenceFlags(int32_t value) = 0;
  virtual HRESULT GetLicenceFlags(int32_t* value) = 0;
  // The input format's rate; 44100 with E_FAIL before a format is set.
  virtual HRESULT GetSampleRate(uint32_t* value) = 0;
};
