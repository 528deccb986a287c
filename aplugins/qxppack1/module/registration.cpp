// DllRegisterServer and DllUnregisterServer: class keys, filter mapper entries and the classes'
// own setup, in the module's fixed order.
#include <new>
#include <string>

#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/module/module_entry.h"
#include "platform/mediagraph/filter_mapper.h"
#include "platform/registry/registry.h"
#include "platform/registry/utf.h"

namespace {
std::u16string ClassKey(const CLSID& clsid) {
  const std::string g = GuidToString(clsid);
  return u"CLSID\\{" + std::u16string(g.begin(), g.end()) + u"}";
}

HRESULT Hr(LONG err) { return err == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(static_cast<uint32_t>(err)); }

LONG SetText(HKEY key, const WCHAR* name, const std::u16string& text) {
  return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                        static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
}

// CLSID\{id} named after the row, with InprocServer32 naming this module, free threaded.
HRESULT RegisterClassKey(const CFactoryTemplate& row, const std::u16string& modulePath) {
  HKEY cls = nullptr, server = nullptr;
  LONG e = RegCreateKeyExW(HKEY_CLASSES_ROOT, ClassKey(*row.m_ClsID).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                           KEY_ALL_ACCESS, nullptr, &cls, nullptr);
  if (e) return Hr(e);
  e = SetText(cls, nullptr, row.m_Name);
  if (!e)
    e = RegCreateKeyExW(cls, u"InprocServer32", 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &server,
                        nullptr);
  if (!e) e = SetText(server, nullptr, modulePath);
  if (!e) e = SetText(server, u"ThreadingModel", u"Both");
  if (server) RegCloseKey(server);
  RegCloseKey(cls);
  return Hr(e);
}

// The row's object as IAMovieSetup; null when the class is not built or has no such interface.
IAMovieSetup* SetupObject(const CFactoryTemplate& row) {
  auto* factory = new (std::nothrow) CClassFactory(&row);
  if (!factory) return nullptr;
  factory->AddRef();
  void* p = nullptr;
  const HRESULT hr = factory->CreateInstance(nullptr, IID_IAMovieSetup, &p);
  factory->Release();
  return SUCCEEDED(hr) ? static_cast<IAMovieSetup*>(p) : nullptr;
}

HRESULT ModulePath(std::u16string* path) {
  const char* p = QxResources_GetModulePath(QxModule_Handle());
  if (!p || !*p) return E_UNEXPECTED;  // no DllMain ran: nothing to name as the server
  return QxUtf8ToUtf16(p, *path) ? S_OK : E_UNEXPECTED;
}

// Registration and unregistration are each one change to other processes: two at once would
// otherwise delete keys under each other.
struct RegistryBatch {
  LONG error = QxRegistry_BeginBatch();
  ~RegistryBatch() {
    if (!error) QxRegistry_EndBatch();
  }
};

HRESULT OpenMapper(IFilterMapper2** mapper) {
  HRESULT hr = QxCreateFilterMapper(IID_IFilterMapper2, reinterpret_cast<void**>(mapper));
  if (SUCCEEDED(hr)) return hr;
  // The older mapper is the fallback; this platform offers none, so its failure is the answer.
  void* old = nullptr;
  const HRESULT hrOld = QxCreateFilterMapper(IID_IFilterMapper, &old);
  if (SUCCEEDED(hrOld)) static_cast<IUnknown*>(old)->Release();
  return hrOld;
}
}  // namespace

extern "C" HRESULT DllRegisterServer() {
  if (QxModule_StartState() == QxModuleStart::Failed) return QXPPACK1_E_NOT_STARTED;
  std::u16string path;
  if (HRESULT hr = ModulePath(&path); FAILED(hr)) return hr;
  RegistryBatch batch;
  if (batch.error) return Hr(batch.error);

  for (int i = 0; i < g_cTemplates; ++i)
    if (HRESULT hr = RegisterClassKey(g_Templates[i], path); FAILED(hr)) return hr;

  IFilterMapper2* mapper = nullptr;
  if (HRESULT hr = OpenMapper(&mapper); FAILED(hr)) return hr;
  for (int i = 0; i < g_cTemplates; ++i) {
    const AMOVIESETUP_FILTER* f = g_Templates[i].m_pAMovieSetup_Filter;
    if (!f) continue;
    const REGFILTER2 rf2{1, f->dwMerit, f->nPins, f->lpPin};
    const HRESULT hr = mapper->RegisterFilter(*f->clsID, f->strName, nullptr, &CLSID_LegacyAmFilterCategory, nullptr,
                                              &rf2);
    if (FAILED(hr)) {
      mapper->Release();
      return hr;
    }
  }
  mapper->Release();

  // Classes that keep registration of their own redo it; classes not built yet are passed over.
  for (int i = 0; i < g_cTemplates; ++i) {
    IAMovieSetup* setup = SetupObject(g_Templates[i]);
    if (!setup) continue;
    setup->Unregister();
    const HRESULT hr = setup->Register();
    setup->Release();
    if (FAILED(hr)) return hr;
  }
  return S_OK;
}

extern "C" HRESULT DllUnregisterServer() {
  if (QxModule_StartState() == QxModuleStart::Failed) return QXPPACK1_E_NOT_STARTED;

  RegistryBatch batch;
  if (batch.error) return Hr(batch.error);
  // A throw-away key proves the classes root is writable before anything is removed.
  const WCHAR* probe = u"CLSID\\{7831F5CD-1B4A-4c28-B24D-D93FA7C0305A}";
  HKEY key = nullptr;
  if (LONG e = RegCreateKeyW(HKEY_CLASSES_ROOT, probe, &key)) return Hr(e);
  RegCloseKey(key);
  if (LONG e = RegDeleteKeyW(HKEY_CLASSES_ROOT, probe)) return Hr(e);

  for (int i = 0; i < g_cTemplates; ++i) {
    IAMovieSetup* setup = SetupObject(g_Templates[i]);
    if (!setup) continue;
    const HRESULT hr = setup->Unregister();
    setup->Release();
    if (FAILED(hr)) return hr;
  }

  IFilterMapper2* mapper = nullptr;
  if (HRESULT hr = OpenMapper(&mapper); FAILED(hr)) return hr;
  for (int i = 0; i < g_cTemplates; ++i) {
    const AMOVIESETUP_FILTER* f = g_Templates[i].m_pAMovieSetup_Filter;
    if (!f) continue;
    const HRESULT hr = mapper->UnregisterFilter(&CLSID_LegacyAmFilterCategory, nullptr, *f->clsID);
    // A filter that was never entered is already as it should be.
    if (FAILED(hr) && hr != HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) {
      mapper->Release();
      return hr;
    }
  }
  mapper->Release();

  for (int i = 0; i < g_cTemplates; ++i) {
    const LONG e = RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKey(*g_Templates[i].m_ClsID).c_str());
    if (e != ERROR_SUCCESS && e != ERROR_FILE_NOT_FOUND) return Hr(e);
  }
  return S_OK;
}
