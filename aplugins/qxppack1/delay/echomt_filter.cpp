// Multi-Tap Delay filter object: creation, the control interface, and the connected format.
#include "aplugins/qxppack1/delay/echomt_filter.h"

#include <cstring>
#include <new>

CUnknown* CQxEchomt::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  auto* filter = new (std::nothrow) CQxEchomt(outer, hr);
  if (!filter && hr) *hr = E_OUTOFMEMORY;
  return filter;
}

CQxEchomt::CQxEchomt(LPUNKNOWN outer, HRESULT* hr)
    : CQxEffectFilter("Multi-Tap Delay", outer, CLSID_QxEchomt, hr, this, /*rendersTail=*/true) {}

HRESULT CQxEchomt::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxEchomtProp) return GetInterface(static_cast<IQxEchomtProp*>(this), ppv);
  return CQxEffectFilter::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CQxEchomt::GetWaveFormat(WAVEFORMATEX* format) {
  if (!format) return E_POINTER;
  if (!m_pInput || !m_pInput->IsConnected()) return VFW_E_NOT_CONNECTED;
  std::memcpy(format, &Format(), sizeof(WAVEFORMATEX));
  return S_OK;
}
