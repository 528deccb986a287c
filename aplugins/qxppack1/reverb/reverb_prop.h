// IQxReverbProp2, Reverb's control interface, in its slot order.
#pragma once
#include "aplugins/qxppack1/reverb/reverb_params.h"
#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"
#include "platform/com/types.h"

// The interface's identifier is also the tag of the record's current persistent form.
inline constexpr IID IID_IQxReverbProp2 = QX_REVERB_TAG_CURRENT;

// Get, Set, Begin...Edit, End...Edit and Poll...Changed of one parameter, in that order.
#define QX_REVERB_PARAM_SLOTS(Name)                 \
  virtual HRESULT Get##Name(int32_t* value) = 0;    \
  virtual HRESULT Set##Name(int32_t value) = 0;     \
  virtual HRESULT Begin##Name##Edit() = 0;          \
  virtual HRESULT End##Name##Edit() = 0;            \
  virtual HRESULT Poll##Name##Changed() = 0;

struct IQxReverbProp2 : IUnknown {
  virtual HRESULT GetParams(ReverbParams* record) = 0;
  virtual HRESULT SetParams(const ReverbParams* record) = 0;
  // The 18 bytes of the connected format; VFW_E_NOT_CONNECTED when none is held.
  virtual HRESULT GetFormat(WAVEFORMATEX* format) = 0;
  // id 0 clears the window's slot; E_OUTOFMEMORY when both slots are taken.
  virtual HRESULT RegisterNotifyWindow(HWND window, uint16_t id) = 0;
  QX_REVERB_PARAM_SLOTS(ReverbMode)
  QX_REVERB_PARAM_SLOTS(ReflectionStyle)
  QX_REVERB_PARAM_SLOTS(DryOut)
  QX_REVERB_PARAM_SLOTS(ReverbOut)
  QX_REVERB_PARAM_SLOTS(EarlyOut)
  QX_REVERB_PARAM_SLOTS(DecayTime)
  QX_REVERB_PARAM_SLOTS(PreDelay)
  QX_REVERB_PARAM_SLOTS(AttenuateBass)
  QX_REVERB_PARAM_SLOTS(AttenuateHigh)
  QX_REVERB_PARAM_SLOTS(BassFrequency)
  QX_REVERB_PARAM_SLOTS(HighFrequency)
  QX_REVERB_PARAM_SLOTS(Bypass)
  // What the page learnt from a licence check; kept, never acted on.
  virtual HRESULT SetLicenceState(int32_t value) = 0;
  virtual HRESULT GetLicenceState(int32_t* value) = 0;
  virtual HRESULT SetLicenceFlags(int32_t value) = 0;
  virtual HRESULT GetLicenceFlags(int32_t* value) = 0;
};
#undef QX_REVERB_PARAM_SLOTS
