// CQxChorus, the Chorus filter: the shared in-place streaming path around CQxChorusTransform,
// with no tail after the end of the stream.
#pragma once
#include "aplugins/qxppack1/delay/chorus_transform.h"
#include "aplugins/qxppack1/frame/effect_filter.h"
#include "aplugins/qxppack1/module/module_api.h"

class CQxChorus final : public CQxEffectFilter, public CQxChorusTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxChorus(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT GetWaveFormat(WAVEFORMATEX* format) override;

 protected:
  // The tempo host counts in the negotiated format's rate, on either door.
  HRESULT TempoWaveFormat(WAVEFORMATEX* format) override { return GetWaveFormat(format); }
  uint32_t TempoSampleRate() override { return Format().nSamplesPerSec; }
};
