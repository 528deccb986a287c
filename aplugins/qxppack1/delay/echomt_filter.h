// CQxEchomt, the Multi-Tap Delay filter: the shared in-place streaming path, with its tail, around
// CQxEchomtTransform.
#pragma once
#include "aplugins/qxppack1/delay/echomt_transform.h"
#include "aplugins/qxppack1/frame/effect_filter.h"

inline constexpr CLSID CLSID_QxEchomt = MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxEchomtPropPage = MakeGuid("7298A3E1-78EE-11D0-AEBC-00A0C9053912");

class CQxEchomt final : public CQxEffectFilter, public CQxEchomtTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxEchomt(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT GetWaveFormat(WAVEFORMATEX* format) override;
};
