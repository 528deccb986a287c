// Pitch Shift filter object: its names and pins, the hooks into the transform's DSP, and the
// persistent record load. The copy-transform plumbing is CQxCopyEffectFilter's.
#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"

#include <atomic>
#include <new>

namespace {
std::atomic<uint32_t> g_pitchsInstances{0};
}  // namespace

CQxPitchsInputPin::CQxPitchsInputPin(const char* objectName, CQxPitchs* filter, HRESULT* hr, LPCWSTR pinName)
    : CQxCopyEffectInputPin(objectName, filter, hr, pinName) {}

CUnknown* CQxPitchs::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  auto* filter = new (std::nothrow) CQxPitchs(outer, hr);
  if (!filter && hr) *hr = E_OUTOFMEMORY;
  return filter;
}

CQxPitchs::CQxPitchs(LPUNKNOWN outer, HRESULT*)
    : CQxCopyEffectFilter("Pitch Shift", outer, CLSID_QxPitchs, "pitch output pin", ++g_pitchsInstances) {
  LoadPreset(0);
}

HRESULT CQxPitchs::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IQxPitchsProp) return GetInterface(static_cast<IQxPitchsProp*>(this), ppv);
  return CQxCopyEffectFilter::NonDelegatingQueryInterface(riid, ppv);
}

CTransformInputPin* CQxPitchs::MakeInputPin(HRESULT* hr) {
  return new (std::nothrow) CQxPitchsInputPin("pitch input pin", this, hr, u"Input");
}

HRESULT CQxPitchs::LoadRecord(IStream* stream, const BYTE*) {
  PitchParams record{};
  ULONG got = 0;
  const HRESULT read = stream->Read(&record, sizeof record, &got);
  // The record goes in only when it is whole; the pages hear of the load either way.
  HRESULT result = FAILED(read) ? read : got == sizeof record ? S_OK : E_FAIL;
  if (result == S_OK) result = SetParams(&record);
  Notify(QX_CHANGE_ALL);
  return result;
}
