// Language handles, numbered strings with their cache, catalogue lookups by language column, and
// the language choice stored in the registry.
#include "kernel/services/qx_lang.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "platform/registry/registry.h"

namespace {

constexpr WCHAR kEmpty[] = u"";
std::atomic<HQXLANG__*> g_kernelLang{nullptr};
std::atomic<DWORD> g_processLayout{0};
thread_local LCID t_threadLocale = 0;

std::mutex g_langIdLock;
WCHAR g_langId[4] = u"ENU";

bool IsTextPointer(const WCHAR* p) { return reinterpret_cast<uintptr_t>(p) >= 0x10000; }

// Catalogue slots are read and written from any thread without a lock; the writes are idempotent.
const WCHAR* LoadSlot(const QXLANGENTRY* e, int column) {
  auto& slot = const_cast<const WCHAR*&>(e->text[column]);
  return std::atomic_ref<const WCHAR*>(slot).load(std::memory_order_acquire);
}
void StoreSlot(const QXLANGENTRY* e, int column, const WCHAR* value) {
  auto& slot = const_cast<const WCHAR*&>(e->text[column]);
  std::atomic_ref<const WCHAR*>(slot).store(value, std::memory_order_release);
}

// Slots resolved from numbers, with the module that was searched, so that closing a language puts
// them back before the module's text goes away.
struct Resolved {
  const QXLANGENTRY* entry;
  int column;
  UINT number;
  HMODULE module;
};
std::mutex g_resolvedLock;
std::vector<Resolved>& ResolvedSlots() {
  static auto* v = new std::vector<Resolved>();
  return *v;
}

void RestoreSlots(HMODULE a, HMODULE b) {
  std::lock_guard<std::mutex> g(g_resolvedLock);
  auto& v = ResolvedSlots();
  auto keep = std::remove_if(v.begin(), v.end(), [&](const Resolved& r) {
    if (r.module != a && r.module != b) return false;
    StoreSlot(r.entry, r.column, MAKEINTRESOURCEW(r.number));
    return true;
  });
  v.erase(keep, v.end());
}

// Copies string `key` of language `lang` in `module` (exact language) into buffer; answers its length.
int CopyResourceString(HMODULE module, UINT key, LANGID lang, WCHAR* buffer, int size) {
  if (key > 0xFFFF || size < 1) return 0;
  HRSRC r = FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(key / 16 + 1), lang);
  const WCHAR* text = nullptr;
  WORD count = 0;
  if (!r || !QxResources_StringInBlock(LockResource(LoadResource(module, r)), SizeofResource(module, r), key, &text,
                                       &count))
    return 0;
  int len = 0;
  while (len < count && text[len]) ++len;
  const int n = std::min(len, size - 1);
  if (n > 0) std::memcpy(buffer, text, static_cast<size_t>(n) * sizeof(WCHAR));
  buffer[n] = 0;
  return n;
}

int CopyText(const WCHAR* text, WCHAR* buffer, int size) {
  if (!buffer || size < 1) return 0;
  int n = 0;
  if (text)
    while (n < size - 1 && text[n]) buffer[n] = text[n], ++n;
  buffer[n] = 0;
  return n;
}

void ClearCache(HQXLANG__* h) {
  std::lock_guard<std::mutex> g(h->stringCacheLock);
  h->stringCache.clear();
}

std::string SatellitePath(const std::string& modulePath) {
  const size_t slash = modulePath.rfind('/');
  const size_t dot = modulePath.rfind('.');
  const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
  if (dot == std::string::npos || dot <= nameStart) return modulePath + ".LNG";
  return modulePath.substr(0, dot + 1) + "LNG";
}

std::u16string MetricKey(const WCHAR* application, DWORD packedVersion, BOOL ignoreVersion) {
  std::u16string key = u"Software\\Corvane\\";
  key += application;
  if ((packedVersion >> 24) != 0 && !ignoreVersion) {
    const std::string v = std::to_string(packedVersion >> 24) + "." + std::to_string((packedVersion >> 16) & 0xFF);
    key += u'\\';
    key.append(v.begin(), v.end());
  }
  key += u"\\Lang";
  return key;
}

}  // namespace

// --- handles ---------------------------------------------------------------------------------

HRESULT QxLang_Open(HQXLANG__** out, HMODULE module, DWORD lcid, DWORD tempChars) {
  if (!out) return E_POINTER;
  if (*out) return QXLANG_S_ALREADY_OPEN;
  auto* h = new (std::nothrow) HQXLANG__();
  if (!h) return E_OUTOFMEMORY;
  h->stringCacheLockInitialised = true;
  h->baseInstance = module;
  h->tempChars = tempChars == 0 ? 0x2000 : std::max<DWORD>(tempChars, 0x800);
  h->tempBuffer = new (std::nothrow) WCHAR[h->tempChars]();
  if (!h->tempBuffer) {
    delete h;
    return E_OUTOFMEMORY;
  }
  h->lcid = lcid;
  h->useLangInstance = lcid != 0 && !QxLang_IsLCIDEnglish(lcid);
  HMODULE lang = module;
  try {
    const std::string path = QxResources_GetModulePath(module);
    if (!path.empty()) {
      if (HMODULE sat = QxResources_LoadDataFile(SatellitePath(path).c_str())) {
        h->loadedSatellite = sat;
        lang = sat;
      }
    }
  } catch (const std::bad_alloc&) {
    delete[] h->tempBuffer;
    delete h;
    return E_OUTOFMEMORY;
  }
  h->langInstance = lang;
  *out = h;
  return S_OK;
}

void QxLang_Close(HQXLANG__* h) {
  if (!h) return;
  HQXLANG__* self = h;
  g_kernelLang.compare_exchange_strong(self, nullptr);
  RestoreSlots(h->langInstance.load(), h->loadedSatellite);
  if (h->loadedSatellite && h->loadedSatellite != h->baseInstance) QxResources_FreeModule(h->loadedSatellite);
  delete[] h->tempBuffer;
  ClearCache(h);
  delete h;
}

HRESULT QxLang_OpenKernelHandle(HMODULE module, DWORD lcid, DWORD tempChars) {
  if (g_kernelLang.load()) return QXLANG_S_ALREADY_OPEN;
  HQXLANG__* h = nullptr;
  const HRESULT hr = QxLang_Open(&h, module, lcid, tempChars);
  if (FAILED(hr)) return hr;
  HQXLANG__* expected = nullptr;
  if (!g_kernelLang.compare_exchange_strong(expected, h)) {
    QxLang_Close(h);
    return QXLANG_S_ALREADY_OPEN;
  }
  return S_OK;
}

void QxLang_CloseKernelHandle() { QxLang_Close(g_kernelLang.exchange(nullptr)); }

HQXLANG__* QxLang_GetKernelHandle() { return g_kernelLang.load(); }

// --- language choice -------------------------------------------------------------------------

bool QxLang_IsLCIDEnglish(DWORD lcid) { return (lcid & 0x3FF) == LANG_ENGLISH; }

DWORD QxLang_GetConditionedLCID(DWORD lcid) {
  const DWORD primary = lcid & 0x3FF;
  const DWORD sub = (lcid & 0xFFFF) >> 10;
  if (primary == 0x04) return (sub == 1 || sub == 3 || sub == 5) ? 0x404 : 0x804;
  if (primary == 0x16) return lcid;
  return primary | 0x400;
}

int QxLang_UpdateKernelLCID(HQXLANG__* handle, DWORD lcid) {
  HQXLANG__* kernel = g_kernelLang.load();
  if (!handle || !kernel) return 0;
  if (lcid == 0) lcid = 0x409;
  for (HQXLANG__* h : {handle, kernel}) {
    if (h->lcid.load() != lcid) {
      h->lcid = lcid;
      h->catalogueSlot = 0;
      ClearCache(h);
    }
  }
  const DWORD primary = lcid & 0x3FF;
  for (HQXLANG__* h : {handle, kernel}) h->useLangInstance = primary == LANG_ENGLISH ? 0 : 1;
  g_processLayout = (primary == 1 || primary == 13 || primary == 32 || primary == 41) ? 1 : 0;
  return 1;
}

void QxLang_ChangeLangInst(HQXLANG__* handle, HMODULE instance) {
  if (!instance) return;
  if (handle) handle->langInstance = instance;
  if (HQXLANG__* kernel = g_kernelLang.load()) kernel->langInstance = instance;
}

void QxLang_UpdateThreadLocale(HQXLANG__* handle) { t_threadLocale = handle ? handle->lcid.load() : 0; }
LCID QxLang_GetThreadLocale() { return t_threadLocale; }
DWORD QxLang_GetProcessDefaultLayout() { return g_processLayout.load(); }

DWORD QxLang_GetLCID(HQXLANG__* handle) { return handle ? handle->lcid.load() : 0; }

HMODULE QxLang_InstFromLang(HQXLANG__* handle) {
  if (!handle) return nullptr;
  HMODULE lang = handle->langInstance.load();
  return lang && handle->useLangInstance.load() ? lang : handle->baseInstance;
}

LANGID QxLang_GetUserDefaultUILanguage() {
  const char* env = nullptr;
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const char* v = std::getenv(name); v && *v) {
      env = v;
      break;
    }
  if (!env) return 0x409;
  const std::string_view s(env);
  const std::string_view ll = s.substr(0, s.find_first_of("_.@"));
  const size_t us = s.find('_');
  const std::string_view cc = us == s.npos ? std::string_view() : s.substr(us + 1, 2);
  struct Row {
    const char* ll;
    const char* cc;  // "" matches any country
    LANGID id;
  };
  static constexpr Row rows[] = {
      {"en", "GB", 0x809}, {"en", "", 0x409},   {"ja", "", 0x411},   {"de", "", 0x407},   {"es", "", 0x40A},
      {"fr", "", 0x40C},   {"zh", "TW", 0x404}, {"zh", "HK", 0xC04}, {"zh", "MO", 0x1404}, {"zh", "SG", 0x1004},
      {"zh", "", 0x804},   {"da", "", 0x406},   {"fi", "", 0x40B},   {"it", "", 0x410},   {"ko", "", 0x412},
      {"nl", "", 0x413},   {"nb", "", 0x414},   {"no", "", 0x414},   {"pt", "BR", 0x416}, {"pt", "", 0x816},
      {"ru", "", 0x419},   {"sv", "", 0x41D},   {"pl", "", 0x415},   {"ar", "", 0x401},   {"he", "", 0x40D},
  };
  for (const Row& r : rows)
    if (ll == r.ll && (!*r.cc || cc == r.cc)) return r.id;
  return 0x409;
}

int QxLang_GetLangllCC(HQXLANG__* handle, WCHAR* text, int size) {
  const WCHAR* code = u"en-US";
  int answer = 1;
  switch (QxLang_GetLCID(handle) & 0x3FF) {
    case 4: code = u"zh-CN", answer = 0; break;
    case 7: code = u"de-DE", answer = 0; break;
    case 10: code = u"es-ES", answer = 0; break;
    case 12: code = u"fr-FR", answer = 0; break;
    case 17: code = u"ja-JP", answer = 0; break;
    case 21: code = u"pl-PL", answer = 0; break;
    case 25: code = u"ru-RU", answer = 0; break;
  }
  CopyText(code, text, size);
  return answer;
}

// --- strings ---------------------------------------------------------------------------------

bool IsQXLANGSTRINGID(HQXLANG__*, const WCHAR* text) {
  const auto p = reinterpret_cast<uintptr_t>(text);
  return text && p >= 0x10000 && p % 4 == 0 && *text == QXLANG_MARKER;
}

const WCHAR* QxGetString(HQXLANG__* h, const QXLANGENTRY* e) {
  if (!e) return kEmpty;
  int slot = h ? h->catalogueSlot.load() : 1;
  if (slot < 1) {
    slot = 1;
    DWORD lcid = h->lcid.load();
    if (lcid == 0) lcid = QxLang_GetUserDefaultUILanguage();
    const DWORD want = QxLang_GetConditionedLCID(lcid);
    for (int c = 0; c < QXLANG_COLUMNS; ++c)
      if (QxLang_GetConditionedLCID(g_QxLangColumnLcids[c]) == want) {
        slot = c + 1;
        break;
      }
    h->catalogueSlot = slot;
  }
  slot = std::min<int>(slot, e->count);
  if (slot < 1) slot = 1;
  slot = std::min(slot, QXLANG_COLUMNS);

  const WCHAR* p = LoadSlot(e, slot - 1);
  if (IsTextPointer(p)) return p;

  // A resource number, fetched from the language module. The language used is the column after
  // the slot's, as the kernel has always read its table; there is none after the last column.
  const auto number = static_cast<UINT>(reinterpret_cast<uintptr_t>(p));
  HMODULE module = h ? h->langInstance.load() : nullptr;
  const LANGID lang = slot < QXLANG_COLUMNS ? LANGIDFROMLCID(g_QxLangColumnLcids[slot]) : LANG_NEUTRAL;
  const WCHAR* found = nullptr;
  if (module) {
    HRSRC r = FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(number / 16 + 1), lang);
    const WCHAR* text = nullptr;
    WORD count = 0;
    if (r && QxResources_StringInBlock(LockResource(LoadResource(module, r)), SizeofResource(module, r), number, &text,
                                       &count) &&
        count > 0 && text[count - 1] == 0)
      found = text;
  }
  if (!found) {
    found = LoadSlot(e, 0);
    if (!IsTextPointer(found)) return kEmpty;  // column 1 unresolved too: nothing to fall back on
  }
  try {
    std::lock_guard<std::mutex> g(g_resolvedLock);
    ResolvedSlots().push_back({e, slot - 1, number, module});
    StoreSlot(e, slot - 1, found);
  } catch (const std::bad_alloc&) {
    // Not recorded, so not stored either: the slot is resolved again next time.
  }
  return found;
}

const WCHAR* QxGetString(HQXLANG__* h, const WCHAR* const* entry) {
  return QxGetString(h, reinterpret_cast<const QXLANGENTRY*>(entry));
}

int QxLoadString(HQXLANG__* h, UINT key, WCHAR* buffer, int size) {
  if (!buffer || size < 1) return 0;
  buffer[0] = 0;
  if (!h) return 0;
  int len = 0;
  HMODULE lang = h->langInstance.load();
  if (lang && h->useLangInstance.load())
    len = CopyResourceString(lang, key, LANGIDFROMLCID(h->lcid.load()), buffer, size);
  if (len == 0) {
    if (h->baseInstance == lang)
      len = CopyResourceString(h->baseInstance, key, QX_LANGID_ENGLISH_US, buffer, size);
    else
      len = LoadStringW(h->baseInstance, key, buffer, size);
  }
  if (len == 0) return 0;
  if (len >= 2 && buffer[0] == u'^' && buffer[1] == u'*') {
    std::memmove(buffer, buffer + 2, static_cast<size_t>(len - 1) * sizeof(WCHAR));  // with the terminator
    len -= 2;
  }
  return len;
}

int QxLoadString(HQXLANG__* h, const WCHAR* const* entry, WCHAR* buffer, int size) {
  return CopyText(QxGetString(h, entry), buffer, size);
}

const WCHAR* QxGetString(HQXLANG__* h, UINT key) {
  if (!h) return kEmpty;
  std::lock_guard<std::mutex> g(h->stringCacheLock);
  auto& cache = h->stringCache;
  auto at = std::lower_bound(cache.begin(), cache.end(), key,
                             [](const QxLangCacheItem& item, UINT k) { return item.key < k; });
  if (at != cache.end() && at->key == key) return at->text.get();
  WCHAR buffer[QXLANG_LOAD_CHARS];
  const int len = QxLoadString(h, key, buffer, QXLANG_LOAD_CHARS);
  if (len <= 0) return kEmpty;
  try {
    auto text = std::make_unique<WCHAR[]>(static_cast<size_t>(len) + 1);
    std::memcpy(text.get(), buffer, (static_cast<size_t>(len) + 1) * sizeof(WCHAR));
    return cache.insert(at, QxLangCacheItem{key, std::move(text)})->text.get();
  } catch (const std::bad_alloc&) {
    return kEmpty;
  }
}

const WCHAR* QxGetStringSmart(HQXLANG__* h, const WCHAR* text) {
  if (!text) return nullptr;
  if (!IsTextPointer(text)) return QxGetString(h, static_cast<UINT>(reinterpret_cast<uintptr_t>(text)));
  if (IsQXLANGSTRINGID(h, text)) return QxGetString(h, reinterpret_cast<const QXLANGENTRY*>(text));
  return text;
}

void QxSetLangID(const WCHAR* abbreviation) {
  std::lock_guard<std::mutex> g(g_langIdLock);
  if (!abbreviation || !*abbreviation) abbreviation = u"ENU";
  int n = 0;
  while (n < 3 && abbreviation[n]) g_langId[n] = abbreviation[n], ++n;
  g_langId[n] = 0;
}

const WCHAR* QxGetLangID() { return g_langId; }

// --- stored choice ---------------------------------------------------------------------------

HRESULT QxLang_LoadUserLCIDMetric(const WCHAR* application, DWORD packedVersion, DWORD* outLcid,
                                  BOOL ignoreVersion) {
  if (!application || !outLcid) return E_POINTER;
  const std::u16string key = MetricKey(application, packedVersion, ignoreVersion);
  for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
    HKEY k = nullptr;
    LONG rc = RegOpenKeyExW(root, key.c_str(), 0, KEY_QUERY_VALUE, &k);
    if (rc == ERROR_SUCCESS) {
      DWORD value = 0, type = 0, cb = sizeof value;
      rc = RegQueryValueExW(k, u"ULangID", nullptr, &type, reinterpret_cast<BYTE*>(&value), &cb);
      RegCloseKey(k);
      if (rc == ERROR_SUCCESS && type == REG_DWORD && cb == sizeof value) {
        *outLcid = value & 0xFFFF;
        return S_OK;
      }
    }
    if (rc != ERROR_SUCCESS && rc != ERROR_FILE_NOT_FOUND && rc != ERROR_MORE_DATA)
      return HRESULT_FROM_WIN32(static_cast<uint32_t>(rc));
  }
  return S_FALSE;
}

HRESULT QxLang_SaveUserLCIDMetric(const WCHAR* application, DWORD packedVersion, DWORD lcid, BOOL ignoreVersion) {
  if (!application) return E_POINTER;
  const std::u16string key = MetricKey(application, packedVersion, ignoreVersion);
  HKEY k = nullptr;
  LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                            nullptr, &k, nullptr);
  if (rc != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<uint32_t>(rc));
  rc = RegSetValueExW(k, u"ULangID", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&lcid), sizeof lcid);
  RegCloseKey(k);
  return HRESULT_FROM_WIN32(static_cast<uint32_t>(rc));
}
