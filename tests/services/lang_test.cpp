// Tests of the language strings: catalogue columns by LCID, resource numbers in catalogue slots,
// key-or-literal rule, numbered strings through the cache, satellite files, and the stored choice.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_lang_catalogue.h"
#include "platform/registry/registry.h"

namespace {

std::u16string S(const WCHAR* p) { return p ? std::u16string(p) : u"(null)"; }

const WCHAR* LanguageName(HQXLANG__* h) { return QxGetString(h, &g_QxLangCatalogue[QXLS_LANGUAGE_NAME]); }

// A handle on a module with no resources; closed at scope end.
struct Handle {
  HQXLANG__* h = nullptr;
  explicit Handle(DWORD lcid, HMODULE module = nullptr) { EXPECT_EQ(QxLang_Open(&h, module, lcid, 0), S_OK); }
  ~Handle() { QxLang_Close(h); }
};

// The kernel handle for tests that change languages; closed at scope end.
struct Kernel {
  explicit Kernel(HMODULE module, DWORD lcid = 0x409) { EXPECT_EQ(QxLang_OpenKernelHandle(module, lcid, 0), S_OK); }
  ~Kernel() { QxLang_CloseKernelHandle(); }
  HQXLANG__* h() const { return QxLang_GetKernelHandle(); }
};

}  // namespace

TEST(LangCatalogue, ConditioningAndColumns) {
  struct Row { DWORD lcid, conditioned; };
  const Row rows[] = {{0x0C04, 0x404}, {0x1404, 0x404}, {0x1004, 0x804}, {0x0804, 0x804}, {0x0404, 0x404},
                      {0x0816, 0x816}, {0x0416, 0x416}, {0x0807, 0x407}, {0x0C0A, 0x40A}, {0x0409, 0x409}};
  for (const Row& r : rows) EXPECT_EQ(QxLang_GetConditionedLCID(r.lcid), r.conditioned) << std::hex << r.lcid;

  struct Col { DWORD lcid; int column; const char16_t* name; };
  const Col cols[] = {{0x0C04, 7, u"繁體中文"},  {0x1004, 6, u"简体中文"}, {0x0401, 1, u"English"},
                      {0x0816, 15, u"Português (Portugal)"}, {0x0416, 14, u"Português (Brasil)"},
                      {0x0807, 3, u"Deutsch"},   {0x0415, 18, u"Polski"},  {0x0809, 1, u"English"}};
  for (const Col& c : cols) {
    Handle h(c.lcid);
    EXPECT_EQ(S(LanguageName(h.h)), c.name) << std::hex << c.lcid;
    EXPECT_EQ(h.h->catalogueSlot.load(), c.column) << std::hex << c.lcid;
  }
  // The catalogue's English texts sit in every column.
  Handle ja(0x411);
  EXPECT_EQ(S(QxGetStringSmart(ja.h, QxLangCatalogueKey(QXLS_FORMAT_DESCRIPTION))), u"$d Hz$, %d Bit$, %s");
  EXPECT_EQ(S(QxGetStringSmart(ja.h, QxLangCatalogueKey(QXLS_NEG_INF))), u"-Inf.");
}

TEST(LangCatalogue, ResourceNumberSlotsResolveOnceAndGoBack) {
  HMODULE mod = QxResources_CreateModule(nullptr);
  // Column 3 (German) is read in the language of column 4 (Spanish): the shift is kept.
  const QxStringTableEntry es[] = {{42, u"texto"}};
  const QxStringTableEntry de[] = {{42, u"Text"}};
  QxResources_AddStringTable(mod, 0x40A, es, 1);
  QxResources_AddStringTable(mod, 0x407, de, 1);
  static const WCHAR english[] = u"text";
  QXLANGENTRY e = {QXLANG_MARKER, QXLANG_COLUMNS, 0, {}, nullptr};
  for (auto& t : e.text) t = english;
  e.text[2] = QxLangKey(42);  // German column holds a number
  e.text[9] = QxLangKey(43);  // Italian column: a number with no string behind it
  {
    Handle de(0x407, mod);
    const WCHAR* first = QxGetString(de.h, &e);
    EXPECT_EQ(S(first), u"texto");
    EXPECT_EQ(e.text[2], first);  // written in place
    EXPECT_EQ(QxGetString(de.h, &e), first);
    Handle it(0x410, mod);
    EXPECT_EQ(QxGetString(it.h, &e), english);  // missing: English, stored
    EXPECT_EQ(e.text[9], english);
  }
  // Closing the language puts the numbers back, so no slot points into a freed module.
  EXPECT_EQ(e.text[2], QxLangKey(42));
  EXPECT_EQ(e.text[9], QxLangKey(43));

  // An entry with fewer columns uses its last; a null handle reads column 1.
  e.count = 2;
  e.text[1] = u"second";
  Handle fr(0x40C);
  EXPECT_EQ(S(QxGetString(fr.h, &e)), u"second");
  EXPECT_EQ(QxGetString(nullptr, &e), english);
  QxResources_FreeModule(mod);
}

TEST(LangStrings, KeyOrLiteral) {
  Handle h(0x409);
  // A literal that starts with 0xFFFE but sits on a 2-byte boundary is a literal.
  alignas(4) static const char16_t buffer[] = {u'x', 0xFFFE, u'a', 0};
  const WCHAR* odd = buffer + 1;
  EXPECT_FALSE(IsQXLANGSTRINGID(h.h, odd));
  EXPECT_EQ(QxGetStringSmart(h.h, odd), odd);
  EXPECT_FALSE(IsQXLANGSTRINGID(h.h, nullptr));
  EXPECT_FALSE(IsQXLANGSTRINGID(h.h, QxLangKey(0xFFFE)));
  EXPECT_FALSE(IsQXLANGSTRINGID(h.h, u"plain"));
  EXPECT_EQ(QxGetStringSmart(h.h, nullptr), nullptr);
  const WCHAR* literal = u"literal";
  EXPECT_EQ(QxGetStringSmart(h.h, literal), literal);
  EXPECT_EQ(S(QxGetStringSmart(h.h, QxLangCatalogueKey(QXLS_STEREO))), u"Stereo");
  EXPECT_EQ(S(QxGetStringSmart(h.h, QxLangKey(12345))), u"");  // a number with no string
}

TEST(LangStrings, LoadCacheAndLanguageChange) {
  HMODULE mod = QxResources_CreateModule(nullptr);
  std::u16string longText(1500, u'L');
  const QxStringTableEntry en[] = {{100, u"Delay"}, {101, u"^*ENU"}, {102, longText.c_str()}, {103, u"^*"}};
  const QxStringTableEntry de[] = {{100, u"Verzögerung"}};
  QxResources_AddStringTable(mod, 0x409, en, 4);
  QxResources_AddStringTable(mod, 0x407, de, 1);

  EXPECT_EQ(QxLang_UpdateKernelLCID(nullptr, 0x407), 0);
  Kernel k(mod);
  WCHAR buf[8];
  EXPECT_EQ(QxLoadString(k.h(), 101, buf, 8), 3);  // "^*" removed, counting 3
  EXPECT_EQ(S(buf), u"ENU");
  EXPECT_EQ(QxLoadString(k.h(), 103, buf, 8), 0);
  EXPECT_EQ(QxLoadString(k.h(), 100, buf, 4), 3);
  EXPECT_EQ(S(buf), u"Del");
  EXPECT_EQ(QxLoadString(k.h(), 999, buf, 8), 0);
  EXPECT_EQ(buf[0], 0);

  const WCHAR* delay = QxGetString(k.h(), 100);
  EXPECT_EQ(S(delay), u"Delay");
  EXPECT_EQ(QxGetString(k.h(), 100), delay);  // cached
  EXPECT_EQ(std::u16string(QxGetString(k.h(), 102)).size(), size_t{QXLANG_LOAD_CHARS - 1});
  EXPECT_EQ(QxGetString(k.h(), 999), QxGetString(k.h(), 998));  // the shared empty text, not cached
  EXPECT_EQ(k.h()->stringCache.size(), 2u);

  // A change of language empties the cache; the module serves its German table now.
  EXPECT_EQ(QxLang_UpdateKernelLCID(k.h(), 0x407), 1);
  EXPECT_TRUE(k.h()->stringCache.empty());
  EXPECT_EQ(k.h()->catalogueSlot.load(), 0);
  EXPECT_EQ(S(QxGetString(k.h(), 100)), u"Verzögerung");
  EXPECT_EQ(S(QxGetString(k.h(), 101)), u"ENU");  // untranslated: English
  EXPECT_EQ(QxLang_InstFromLang(k.h()), mod);
  EXPECT_EQ(S(LanguageName(k.h())), u"Deutsch");

  // The same LCID again keeps the cache; 0 means US English; right-to-left languages set the layout.
  const WCHAR* again = QxGetString(k.h(), 100);
  EXPECT_EQ(QxLang_UpdateKernelLCID(k.h(), 0x407), 1);
  EXPECT_EQ(QxGetString(k.h(), 100), again);
  EXPECT_EQ(QxLang_UpdateKernelLCID(k.h(), 0x401), 1);
  EXPECT_EQ(QxLang_GetProcessDefaultLayout(), 1u);
  EXPECT_EQ(S(QxGetString(k.h(), 100)), u"Delay");  // unknown language: base module's English
  EXPECT_EQ(QxLang_UpdateKernelLCID(k.h(), 0), 1);
  EXPECT_EQ(QxLang_GetLCID(k.h()), 0x409u);
  EXPECT_EQ(QxLang_GetProcessDefaultLayout(), 0u);
  EXPECT_EQ(k.h()->useLangInstance.load(), 0);

  // A second handle changes with the kernel's.
  Handle other(0x409, mod);
  EXPECT_EQ(QxLang_UpdateKernelLCID(other.h, 0x40C), 1);
  EXPECT_EQ(QxLang_GetLCID(k.h()), 0x40Cu);
  QxLang_UpdateThreadLocale(other.h);
  EXPECT_EQ(QxLang_GetThreadLocale(), 0x40Cu);
  QxResources_FreeModule(mod);
}

TEST(LangStrings, SatelliteBesideTheModule) {
  const std::string dir = testing::TempDir();
  const std::string modulePath = dir + "qxlang_fx.so";
  {
    std::ofstream out(dir + "qxlang_fx.LNG", std::ios::binary);
    out << "QXLNG 1\n[0407]\n100=Verz\\u00f6gerung\n101=^*DEU\n";
  }
  HMODULE mod = QxResources_CreateModule(modulePath.c_str());
  const QxStringTableEntry en[] = {{100, u"Delay"}, {101, u"^*ENU"}, {102, u"only English"}};
  QxResources_AddStringTable(mod, 0x409, en, 3);
  {
    Handle de(0x407, mod);
    EXPECT_NE(de.h->langInstance.load(), mod);
    EXPECT_EQ(QxLang_InstFromLang(de.h), de.h->langInstance.load());
    EXPECT_EQ(S(QxGetString(de.h, 100)), u"Verzögerung");
    WCHAR buf[16];
    EXPECT_EQ(QxLoadString(de.h, 101, buf, 16), 3);
    EXPECT_EQ(S(buf), u"DEU");
    EXPECT_EQ(S(QxGetString(de.h, 102)), u"only English");

    Handle en(0x409, mod);  // English reads the module itself
    EXPECT_EQ(S(QxGetString(en.h, 100)), u"Delay");
    EXPECT_EQ(QxLang_InstFromLang(en.h), mod);
    Handle ar(0x401, mod);  // a language the satellite lacks: the base module
    EXPECT_EQ(S(QxGetString(ar.h, 100)), u"Delay");

    HQXLANG__* open = de.h;
    EXPECT_EQ(QxLang_Open(&open, mod, 0x407, 0), QXLANG_S_ALREADY_OPEN);
    EXPECT_EQ(open, de.h);
  }
  std::ofstream(dir + "qxlang_fx.LNG", std::ios::trunc) << "not a satellite\n";
  {
    Handle de(0x407, mod);
    EXPECT_EQ(de.h->langInstance.load(), mod);  // a malformed satellite is ignored
    EXPECT_EQ(S(QxGetString(de.h, 100)), u"Delay");
  }
  unlink((dir + "qxlang_fx.LNG").c_str());
  QxResources_FreeModule(mod);
}

TEST(LangStrings, HandleDetails) {
  for (DWORD asked : {0u, 100u, 0x3000u}) {
    HQXLANG__* h = nullptr;
    ASSERT_EQ(QxLang_Open(&h, nullptr, 0, asked), S_OK);
    const DWORD want = asked == 0 ? 0x2000 : asked < 0x800 ? 0x800 : asked;
    EXPECT_EQ(h->tempChars, want);
    EXPECT_EQ(h->tempBuffer[want - 1], 0);
    EXPECT_EQ(QxLang_GetLCID(h), 0u);
    QxLang_Close(h);
  }
  QxLang_Close(nullptr);
  EXPECT_EQ(QxLang_Open(nullptr, nullptr, 0, 0), E_POINTER);

  WCHAR cc[8];
  Handle de(0x0807), en(0x409), pl(0x415);
  EXPECT_EQ(QxLang_GetLangllCC(de.h, cc, 8), 0);
  EXPECT_EQ(S(cc), u"de-DE");
  EXPECT_EQ(QxLang_GetLangllCC(pl.h, cc, 3), 0);
  EXPECT_EQ(S(cc), u"pl");
  EXPECT_EQ(QxLang_GetLangllCC(en.h, cc, 8), 1);
  EXPECT_EQ(S(cc), u"en-US");
  cc[0] = u'?';
  EXPECT_EQ(QxLang_GetLangllCC(nullptr, cc, 0), 1);
  EXPECT_EQ(cc[0], u'?');
  EXPECT_TRUE(QxLang_IsLCIDEnglish(0x0809));
  EXPECT_FALSE(QxLang_IsLCIDEnglish(0x0407));

  QxSetLangID(u"DEUX");
  EXPECT_EQ(S(QxGetLangID()), u"DEU");
  QxSetLangID(u"");
  EXPECT_EQ(S(QxGetLangID()), u"ENU");
  QxSetLangID(nullptr);
  EXPECT_EQ(S(QxGetLangID()), u"ENU");

  const char* saved = std::getenv("LC_ALL");
  const std::string keep = saved ? saved : "";
  setenv("LC_ALL", "zh_HK.UTF-8", 1);
  EXPECT_EQ(QxLang_GetUserDefaultUILanguage(), 0xC04);
  setenv("LC_ALL", "pt_PT", 1);
  EXPECT_EQ(QxLang_GetUserDefaultUILanguage(), 0x816);
  setenv("LC_ALL", "C", 1);
  EXPECT_EQ(QxLang_GetUserDefaultUILanguage(), 0x409);
  if (saved) setenv("LC_ALL", keep.c_str(), 1); else unsetenv("LC_ALL");
}

TEST(LangStrings, StoredLanguageChoice) {
  char tmpl[] = "/tmp/qxlangreg.XXXXXX";
  ASSERT_NE(mkdtemp(tmpl), nullptr);
  const std::string file = std::string(tmpl) + "/registry";
  setenv("QX_REGISTRY_FILE", file.c_str(), 1);

  DWORD lcid = 0xDEAD;
  EXPECT_EQ(QxLang_LoadUserLCIDMetric(u"Studio", 0x05020000, &lcid, FALSE), S_FALSE);
  EXPECT_EQ(lcid, 0xDEADu);
  ASSERT_EQ(QxLang_SaveUserLCIDMetric(u"Studio", 0x05020000, 0x10407, FALSE), S_OK);
  EXPECT_EQ(QxLang_LoadUserLCIDMetric(u"Studio", 0x05020000, &lcid, FALSE), S_OK);
  EXPECT_EQ(lcid, 0x407u);  // low 16 bits
  HKEY k = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Corvane\\Studio\\5.2\\Lang", 0, KEY_READ, &k), ERROR_SUCCESS);
  RegCloseKey(k);
  lcid = 0xDEAD;
  EXPECT_EQ(QxLang_LoadUserLCIDMetric(u"Studio", 0x05020000, &lcid, TRUE), S_FALSE);  // another key
  EXPECT_EQ(lcid, 0xDEADu);

  // The local machine answers when the user has nothing.
  ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, u"Software\\Corvane\\Studio\\Lang", &k), ERROR_SUCCESS);
  const DWORD fr = 0x40C;
  RegSetValueExW(k, u"ULangID", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&fr), 4);
  RegCloseKey(k);
  EXPECT_EQ(QxLang_LoadUserLCIDMetric(u"Studio", 0x05020000, &lcid, TRUE), S_OK);
  EXPECT_EQ(lcid, 0x40Cu);
  EXPECT_EQ(QxLang_LoadUserLCIDMetric(u"Studio", 0x00000003, &lcid, FALSE), S_OK);  // top byte 0: no version

  std::ofstream(file, std::ios::trunc) << "QXREGISTRY 1\n[HKEY_CURRENT_USER\\x]\n";
  EXPECT_EQ(QxLang_LoadUserLCIDMetric(u"Studio", 0, &lcid, TRUE), HRESULT_FROM_WIN32(ERROR_REGISTRY_CORRUPT));
  unsetenv("QX_REGISTRY_FILE");
  ASSERT_EQ(std::system(("rm -rf '" + std::string(tmpl) + "'").c_str()), 0);
}
