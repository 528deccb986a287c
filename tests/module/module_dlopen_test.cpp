// The built shared library as a host meets it: dlopen runs the load order, the entry points make
// filters that work through their interfaces alone, and dlclose runs the unload order.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <vector>

#include "aplugins/qxppack1/delay/echos_prop.h"
#include "kernel/services/qx_kernel.h"
#include "platform/com/class_factory.h"
#include "platform/mediagraph/interfaces.h"
#include "tests/module/module_test_util.h"

namespace {
constexpr CLSID kSimpleDelay = MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912");
constexpr CLSID kUnknown = MakeGuid("00000000-1111-2222-3333-444444444444");
using GetClassObjectFn = HRESULT (*)(REFCLSID, REFIID, void**);
using CanUnloadFn = HRESULT (*)();

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> v;
  std::stringstream ss(text);
  for (std::string line; std::getline(ss, line);) v.push_back(line);
  return v;
}

class Dlopen : public TempRegistry {
 protected:
  void SetUp() override {
    TempRegistry::SetUp();
    trace_ = dir_ + "/trace";
    setenv("QXPPACK1_TRACE", trace_.c_str(), 1);
  }
  void TearDown() override {
    if (handle_) dlclose(handle_);
    unsetenv("QXPPACK1_TRACE");
    unsetenv(QX_KERNEL_FAIL_INIT_ENV);
    TempRegistry::TearDown();
  }
  void Open() {
    handle_ = dlopen(QXPPACK1_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle_, nullptr) << dlerror();
    getClassObject_ = reinterpret_cast<GetClassObjectFn>(dlsym(handle_, "DllGetClassObject"));
    ASSERT_NE(getClassObject_, nullptr);
  }
  void Close() {
    ASSERT_EQ(dlclose(handle_), 0);
    handle_ = nullptr;
  }
  std::string trace_;
  void* handle_ = nullptr;
  GetClassObjectFn getClassObject_ = nullptr;
};

TEST_F(Dlopen, ExportsExactlyTheFiveEntryPoints) {
  Open();
  for (const char* name : {"DllMain", "DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer", "DllUnregisterServer"})
    EXPECT_NE(dlsym(handle_, name), nullptr) << name;
  // Kernel and class internals stay inside.
  for (const char* name : {"QxKernel_EarlyInitialize", "g_Templates", "FaderInitialize", "RegCreateKeyExW"})
    EXPECT_EQ(dlsym(handle_, name), nullptr) << name;
}

TEST_F(Dlopen, LoadAndUnloadRunTheirOrdersAndTheFilterWorksThroughItsInterfaces) {
  Open();
  EXPECT_EQ(Lines(ReadFileBytes(trace_)),
            (std::vector<std::string>{"process attach", "QxKernel_EarlyInitialize", "FaderInitialize",
                                      "TrackbarInitialize", "SpinnerInitialize", "StaticInitialize",
                                      "LogoRegisterClass"}));
  void* p = reinterpret_cast<void*>(1);
  EXPECT_EQ(getClassObject_(kUnknown, IID_IClassFactory, &p), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(getClassObject_(kUnknown, IID_IBaseFilter, &p), E_NOINTERFACE);
  EXPECT_EQ(p, nullptr);

  auto canUnload = reinterpret_cast<CanUnloadFn>(dlsym(handle_, "DllCanUnloadNow"));
  ASSERT_NE(canUnload, nullptr);
  {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(getClassObject_(kSimpleDelay, IID_IClassFactory, factory.PutVoid()), S_OK);
    ComPtr<IBaseFilter> filter;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IBaseFilter, filter.PutVoid()), S_OK);
    EXPECT_EQ(canUnload(), S_FALSE);
    CLSID clsid{};
    EXPECT_EQ(filter->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, kSimpleDelay);
    ComPtr<IQxEchosProp2> prop;
    ASSERT_EQ(QueryTo(filter.Get(), IID_IQxEchosProp2, prop), S_OK);
    EXPECT_EQ(prop->SetDelayTime(250), S_OK);
    int32_t delay = 0;
    EXPECT_EQ(prop->GetDelayTime(&delay), S_OK);
    EXPECT_EQ(delay, 250);
    ComPtr<IPin> in;
    EXPECT_EQ(filter->FindPin(u"Input", in.Put()), S_OK);
  }
  EXPECT_EQ(canUnload(), S_OK);

  Close();
  const std::vector<std::string> lines = Lines(ReadFileBytes(trace_));
  ASSERT_EQ(lines.size(), 14u);
  EXPECT_EQ(std::vector<std::string>(lines.begin() + 7, lines.end()),
            (std::vector<std::string>{"process detach", "FaderTerminate", "TrackbarTerminate", "SpinnerTerminate",
                                      "StaticTerminate", "LogoUnregisterClass", "QxKernel_LateTerminate"}));
}

TEST_F(Dlopen, KernelFailureStopsTheLoadAtItsFirstStepAndNoClassIsMade) {
  setenv(QX_KERNEL_FAIL_INIT_ENV, "1", 1);
  Open();
  EXPECT_EQ(Lines(ReadFileBytes(trace_)),
            (std::vector<std::string>{"process attach", "QxKernel_EarlyInitialize", "failed"}));
  void* p = reinterpret_cast<void*>(1);
  EXPECT_EQ(getClassObject_(kSimpleDelay, IID_IClassFactory, &p), E_UNEXPECTED);
  EXPECT_EQ(p, nullptr);
  auto reg = reinterpret_cast<CanUnloadFn>(dlsym(handle_, "DllRegisterServer"));
  EXPECT_EQ(reg(), E_UNEXPECTED);
  Close();
  // Nothing was started, so the unload has nothing to undo.
  EXPECT_EQ(Lines(ReadFileBytes(trace_)).back(), "process detach");
}

TEST_F(Dlopen, RegistrationNamesTheLibraryFileAsTheServer) {
  Open();
  auto reg = reinterpret_cast<CanUnloadFn>(dlsym(handle_, "DllRegisterServer"));
  auto unreg = reinterpret_cast<CanUnloadFn>(dlsym(handle_, "DllUnregisterServer"));
  ASSERT_EQ(reg(), S_OK);
  char full[PATH_MAX];
  ASSERT_NE(realpath(QXPPACK1_MODULE_PATH, full), nullptr);
  EXPECT_NE(ReadFileBytes(registry_).find(std::string("@=\"") + full + "\""), std::string::npos);
  ASSERT_EQ(unreg(), S_OK);
  EXPECT_EQ(ReadFileBytes(registry_).find(full), std::string::npos);
}
}  // namespace

// Memory the module keeps for the life of the process (its resource and language registries, and
// the OpenMP runtime's) is orphaned when dlclose unmaps the module, and the leak report can no
// longer name the unmapped code to tell it apart. Leaks are looked for in qx_module_tests and in
// the qxfx run, which keep the module mapped.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }
