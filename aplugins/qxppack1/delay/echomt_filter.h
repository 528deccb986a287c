// CQxEchomt, the Multi-Tap Delay filter: the shared in-place streaming path, with its tail, around
// CQxEchomtTransform.
#pragma once
#include "aplugins/qxppack1/delay/echomt_transform.h"
#include "aplugins/qxppack1/frame/effect_filter.h"
#include "aplugins/qxppack1/module/module_api.h"

class CQxEchomt final : public CQxEffectFilter, public CQxEchomtTransform {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  CQxEchomt(LPUNKNOWN outer, HRESULT* hr);

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT GetWaveFormat(WAVEFORMATEX* format) override;
};
