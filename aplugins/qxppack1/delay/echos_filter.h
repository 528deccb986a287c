// CQxEchos, the Simple Delay filter: the shared in-place streaming path around CQxEchosTransform.
#pragma once
#include "aplugins/qxppack1/delay/echos_transform.h"
#include "aplugins/qxppack1/frame/effect_filter.h"
#include "aplugins/qxppack1/module/module_api.h"

class CQxEchos final : public CQxEffectFilter, public CQxEchosTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxEchos(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT GetWaveFormat(WAVEFORMATEX* format) override;

 protected:
  // The tempo host counts in the negotiated format's rate, on either door.
  HRESULT TempoWaveFormat(WAVEFORMATEX* format) override { return GetWaveFormat(format); }
  uint32_t TempoSampleRate() override { return Format().nSamplesPerSec; }
};
