// The module's entry points linked straight into the test: DllMain's load and unload orders,
// the start-up failure rule, DllGetClassObject's refusals, and registration leaving no trace.
#include <gtest/gtest.h>

#include <vector>

#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/module/filter_setup.h"
#include "aplugins/qxppack1/module/module_entry.h"
#include "kernel/controls/control_classes.h"
#include "kernel/services/qx_kernel.h"
#include "kernel/services/qx_lang.h"
#include "platform/mediagraph/filter_mapper.h"
#include "platform/registry/registry.h"
#include "tests/module/module_test_util.h"

namespace {
const WCHAR* const kControlClasses[] = {QX_FADER_CLASS, QX_TRACKBAR_CLASS, QX_SPINNER_CLASS, QX_STATIC_CLASS,
                                        QX_LOGO_CLASS};
constexpr CLSID kSimpleDelay = MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912");
constexpr CLSID kUnknown = MakeGuid("00000000-1111-2222-3333-444444444444");

// A module handle as the library's load hook makes one, attached and detached around each test.
class Loaded : public TempRegistry {
 protected:
  void SetUp() override {
    TempRegistry::SetUp();
    module_ = QxResources_CreateModule((dir_ + "/libqxppack1.so").c_str());
  }
  void TearDown() override {
    if (attached_) DllMain(module_, DLL_PROCESS_DETACH, nullptr);
    QxResources_FreeModule(module_);
    unsetenv(QX_KERNEL_FAIL_INIT_ENV);
    TempRegistry::TearDown();
  }
  BOOL Attach() {
    attached_ = true;
    return DllMain(module_, DLL_PROCESS_ATTACH, nullptr);
  }
  HMODULE module_ = nullptr;
  bool attached_ = false;
};

TEST_F(Loaded, AttachRegistersEveryControlClassForTheModuleAndDetachRemovesThem) {
  ASSERT_TRUE(Attach());
  EXPECT_EQ(QxModule_StartState(), QxModuleStart::Started);
  EXPECT_EQ(QxModule_Handle(), module_);
  EXPECT_NE(QxLang_GetKernelHandle(), nullptr);
  EXPECT_NE(QxModule_LangInstance(), nullptr);
  for (const WCHAR* name : kControlClasses) EXPECT_TRUE(IsClassRegistered(name, module_));
  EXPECT_EQ(GetClassCursor(QX_LOGO_CLASS), LoadCursorW(nullptr, IDC_ARROW));
  // Thread notifications change nothing.
  EXPECT_TRUE(DllMain(module_, DLL_THREAD_ATTACH, nullptr));
  EXPECT_TRUE(DllMain(module_, DLL_THREAD_DETACH, nullptr));
  EXPECT_TRUE(IsClassRegistered(QX_FADER_CLASS, module_));

  EXPECT_TRUE(DllMain(module_, DLL_PROCESS_DETACH, nullptr));
  attached_ = false;
  for (const WCHAR* name : kControlClasses) EXPECT_FALSE(IsClassRegistered(name));
  EXPECT_EQ(QxLang_GetKernelHandle(), nullptr);
  EXPECT_EQ(QxModule_Handle(), nullptr);
  EXPECT_EQ(QxModule_LangInstance(), nullptr);
}

TEST_F(Loaded, KernelFailureLeavesNoControlClassAndTheModuleMakesNothing) {
  setenv(QX_KERNEL_FAIL_INIT_ENV, "1", 1);
  EXPECT_FALSE(Attach());
  EXPECT_EQ(QxModule_StartState(), QxModuleStart::Failed);
  for (const WCHAR* name : kControlClasses) EXPECT_FALSE(IsClassRegistered(name));
  EXPECT_EQ(QxLang_GetKernelHandle(), nullptr);

  void* p = reinterpret_cast<void*>(1);
  EXPECT_EQ(DllGetClassObject(kSimpleDelay, IID_IClassFactory, &p), QXPPACK1_E_NOT_STARTED);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(DllRegisterServer(), QXPPACK1_E_NOT_STARTED);
  EXPECT_EQ(DllUnregisterServer(), QXPPACK1_E_NOT_STARTED);
  EXPECT_EQ(ReadFileBytes(registry_), "");  // nothing was written

  // The unload after a failed load undoes nothing and leaves the module ready to start again.
  DllMain(module_, DLL_PROCESS_DETACH, nullptr);
  attached_ = false;
  EXPECT_EQ(QxModule_StartState(), QxModuleStart::NotLoaded);
  unsetenv(QX_KERNEL_FAIL_INIT_ENV);
  EXPECT_TRUE(Attach());
  EXPECT_TRUE(IsClassRegistered(QX_FADER_CLASS, module_));
}

TEST_F(Loaded, ClassTakenByAnotherModuleDoesNotFailTheLoad) {
  HMODULE other = QxResources_CreateModule(nullptr);
  ASSERT_NE(RegisterClassName(u"QXPPACK1BLD0FADERCLASS", other), 0);  // names ignore case
  EXPECT_TRUE(Attach());
  EXPECT_TRUE(IsClassRegistered(QX_FADER_CLASS, other));
  EXPECT_FALSE(IsClassRegistered(QX_FADER_CLASS, module_));
  EXPECT_TRUE(IsClassRegistered(QX_TRACKBAR_CLASS, module_));
  DllMain(module_, DLL_PROCESS_DETACH, nullptr);
  attached_ = false;
  // The unload removes only what is the module's own.
  EXPECT_TRUE(IsClassRegistered(QX_FADER_CLASS, other));
  EXPECT_TRUE(UnregisterClassName(QX_FADER_CLASS, other));
  QxResources_FreeModule(other);
}

TEST_F(Loaded, ClassObjectRefusalsComeInOrder) {
  ASSERT_TRUE(Attach());
  void* p = reinterpret_cast<void*>(1);
  // The interface is checked before the table is searched.
  EXPECT_EQ(DllGetClassObject(kUnknown, IID_IAMovieSetup, &p), E_NOINTERFACE);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(DllGetClassObject(kSimpleDelay, IID_IBaseFilter, &p), E_NOINTERFACE);
  EXPECT_EQ(DllGetClassObject(kUnknown, IID_IClassFactory, &p), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(DllGetClassObject(kSimpleDelay, IID_IClassFactory, nullptr), E_POINTER);

  ComPtr<IClassFactory> factory;
  ASSERT_EQ(DllGetClassObject(kSimpleDelay, IID_IUnknown, factory.PutVoid()), S_OK);
  ComPtr<IBaseFilter> filter;
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IBaseFilter, filter.PutVoid()), S_OK);
  EXPECT_TRUE(filter);
  filter.Reset();
  // Every row is found; its class is either made or, not built yet, answers E_NOTIMPL.
  for (int i = 0; i < g_cTemplates; ++i) {
    ASSERT_EQ(DllGetClassObject(*g_Templates[i].m_ClsID, IID_IClassFactory, factory.PutVoid()), S_OK);
    ComPtr<IUnknown> object;
    const HRESULT hr = factory->CreateInstance(nullptr, IID_IUnknown, object.PutVoid());
    EXPECT_TRUE(hr == S_OK || hr == E_NOTIMPL) << i << ": " << hr;
    EXPECT_EQ(hr == S_OK, object.Get() != nullptr);
  }
}

// A registry as a host machine might have it: another vendor's server and filter.
void SeedForeignRegistration() {
  HKEY k = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CLASSES_ROOT, u"CLSID\\{11111111-2222-3333-4444-555555555555}\\InprocServer32", &k),
            ERROR_SUCCESS);
  const std::u16string path = u"/opt/other/fx.so";
  RegSetValueExW(k, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                 static_cast<DWORD>((path.size() + 1) * 2));
  RegCloseKey(k);
  ComPtr<IFilterMapper2> mapper;
  ASSERT_EQ(QxCreateFilterMapper(IID_IFilterMapper2, mapper.PutVoid()), S_OK);
  static const AMOVIESETUP_MEDIATYPE type = {&MEDIATYPE_Audio, &GUID_NULL};
  static const AMOVIESETUP_PIN pin = {u"In", FALSE, FALSE, FALSE, FALSE, &GUID_NULL, u"", 1, &type};
  const REGFILTER2 rf{1, MERIT_NORMAL, 1, &pin};
  ASSERT_EQ(mapper->RegisterFilter(MakeGuid("11111111-2222-3333-4444-555555555555"), u"Other Filter", nullptr,
                                   nullptr, nullptr, &rf),
            S_OK);
  // A video filter, which an audio host must not be offered.
  static const GUID video = MakeGuid("73646976-0000-0010-8000-00AA00389B71");
  static const AMOVIESETUP_MEDIATYPE videoType = {&video, &GUID_NULL};
  static const AMOVIESETUP_PIN videoPin = {u"In", FALSE, FALSE, FALSE, FALSE, &GUID_NULL, u"", 1, &videoType};
  const REGFILTER2 rfVideo{1, MERIT_PREFERRED, 1, &videoPin};
  ASSERT_EQ(mapper->RegisterFilter(MakeGuid("11111111-2222-3333-4444-666666666666"), u"Video Filter", nullptr,
                                   nullptr, nullptr, &rfVideo),
            S_OK);
}

std::u16string ReadText(const std::u16string& key, const WCHAR* name) {
  HKEY h = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &h) != ERROR_SUCCESS) return u"<no key>";
  WCHAR buf[512] = {};
  DWORD type = 0, bytes = sizeof buf - 2;
  const LONG e = RegQueryValueExW(h, name, nullptr, &type, reinterpret_cast<BYTE*>(buf), &bytes);
  RegCloseKey(h);
  return e == ERROR_SUCCESS ? std::u16string(buf) : u"<no value>";
}

TEST_F(Loaded, RegistrationWritesClassKeysAndFiltersAndUnregistrationRestoresTheRegistry) {
  ASSERT_TRUE(Attach());
  SeedForeignRegistration();
  const std::string before = ReadFileBytes(registry_);

  ASSERT_EQ(DllRegisterServer(), S_OK);
  const std::u16string modulePath = u"" + std::u16string(dir_.begin(), dir_.end()) + u"/libqxppack1.so";
  for (int i = 0; i < g_cTemplates; ++i) {
    const std::string g = GuidToString(*g_Templates[i].m_ClsID);
    const std::u16string key = u"CLSID\\{" + std::u16string(g.begin(), g.end()) + u"}";
    EXPECT_EQ(ReadText(key, nullptr), g_Templates[i].m_Name);
    EXPECT_EQ(ReadText(key + u"\\InprocServer32", nullptr), modulePath);
    EXPECT_EQ(ReadText(key + u"\\InprocServer32", u"ThreadingModel"), u"Both");
  }
  std::vector<QxRegisteredFilter> audio;
  ASSERT_EQ(QxEnumRegisteredFilters(nullptr, MEDIATYPE_Audio, 0, &audio), S_OK);
  ASSERT_EQ(audio.size(), 7u);
  EXPECT_EQ(audio[0].name, u"Other Filter");  // the higher merit first, then by name
  const char16_t* expected[] = {u"LUMEA Chorus",       u"LUMEA Multi-Tap Delay", u"LUMEA Pitch Shift",
                                u"LUMEA Reverb",       u"LUMEA Simple Delay",    u"LUMEA Time Stretch"};
  for (int i = 0; i < 6; ++i) {
    const QxRegisteredFilter& f = audio[1 + i];
    EXPECT_EQ(f.name, expected[i]);
    EXPECT_EQ(f.merit, MERIT_DO_NOT_USE);
    ASSERT_EQ(f.pins.size(), 2u);
    EXPECT_EQ(f.pins[0].name, u"Input");
    EXPECT_FALSE(f.pins[0].output);
    EXPECT_EQ(f.pins[0].connectsToPin, u"Output");
    EXPECT_EQ(f.pins[1].name, u"Output");
    EXPECT_TRUE(f.pins[1].output);
    EXPECT_EQ(f.pins[1].connectsToPin, u"Input");
    for (const QxRegisteredPin& p : f.pins) {
      EXPECT_FALSE(p.rendered || p.zero || p.many);
      ASSERT_EQ(p.types.size(), 1u);
      EXPECT_EQ(p.types[0].major, MEDIATYPE_Audio);
      EXPECT_EQ(p.types[0].minor, GUID_NULL);
    }
  }
  std::vector<QxRegisteredFilter> usable;
  ASSERT_EQ(QxEnumRegisteredFilters(nullptr, MEDIATYPE_Audio, MERIT_UNLIKELY, &usable), S_OK);
  EXPECT_EQ(usable.size(), 1u);

  // Registering again changes nothing.
  const std::string registered = ReadFileBytes(registry_);
  ASSERT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(ReadFileBytes(registry_), registered);

  ASSERT_EQ(DllUnregisterServer(), S_OK);
  EXPECT_EQ(ReadFileBytes(registry_), before);
  // Unregistering what is not there succeeds and still changes nothing.
  ASSERT_EQ(DllUnregisterServer(), S_OK);
  EXPECT_EQ(ReadFileBytes(registry_), before);
}

TEST_F(Loaded, UnregistrationOnAnUnreadableRegistryFailsAtTheProbeAndKeepsTheFile) {
  ASSERT_TRUE(Attach());
  ASSERT_EQ(DllRegisterServer(), S_OK);
  std::string bytes = ReadFileBytes(registry_);
  bytes.resize(bytes.size() / 2);  // a truncated file
  WriteFileBytes(registry_, bytes);
  EXPECT_EQ(DllUnregisterServer(), HRESULT_FROM_WIN32(ERROR_REGISTRY_CORRUPT));
  EXPECT_EQ(DllRegisterServer(), HRESULT_FROM_WIN32(ERROR_REGISTRY_CORRUPT));
  EXPECT_EQ(ReadFileBytes(registry_), bytes);
}

TEST_F(Loaded, RegistrationWithoutALoadedModuleHasNoServerPathToWrite) {
  // DllMain has not run: the table is usable but there is no file to name.
  void* p = nullptr;
  EXPECT_EQ(DllGetClassObject(kUnknown, IID_IClassFactory, &p), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(DllRegisterServer(), E_UNEXPECTED);
  EXPECT_EQ(ReadFileBytes(registry_), "");
}
}  // namespace
