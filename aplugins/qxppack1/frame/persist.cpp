// Stream frame, older versions and presets for every effect.
#include "aplugins/qxppack1/frame/persist.h"

#include <cstring>
#include <vector>

#include "aplugins/qxppack1/frame/change_notifier.h"
#include "aplugins/qxppack1/module/module_api.h"
#include "kernel/services/qx_lang.h"

bool CQxPersistFrame::QueryPersist(REFIID riid, void** ppv) {
  if (riid == IID_IPersistStream) {
    GetInterface(static_cast<IPersistStream*>(this), ppv);
    return true;
  }
  if (riid == IID_IStaticFilterPreset) {
    GetInterface(static_cast<IStaticFilterPreset*>(this), ppv);
    return true;
  }
  if (riid == IID_IQxTranslationInfo) {
    GetInterface(static_cast<IQxTranslationInfo*>(this), ppv);
    return true;
  }
  if (riid == IID_ISpecifyPropertyPages) {
    GetInterface(static_cast<ISpecifyPropertyPages*>(this), ppv);
    return true;
  }
  return false;
}

HRESULT CQxPersistFrame::IsDirty() { return PersistDirty() ? S_OK : S_FALSE; }

HRESULT CQxPersistFrame::Load(IStream* stream) {
  if (!stream) return E_POINTER;
  BYTE header[QX_PERSIST_HEADER];
  ULONG got = 0;
  if (stream->Read(header, sizeof header, &got) != S_OK || got != sizeof header) return S_OK;
  uint32_t size;
  GUID tag;
  std::memcpy(&size, header, 4);
  std::memcpy(&tag, header + 4, 16);

  const QxEffectTables& t = PersistTables();
  std::vector<BYTE> record(t.RecordSize, 0);
  if (t.Defaults) t.Defaults(record.data());
  const QxPersistForm* form = nullptr;
  for (uint32_t i = 0; i < t.FormCount; ++i)
    if (t.Forms[i].Tag == tag && t.Forms[i].Size == size) form = &t.Forms[i];
  if (!form && t.QuietOnUnknown) return S_OK;
  if (form) {
    got = 0;
    HRESULT hr = stream->Read(record.data(), form->DataBytes, &got);
    if (hr == S_OK && got == form->DataBytes) {
      if (form->Migrate) form->Migrate(record.data());
      PersistSetRecord(record.data());
    }
  }
  // Whatever was read, every page learns that all parameters may have changed.
  NotifyChange(QX_CHANGE_ALL);
  return S_OK;
}

HRESULT CQxPersistFrame::Save(IStream* stream, BOOL clearDirty) {
  if (!stream) return E_POINTER;
  const QxEffectTables& t = PersistTables();
  const QxPersistForm& current = t.Forms[0];
  BYTE header[QX_PERSIST_HEADER];
  std::memcpy(header, &current.Size, 4);
  std::memcpy(header + 4, &current.Tag, 16);
  std::vector<BYTE> record(t.RecordSize, 0);
  PersistGetRecord(record.data());
  ULONG written = 0;
  HRESULT hr = stream->Write(header, sizeof header, &written);
  if (FAILED(hr)) return hr;
  hr = stream->Write(record.data(), current.DataBytes, &written);
  if (FAILED(hr)) return hr;
  SetPersistDirty(!clearDirty);
  return S_OK;
}

HRESULT CQxPersistFrame::GetSizeMax(ULARGE_INTEGER* size) {
  if (!size) return E_POINTER;
  size->QuadPart = PersistTables().Forms[0].Size;
  return S_OK;
}

HRESULT CQxPersistFrame::GetPresetCount(LONG* count) {
  if (!count) return E_POINTER;
  *count = static_cast<LONG>(PersistTables().PresetCount);
  return S_OK;
}

HRESULT CQxPersistFrame::GetPresetName(LONG index, WCHAR* text) {
  const QxEffectTables& t = PersistTables();
  if (index < 0 || static_cast<uint32_t>(index) >= t.PresetCount) return E_INVALIDARG;
  if (!text) return E_POINTER;
  const WCHAR* name = QxGetStringSmart(QxLang_GetKernelHandle(), t.PresetName(static_cast<uint32_t>(index)));
  if (!name) name = u"";
  size_t n = 0;
  while (name[n]) ++n;
  std::memcpy(text, name, (n + 1) * sizeof(WCHAR));
  return S_OK;
}

HRESULT CQxPersistFrame::LoadPreset(LONG index) {
  const QxEffectTables& t = PersistTables();
  if (index < 0 || static_cast<uint32_t>(index) >= t.PresetCount) return E_INVALIDARG;
  HRESULT hr = PersistSetRecord(t.PresetRecord(static_cast<uint32_t>(index)));
  if (hr != S_OK) return hr;
  NotifyChange(QX_CHANGE_ALL);
  return S_OK;
}

HRESULT CQxPersistFrame::SetLanguage(DWORD lcid) {
  return QxLang_UpdateKernelLCID(QxLang_GetKernelHandle(), lcid) ? S_OK : E_FAIL;
}

HRESULT CQxPersistFrame::GetPages(CAUUID* pages) {
  if (!pages) return E_POINTER;
  CLSID filter{};
  GetClassID(&filter);
  return QxSpecifyOnePage(QxPageClassOf(filter), pages);
}
