// Reverb filter object and its input pin.
#include "aplugins/qxppack1/reverb/reverb_filter.h"

#include <cstring>
#include <new>

CQxReverbInputPin::CQxReverbInputPin(CQxEffectFilter* filter, HRESULT* hr)
    : CQxEffectInputPin("reverb input pin", filter, hr, u"Input") {}

CUnknown* CQxReverb::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  auto* filter = new (std::nothrow) CQxReverb(outer, hr);
  if (!filter && hr) *hr = E_OUTOFMEMORY;
  return filter;
}

// Reverb renders its tail after the end of the stream.
CQxReverb::CQxReverb(LPUNKNOWN outer, HRESULT* hr)
    : CQxEffectFilter("Reverb", outer, CLSID_QxReverb, hr, this, /*rendersTail=*/true) {}

HRESULT CQxReverb::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxReverbProp2) return GetInterface(static_cast<IQxReverbProp2*>(this), ppv);
  if (QueryParams(riid, ppv)) return S_OK;
  return CQxEffectFilter::NonDelegatingQueryInterface(riid, ppv);
}

CQxEffectInputPin* CQxReverb::MakeInputPin(HRESULT* hr) { return new CQxReverbInputPin(this, hr); }

HRESULT CQxReverb::GetFormat(WAVEFORMATEX* format) {
  if (!format) return E_POINTER;
  if (!m_pInput || !m_pInput->IsConnected()) return VFW_E_NOT_CONNECTED;
  std::memcpy(format, &Format(), sizeof(WAVEFORMATEX));
  return S_OK;
}
