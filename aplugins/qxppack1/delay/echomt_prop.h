// IQxEchomtProp, Multi-Tap Delay's control interface, in its slot order: the whole record, the
// format, the notification window, a get/set pair per field, and the page's licence state.
#pragma once
#include "aplugins/qxppack1/delay/echomt_params.h"
#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"
#include "platform/com/types.h"

inline constexpr IID IID_IQxEchomtProp = MakeGuid("7298A3E2-78EE-11D0-AEBC-00A0C9053912");

#define QX_ECHOMT_PAIR(Name)                     \
  virtual HRESULT Get##Name(int32_t* value) = 0; \
  virtual HRESULT Set##Name(int32_t value) = 0;
#define QX_ECHOMT_PAIRS8(Name) \
  QX_ECHOMT_PAIR(Name##1)      \
  QX_ECHOMT_PAIR(Name##2)      \
  QX_ECHOMT_PAIR(Name##3)      \
  QX_ECHOMT_PAIR(Name##4)      \
  QX_ECHOMT_PAIR(Name##5)      \
  QX_ECHOMT_PAIR(Name##6)      \
  QX_ECHOMT_PAIR(Name##7)      \
  QX_ECHOMT_PAIR(Name##8)

struct IQxEchomtProp : IUnknown {
  virtual HRESULT GetAllParameters(EchomtParams* record) = 0;
  // Clamps every field but lowPassOn; E_FAIL when something had to be clamped (stored anyway).
  virtual HRESULT SetAllParameters(const EchomtParams* record) = 0;
  // VFW_E_NOT_CONNECTED while the input pin has no format.
  virtual HRESULT GetWaveFormat(WAVEFORMATEX* format) = 0;
  // Identifier 0 unregisters the window; two windows at most.
  virtual HRESULT RegisterWindow(HWND window, uint16_t commandId) = 0;
  QX_ECHOMT_PAIR(InputGain)
  QX_ECHOMT_PAIR(DryOut)
  QX_ECHOMT_PAIR(WetOut)
  QX_ECHOMT_PAIR(ModRate)
  QX_ECHOMT_PAIR(ModDepth)
  QX_ECHOMT_PAIR(Feedback)
  QX_ECHOMT_PAIR(LowPassOn)
  QX_ECHOMT_PAIR(LowPassFrequency)
  QX_ECHOMT_PAIR(TapCount)
  QX_ECHOMT_PAIR(CurrentTap)
  QX_ECHOMT_PAIR(GraphResolution)
  // Taps numbered 1 to 8: TapGain1 is tapGain[0].
  QX_ECHOMT_PAIRS8(TapGain)
  QX_ECHOMT_PAIRS8(TapDelay)
  QX_ECHOMT_PAIRS8(TapPan)
  // What the page learnt from a licence check; kept, never acted on.
  virtual HRESULT SetLicenceState(int32_t value) = 0;
  virtual HRESULT GetLicenceState(int32_t* value) = 0;
  virtual HRESULT SetLicenceFlags(int32_t value) = 0;
  virtual HRESULT GetLicenceFlags(int32_t* value) = 0;
};
#undef QX_ECHOMT_PAIRS8
#undef QX_ECHOMT_PAIR
