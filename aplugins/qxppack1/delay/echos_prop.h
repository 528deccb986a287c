// IQxEchosProp2, Simple Delay's control interface, in its slot order.
#pragma once
#include "aplugins/qxppack1/delay/echos_params.h"
#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"
#include "platform/com/types.h"

inline constexpr IID IID_IQxEchosProp2 = MakeGuid("9ACB0B09-C5DB-4431-BD64-741BDDA71AE2");

// Get, Set, Begin, End and Is...Idle of one parameter, in that order.
#define QX_ECHOS_PARAM_SLOTS(Name)                 \
  virtual HRESULT Get##Name(int32_t* value) = 0;   \
  virtual HRESULT Set##Name(int32_t value) = 0;    \
  virtual HRESULT Begin##Name() = 0;               \
  virtual HRESULT End##Name() = 0;                 \
  virtual int32_t Is##Name##Idle() = 0;

struct IQxEchosProp2 : IUnknown {
  virtual HRESULT GetAllParameters(EchosParams* record) = 0;
  virtual HRESULT SetAllParameters(const EchosParams* record) = 0;
  virtual HRESULT GetWaveFormat(WAVEFORMATEX* format) = 0;
  virtual HRESULT RegisterWindow(HWND window, uint16_t commandId) = 0;
  QX_ECHOS_PARAM_SLOTS(DelayTime)
  QX_ECHOS_PARAM_SLOTS(DryOut)
  QX_ECHOS_PARAM_SLOTS(DelayOut)
  QX_ECHOS_PARAM_SLOTS(MultipleDelays)
  QX_ECHOS_PARAM_SLOTS(DecayTime)
  QX_ECHOS_PARAM_SLOTS(DelayNote)
  QX_ECHOS_PARAM_SLOTS(DelayMultiplier)
  QX_ECHOS_PARAM_SLOTS(TempoSyncDelay)
  QX_ECHOS_PARAM_SLOTS(DecayNote)
  QX_ECHOS_PARAM_SLOTS(DecayMultiplier)
  QX_ECHOS_PARAM_SLOTS(TempoSyncDecay)
  QX_ECHOS_PARAM_SLOTS(Bypass)
  // What the page learnt from a licence check; kept, never acted on.
  virtual HRESULT SetLicenceState(int32_t value) = 0;
  virtual HRESULT GetLicenceState(int32_t* value) = 0;
  virtual HRESULT SetLicenceFlags(int32_t value) = 0;
  virtual HRESULT GetLicenceFlags(int32_t* value) = 0;
  virtual int32_t HasTempoMap() = 0;
};
#undef QX_ECHOS_PARAM_SLOTS
