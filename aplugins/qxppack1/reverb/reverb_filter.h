// CQxReverb, the Reverb filter: the shared in-place streaming path around CQxReverbTransform, and
// its input pin.
#pragma once
#include "aplugins/qxppack1/frame/effect_filter.h"
#include "aplugins/qxppack1/reverb/reverb_transform.h"

inline constexpr CLSID CLSID_QxReverb = MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxReverbPropPage = MakeGuid("607682E1-6E21-11D0-AEBC-00A0C9053912");

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
