// CQxReverb, the Reverb filter: the shared in-place streaming path around CQxReverbTransform, and
// its input pin.
#pragma once
#include "aplugins/qxppack1/frame/effect_filter.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/reverb/reverb_transform.h"

// Runs the filter's Receive under the receive lock; nothing else differs from the base pin.
class CQxReverbInputPin final : public CQxEffectInputPin {
 public:
  CQxReverbInputPin(CQxEffectFilter* filter, HRESULT* hr);
};

class CQxReverb final : public CQxEffectFilter, public CQxReverbTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxReverb(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT GetFormat(WAVEFORMATEX* format) override;

 protected:
  CQxEffectInputPin* MakeInputPin(HRESULT* hr) override;
};
