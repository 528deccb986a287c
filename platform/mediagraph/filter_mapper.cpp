// The filter mapper over the file-backed registry: registration writes one key tree per filter,
// enumeration reads the trees back and orders them as a host picks filters.
#include "platform/mediagraph/filter_mapper.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "platform/registry/registry.h"

namespace {
std::u16string Ascii16(const std::string& s) { return std::u16string(s.begin(), s.end()); }
std::u16string GuidText(REFGUID g) { return u"{" + Ascii16(GuidToString(g)) + u"}"; }

bool GuidFromText(const std::u16string& s, GUID* g) {
  std::string a;
  for (char16_t c : s) {
    if (c > 0x7F) return false;
    a += static_cast<char>(c);
  }
  auto r = GuidFromString(a);
  if (!r) return false;
  *g = *r;
  return true;
}

std::u16string Index(unsigned i) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%03u", i);
  return Ascii16(buf);
}

std::u16string InstancePath(const CLSID* category, const std::u16string& instance) {
  return u"CLSID\\" + GuidText(category ? *category : CLSID_LegacyAmFilterCategory) + u"\\Instance\\" + instance;
}

HRESULT Hr(LONG err) { return err == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(static_cast<uint32_t>(err)); }

// An open key that closes itself.
struct Key {
  HKEY h = nullptr;
  ~Key() {
    if (h) RegCloseKey(h);
  }
  LONG Create(HKEY parent, const std::u16string& sub) {
    return RegCreateKeyExW(parent, sub.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &h,
                           nullptr);
  }
  LONG Open(HKEY parent, const std::u16string& sub) { return RegOpenKeyExW(parent, sub.c_str(), 0, KEY_READ, &h); }
  LONG SetText(const WCHAR* name, const std::u16string& v) {
    return RegSetValueExW(h, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(v.c_str()),
                          static_cast<DWORD>((v.size() + 1) * sizeof(WCHAR)));
  }
  LONG SetDword(const WCHAR* name, DWORD v) {
    return RegSetValueExW(h, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v), sizeof v);
  }
  bool GetText(const WCHAR* name, std::u16string* v) const {
    DWORD type = 0, bytes = 0;
    if (RegQueryValueExW(h, name, nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS || type != REG_SZ) return false;
    std::u16string buf(bytes / sizeof(WCHAR) + 1, u'\0');
    if (RegQueryValueExW(h, name, nullptr, &type, reinterpret_cast<BYTE*>(buf.data()), &bytes) != ERROR_SUCCESS)
      return false;
    buf.resize(bytes / sizeof(WCHAR));
    while (!buf.empty() && buf.back() == u'\0') buf.pop_back();
    *v = buf;
    return true;
  }
  bool GetDword(const WCHAR* name, DWORD* v) const {
    DWORD type = 0, bytes = sizeof *v;
    return RegQueryValueExW(h, name, nullptr, &type, reinterpret_cast<BYTE*>(v), &bytes) == ERROR_SUCCESS &&
           type == REG_DWORD;
  }
  bool GetFlag(const WCHAR* name, bool* v) const {
    DWORD d = 0;
    if (!GetDword(name, &d)) return false;
    *v = d != 0;
    return true;
  }
  std::vector<std::u16string> Subkeys() const {
    std::vector<std::u16string> names;
    for (DWORD i = 0;; ++i) {
      WCHAR name[256];
      DWORD cch = 256;
      if (RegEnumKeyExW(h, i, name, &cch, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
      names.emplace_back(name, cch);
    }
    return names;
  }
};

LONG WritePin(HKEY pins, unsigned index, const REGFILTERPINS& pin) {
  Key k;
  if (LONG e = k.Create(pins, Index(index))) return e;
  LONG e = k.SetText(u"Name", pin.strName ? pin.strName : u"");
  if (!e) e = k.SetDword(u"Output", pin.bOutput ? 1 : 0);
  if (!e) e = k.SetDword(u"Rendered", pin.bRendered ? 1 : 0);
  if (!e) e = k.SetDword(u"Zero", pin.bZero ? 1 : 0);
  if (!e) e = k.SetDword(u"Many", pin.bMany ? 1 : 0);
  if (!e) e = k.SetText(u"ConnectsToFilter", GuidText(pin.clsConnectsToFilter ? *pin.clsConnectsToFilter : GUID_NULL));
  if (!e) e = k.SetText(u"ConnectsToPin", pin.strConnectsToPin ? pin.strConnectsToPin : u"");
  for (UINT t = 0; !e && t < pin.nMediaTypes; ++t) {
    const REGPINTYPES& type = pin.lpMediaType[t];
    Key tk;
    e = tk.Create(k.h, u"Types\\" + Index(t));
    if (!e) e = tk.SetText(u"MajorType", GuidText(type.clsMajorType ? *type.clsMajorType : GUID_NULL));
    if (!e) e = tk.SetText(u"SubType", GuidText(type.clsMinorType ? *type.clsMinorType : GUID_NULL));
  }
  return e;
}

bool ReadPin(HKEY pins, const std::u16string& sub, QxRegisteredPin* pin) {
  Key k;
  if (k.Open(pins, sub)) return false;
  std::u16string connects;
  if (!k.GetText(u"Name", &pin->name) || !k.GetFlag(u"Output", &pin->output) ||
      !k.GetFlag(u"Rendered", &pin->rendered) || !k.GetFlag(u"Zero", &pin->zero) || !k.GetFlag(u"Many", &pin->many) ||
      !k.GetText(u"ConnectsToFilter", &connects) || !GuidFromText(connects, &pin->connectsToFilter) ||
      !k.GetText(u"ConnectsToPin", &pin->connectsToPin))
    return false;
  Key types;
  if (types.Open(k.h, u"Types")) return true;  // a pin with no types
  for (const std::u16string& t : types.Subkeys()) {
    Key tk;
    std::u16string major, minor;
    QxRegisteredPinType rt;
    if (tk.Open(types.h, t) || !tk.GetText(u"MajorType", &major) || !tk.GetText(u"SubType", &minor) ||
        !GuidFromText(major, &rt.major) || !GuidFromText(minor, &rt.minor))
      return false;
    pin->types.push_back(rt);
  }
  return true;
}

bool ReadFilter(HKEY instances, const std::u16string& sub, QxRegisteredFilter* f) {
  Key k;
  std::u16string clsid;
  if (k.Open(instances, sub) || !k.GetText(u"FriendlyName", &f->name) || !k.GetText(u"CLSID", &clsid) ||
      !GuidFromText(clsid, &f->clsid) || !k.GetDword(u"Merit", &f->merit))
    return false;
  Key pins;
  if (pins.Open(k.h, u"Pins")) return true;  // a filter with no pins
  for (const std::u16string& p : pins.Subkeys()) {
    QxRegisteredPin pin;
    if (!ReadPin(pins.h, p, &pin)) return false;
    f->pins.push_back(std::move(pin));
  }
  return true;
}

bool TakesInput(const QxRegisteredFilter& f, REFGUID major) {
  if (major == GUID_NULL) return true;
  for (const QxRegisteredPin& p : f.pins) {
    if (p.output) continue;
    for (const QxRegisteredPinType& t : p.types)
      if (t.major == major || t.major == GUID_NULL) return true;
  }
  return false;
}

class CFilterMapper final : public IFilterMapper2 {
 public:
  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IFilterMapper2) return GetInterface(this, ppv);
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return static_cast<ULONG>(++ref_); }
  ULONG Release() override {
    const long r = --ref_;
    if (r == 0) delete this;
    return static_cast<ULONG>(r);
  }

  HRESULT CreateCategory(REFCLSID category, DWORD merit, LPCWSTR description) override {
    Key k;
    LONG e = k.Create(HKEY_CLASSES_ROOT, u"CLSID\\" + GuidText(category));
    if (!e) e = k.SetText(u"FriendlyName", description ? description : u"");
    if (!e) e = k.SetText(u"CLSID", GuidText(category));
    if (!e) e = k.SetDword(u"Merit", merit);
    return Hr(e);
  }

  HRESULT UnregisterFilter(const CLSID* category, LPCWSTR instance, REFCLSID filter) override {
    const std::u16string path = InstancePath(category, instance ? std::u16string(instance) : GuidText(filter));
    return Hr(RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str()));
  }

  HRESULT RegisterFilter(REFCLSID filter, LPCWSTR name, IMoniker** moniker, const CLSID* category, LPCWSTR instance,
                         const REGFILTER2* rf2) override {
    if (!rf2 || !name) return E_POINTER;
    if (rf2->dwVersion != 1 || (rf2->cPins && !rf2->rgPins)) return E_INVALIDARG;
    if (moniker && *moniker) return E_INVALIDARG;
    const std::u16string path = InstancePath(category, instance ? std::u16string(instance) : GuidText(filter));
    // An earlier registration of this instance goes first, so no stale pin outlives it.
    const LONG gone = RegDeleteTreeW(HKEY_CLASSES_ROOT, path.c_str());
    if (gone != ERROR_SUCCESS && gone != ERROR_FILE_NOT_FOUND) return Hr(gone);
    Key k;
    LONG e = k.Create(HKEY_CLASSES_ROOT, path);
    if (!e) e = k.SetText(u"FriendlyName", name);
    if (!e) e = k.SetText(u"CLSID", GuidText(filter));
    if (!e) e = k.SetDword(u"Merit", rf2->dwMerit);
    if (!e && rf2->cPins) {
      Key pins;
      e = pins.Create(k.h, u"Pins");
      for (ULONG i = 0; !e && i < rf2->cPins; ++i) e = WritePin(pins.h, i, rf2->rgPins[i]);
    }
    return Hr(e);
  }

  HRESULT EnumMatchingFilters(IEnumMoniker** e, DWORD, BOOL, DWORD, BOOL, DWORD, const GUID*, const REGPINMEDIUM*,
                              const CLSID*, BOOL, BOOL, DWORD, const GUID*, const REGPINMEDIUM*,
                              const CLSID*) override {
    if (e) *e = nullptr;
    return E_NOTIMPL;
  }

 private:
  std::atomic<long> ref_{0};
};
}  // namespace

HRESULT QxCreateFilterMapper(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  auto* m = new (std::nothrow) CFilterMapper;
  if (!m) return E_OUTOFMEMORY;
  m->AddRef();
  const HRESULT hr = m->QueryInterface(riid, ppv);
  m->Release();
  return hr;
}

HRESULT QxEnumRegisteredFilters(const CLSID* category, REFGUID majorType, DWORD minMerit,
                                std::vector<QxRegisteredFilter>* out) {
  if (!out) return E_POINTER;
  out->clear();
  Key instances;
  const std::u16string path =
      u"CLSID\\" + GuidText(category ? *category : CLSID_LegacyAmFilterCategory) + u"\\Instance";
  const LONG e = instances.Open(HKEY_CLASSES_ROOT, path);
  if (e == ERROR_FILE_NOT_FOUND) return S_OK;
  if (e) return Hr(e);
  for (const std::u16string& sub : instances.Subkeys()) {
    QxRegisteredFilter f;
    if (!ReadFilter(instances.h, sub, &f) || f.merit < minMerit || !TakesInput(f, majorType)) continue;
    out->push_back(std::move(f));
  }
  std::stable_sort(out->begin(), out->end(), [](const QxRegisteredFilter& a, const QxRegisteredFilter& b) {
    return a.merit != b.merit ? a.merit > b.merit : a.name < b.name;
  });
  return S_OK;
}
