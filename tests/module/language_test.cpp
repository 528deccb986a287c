// The module's texts through its string table: the language the kernel starts in, preset names,
// automation labels, units and lists in English and, from the satellite file, in German.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/module/module_entry.h"
#include "aplugins/qxppack1/pages/string_table.h"
#include "kernel/services/qx_kernel.h"
#include "kernel/services/qx_lang.h"
#include "platform/com/media_params.h"
#include "platform/com/task_mem.h"
#include "platform/registry/registry.h"
#include "tests/module/module_test_util.h"

namespace {
// The module as its load hook makes it, with the satellite file beside it and a stored language.
class Texts : public TempRegistry {
 protected:
  void SetUp() override {
    TempRegistry::SetUp();
    setenv("LC_ALL", "C", 1);
    WriteFileBytes(dir_ + "/libqxppack1.LNG", ReadFileBytes(QXPPACK1_LNG_SOURCE));
    module_ = QxResources_CreateModule((dir_ + "/libqxppack1.so").c_str());
  }
  void TearDown() override {
    if (attached_) DllMain(module_, DLL_PROCESS_DETACH, nullptr);
    QxResources_FreeModule(module_);
    unsetenv("LC_ALL");
    TempRegistry::TearDown();
  }
  void Attach() {
    attached_ = true;
    ASSERT_TRUE(DllMain(module_, DLL_PROCESS_ATTACH, nullptr));
  }
  static void Store(HKEY root, DWORD lcid) {
    HKEY k = nullptr;
    ASSERT_EQ(RegCreateKeyW(root, u"Software\\Corvane\\qxppack1\\Lang", &k), ERROR_SUCCESS);
    RegSetValueExW(k, u"ULangID", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&lcid), sizeof lcid);
    RegCloseKey(k);
  }
  // Effect `e` of the class table (0 Time Stretch .. 5 Chorus) as a host makes it.
  ComPtr<IUnknown> Effect(int e) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(DllGetClassObject(*g_Templates[2 * e].m_ClsID, IID_IClassFactory, factory.PutVoid()), S_OK);
    ComPtr<IUnknown> filter;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, filter.PutVoid()), S_OK);
    return filter;
  }
  HMODULE module_ = nullptr;
  bool attached_ = false;
};

std::u16string PresetName(IUnknown* filter, LONG row) {
  ComPtr<IStaticFilterPreset> presets;
  filter->QueryInterface(IID_IStaticFilterPreset, presets.PutVoid());
  WCHAR text[256] = {};
  EXPECT_EQ(presets->GetPresetName(row, text), S_OK);
  return text;
}

// Label, unit and the named item of a parameter, as GetParamInfo and GetParamText give them.
struct ParamTexts {
  std::u16string label, unit, item;
};
ParamTexts Param(IUnknown* filter, DWORD index, int item) {
  ComPtr<IMediaParamInfo> info;
  filter->QueryInterface(IID_IMediaParamInfo, info.PutVoid());
  MP_PARAMINFO pi{};
  EXPECT_EQ(info->GetParamInfo(index, &pi), S_OK);
  WCHAR* block = nullptr;
  EXPECT_EQ(info->GetParamText(index, &block), S_OK);
  const WCHAR* p = block;
  for (int skip = 0; skip < 2 + item; ++skip) p += std::char_traits<char16_t>::length(p) + 1;
  ParamTexts t{pi.szLabel, pi.szUnitText, item >= 0 ? p : u""};
  EXPECT_EQ(t.label, std::u16string(block));  // both doors give the same label
  CoTaskMemFree(block);
  return t;
}

TEST_F(Texts, TheKernelStartsInTheStoredLanguageUserFirstThenMachineThenTheEnvironment) {
  struct Case {
    DWORD user, machine;  // 0: nothing stored
    const char* env;
    DWORD expected;
  } cases[] = {
      {0x407, 0x40C, "C", 0x407},
      {0, 0x40C, "C", 0x40C},
      {0, 0, "de_DE.UTF-8", 0x407},
      {0, 0, "C", 0x409},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    RegDeleteTreeW(HKEY_CURRENT_USER, u"Software");
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, u"Software");
    if (c.user) Store(HKEY_CURRENT_USER, c.user);
    if (c.machine) Store(HKEY_LOCAL_MACHINE, c.machine);
    setenv("LC_ALL", c.env, 1);
    Attach();
    EXPECT_EQ(QxLang_GetLCID(QxLang_GetKernelHandle()), c.expected);
    DllMain(module_, DLL_PROCESS_DETACH, nullptr);
    attached_ = false;
  }
}

TEST_F(Texts, PresetNamesOfAllSixEffectsFollowTheLanguage) {
  struct Case {
    int effect;
    LONG row;
    const char16_t* english;
    const char16_t* german;
  } cases[] = {
      {0, 2, u"Time expand 110 % of original", u"Zeitdehnung auf 110 % des Originals"},
      {1, 3, u"Fifth up", u"Quinte aufwärts"},
      {2, 0, u"(Default)", u"(Standard)"},
      {2, 6, u"Pseudo-stereo (select one channel only)", u"Pseudo-Stereo (nur einen Kanal auswählen)"},
      {3, 25, u"Channel delay for stereo simulation", u"Kanalverzögerung für Stereosimulation"},
      {4, 3, u"Cathedral", u"Kathedrale"},
      {4, 12, u"Very long hall", u"Sehr langer Saal"},
      {5, 3, u"Fast flange 2", u"Schneller Flanger 2"},
      {5, 23, u"Hard flange", u"Harter Flanger"},  // the row whose number comes fourth
  };
  Attach();
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.effect << " row " << c.row);
    ComPtr<IUnknown> filter = Effect(c.effect);
    ComPtr<IQxTranslationInfo> language;
    ASSERT_EQ(filter->QueryInterface(IID_IQxTranslationInfo, language.PutVoid()), S_OK);
    ASSERT_EQ(language->SetLanguage(0x409), S_OK);
    EXPECT_EQ(PresetName(filter.Get(), c.row), c.english);
    ASSERT_EQ(language->SetLanguage(0x407), S_OK);
    EXPECT_EQ(PresetName(filter.Get(), c.row), c.german);
    // A language with no translation falls back to English.
    ASSERT_EQ(language->SetLanguage(0x40C), S_OK);
    EXPECT_EQ(PresetName(filter.Get(), c.row), c.english);
  }
}

TEST_F(Texts, AutomationLabelsUnitsAndListsComeFromTheStringTable) {
  struct Case {
    int effect;
    DWORD index;
    int item;  // -1: no list
    ParamTexts english, german;
  } cases[] = {
      {2, 0, -1, {u"Delay Time", u"ms", u""}, {u"Verzögerungszeit", u"ms", u""}},
      {2, 9, 18, {u"Decay Time (Tempo)", u"", u"Measures"}, {u"Abklingzeit (Tempo)", u"", u"Takte"}},
      {4, 3, 1, {u"Reverberation Mode", u"", u"Mode 2 - 8 ms"}, {u"Hallmodus", u"", u"Modus 2 - 8 ms"}},
      {4, 8, -1, {u"Dry Out", u"dB", u""}, {u"Direktsignal", u"dB", u""}},
      {5, 0, -1, {u"Modulation Rate", u"Hz", u""}, {u"Modulationsrate", u"Hz", u""}},
      {5, 13, 13, {u"Modulation Period", u"", u"Quarter Note"}, {u"Modulationsperiode", u"", u"Viertel"}},
  };
  Attach();
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.effect << " parameter " << c.index);
    ComPtr<IUnknown> filter = Effect(c.effect);
    ComPtr<IQxTranslationInfo> language;
    ASSERT_EQ(filter->QueryInterface(IID_IQxTranslationInfo, language.PutVoid()), S_OK);
    for (const auto& [lcid, want] : {std::pair{0x409, c.english}, std::pair{0x407, c.german}}) {
      ASSERT_EQ(language->SetLanguage(lcid), S_OK);
      const ParamTexts got = Param(filter.Get(), c.index, c.item);
      EXPECT_EQ(got.label, want.label);
      EXPECT_EQ(got.unit, want.unit);
      EXPECT_EQ(got.item, want.item);
    }
  }
}

TEST(SatelliteFile, TranslatesEveryStringOfTheModuleAndEachListKeepsItsLength) {
  HMODULE satellite = QxResources_LoadDataFile(QXPPACK1_LNG_SOURCE);
  ASSERT_NE(satellite, nullptr);
  for (size_t i = 0; i < g_QxPackStringCount; ++i) {
    const QxStringTableEntry& e = g_QxPackStrings[i];
    WCHAR text[1024] = {};
    ASSERT_GT(LoadStringW(satellite, e.id, text, 1024), 0) << e.id;
    auto commas = [](std::u16string_view s) { return std::count(s.begin(), s.end(), u','); };
    EXPECT_EQ(commas(text), commas(e.text)) << e.id;
  }
  QxResources_FreeModule(satellite);
}
}  // namespace
