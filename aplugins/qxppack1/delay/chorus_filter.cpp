// Chorus filter object.
#include "aplugins/qxppack1/delay/chorus_filter.h"

#include <cstring>
#include <new>

CUnknown* CQxChorus::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  auto* filter = new (std::nothrow) CQxChorus(outer, hr);
  if (!filter && hr) *hr = E_OUTOFMEMORY;
  return filter;
}

// The chorus keeps the base end of stream: what lies in its lines at the end is dropped.
CQxChorus::CQxChorus(LPUNKNOWN outer, HRESULT* hr)
    : CQxEffectFilter("Chorus", outer, CLSID_QxChorus, hr, this, /*rendersTail=*/false) {}

HRESULT CQxChorus::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxChorusProp2) return GetInterface(static_cast<IQxChorusProp2*>(this), ppv);
  if (QueryParams(riid, ppv)) return S_OK;
  if (riid == IID_IMfxSoftSynth) return GetInterface(static_cast<IMfxSoftSynth*>(this), ppv);
  return CQxEffectFilter::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CQxChorus::GetWaveFormat(WAVEFORMATEX* format) {
  if (!format) return E_POINTER;
  if (!m_pInput || !m_pInput->IsConnected()) return VFW_E_NOT_CONNECTED;
  std::memcpy(format, &Format(), sizeof(WAVEFORMATEX));
  return S_OK;
}
