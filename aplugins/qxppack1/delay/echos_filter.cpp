// Simple Delay filter object.
#include "aplugins/qxppack1/delay/echos_filter.h"

#include <cstring>
#include <new>

CUnknown* CQxEchos::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  auto* filter = new (std::nothrow) CQxEchos(outer, hr);
  if (!filter && hr) *hr = E_OUTOFMEMORY;
  return filter;
}

CQxEchos::CQxEchos(LPUNKNOWN outer, HRESULT* hr)
    : CQxEffectFilter("Simple Delay", outer, CLSID_QxEchos, hr, this, /*rendersTail=*/true) {}

HRESULT CQxEchos::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxEchosProp2) return GetInterface(static_cast<IQxEchosProp2*>(this), ppv);
  if (QueryParams(riid, ppv)) return S_OK;
  if (riid == IID_IMfxSoftSynth) return GetInterface(static_cast<IMfxSoftSynth*>(this), ppv);
  return CQxEffectFilter::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CQxEchos::GetWaveFormat(WAVEFORMATEX* format) {
  if (!format) return E_POINTER;
  if (!m_pInput || !m_pInput->IsConnected()) return VFW_E_NOT_CONNECTED;
  std::memcpy(format, &Format(), sizeof(WAVEFORMATEX));
  return S_OK;
}
