// IQxChorusProp2, Chorus's control interface, in its slot order; its identifier is also the tag of
// the newest persistent record.
#pragma once
#include "aplugins/qxppack1/delay/chorus_params.h"
#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"
#include "platform/com/types.h"

inline constexpr IID IID_IQxChorusProp2 = MakeGuid("039BE819-E0BB-40F6-9F59-0EE935FF0D74");

// Get, Set, Begin, End and Is...Idle of one parameter, in that order.
#define QX_CHORUS_PARAM_SLOTS(Name)                \
  virtual HRESULT Get##Name(int32_t* value) = 0;   \
  virtual HRESULT Set##Name(int32_t value) = 0;    \
  virtual HRESULT Begin##Name() = 0;               \
  virtual HRESULT End##Name() = 0;                 \
  virtual int32_t Is##Name##Idle() = 0;

struct IQxChorusProp2 : IUnknown {
  virtual HRESULT GetAllParameters(ChorusParams* record) = 0;
  virtual HRESULT SetAllParameters(const ChorusParams* record) = 0;
  virtual HRESULT GetWaveFormat(WAVEFORMATEX* format) = 0;
  virtual HRESULT RegisterWindow(HWND window, uint16_t commandId) = 0;
  QX_CHORUS_PARAM_SLOTS(InputGain)
  QX_CHORUS_PARAM_SLOTS(DryOut)
  QX_CHORUS_PARAM_SLOTS(ChorusOut)
  QX_CHORUS_PARAM_SLOTS(ChorusSize)
  QX_CHORUS_PARAM_SLOTS(Feedback)
  QX_CHORUS_PARAM_SLOTS(InvertChorusPhase)
  QX_CHORUS_PARAM_SLOTS(OutDelay)
  QX_CHORUS_PARAM_SLOTS(ModRate)
  QX_CHORUS_PARAM_SLOTS(ModDepth)
  QX_CHORUS_PARAM_SLOTS(AttenuateHigh)
  QX_CHORUS_PARAM_SLOTS(AttenuationFrequency)
  QX_CHORUS_PARAM_SLOTS(InvertFeedbackPhase)
  QX_CHORUS_PARAM_SLOTS(ModPeriodNote)
  QX_CHORUS_PARAM_SLOTS(ModPeriodMultiplier)
  QX_CHORUS_PARAM_SLOTS(TempoSync)
  QX_CHORUS_PARAM_SLOTS(Bypass)
  // What the page learnt from a licence check; kept, never acted on.
  virtual HRESULT SetLicenceState(int32_t value) = 0;
  virtual HRESULT GetLicenceState(int32_t* value) = 0;
  virtual HRESULT SetLicenceFlags(int32_t value) = 0;
  virtual HRESULT GetLicenceFlags(int32_t* value) = 0;
  virtual int32_t HasTempoMap() = 0;
};
#undef QX_CHORUS_PARAM_SLOTS
