// Class table rows in their fixed order, and the class-object entry point over them.
#include "aplugins/qxppack1/module/class_table.h"

#include <new>

#include "aplugins/qxppack1/delay/chorus_filter.h"
#include "aplugins/qxppack1/delay/echos_filter.h"
#include "aplugins/qxppack1/delay/echomt_filter.h"
#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "aplugins/qxppack1/reverb/reverb_filter.h"
#include "aplugins/qxppack1/module/filter_setup.h"
#include "aplugins/qxppack1/module/module_entry.h"

namespace {
// Rows whose classes are not built yet answer E_NOTIMPL from their creation function.
CUnknown* NotBuilt(LPUNKNOWN, HRESULT* hr) {
  if (hr) *hr = E_NOTIMPL;
  return nullptr;
}

constexpr CLSID kTime = MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912");
constexpr CLSID kTimePage = MakeGuid("5FF5B4A1-858F-11D0-AEBC-00A0C9053912");
constexpr CLSID kPitchs = MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912");
constexpr CLSID kPitchsPage = MakeGuid("ED1B4101-93BE-11D0-AEBC-00A0C9053912");
constexpr CLSID kEchomt = MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912");
constexpr CLSID kEchomtPage = MakeGuid("7298A3E1-78EE-11D0-AEBC-00A0C9053912");
constexpr CLSID kReverb = MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912");
constexpr CLSID kReverbPage = MakeGuid("607682E1-6E21-11D0-AEBC-00A0C9053912");
constexpr CLSID kChorus = MakeGuid("28D9F1E0-6ECC-11D0-AEBC-00A0C9053912");
constexpr CLSID kChorusPage = MakeGuid("28D9F1E1-6ECC-11D0-AEBC-00A0C9053912");
}  // namespace

const CFactoryTemplate g_Templates[] = {
    {u"Time Stretch", &kTime, CQxTime::CreateInstance, nullptr, &g_QxTimeSetup},
    {u"QxTime Property Page", &kTimePage, NotBuilt, nullptr, nullptr},
    {u"Pitch Shift", &kPitchs, CQxPitchs::CreateInstance, nullptr, &g_QxPitchsSetup},
    {u"QxPitchs Property Page", &kPitchsPage, NotBuilt, nullptr, nullptr},
    {u"Simple Delay", &CLSID_QxEchos, CQxEchos::CreateInstance, nullptr, &g_QxEchosSetup},
    {u"QxEchos Property Page", &CLSID_QxEchosPropPage, NotBuilt, nullptr, nullptr},
    {u"Multi-Tap Delay", &kEchomt, CQxEchomt::CreateInstance, nullptr, &g_QxEchomtSetup},
    {u"QxEchomt Property Page", &kEchomtPage, NotBuilt, nullptr, nullptr},
    {u"Reverb", &kReverb, CQxReverb::CreateInstance, nullptr, &g_QxReverbSetup},
    {u"QxReverb Property Page", &kReverbPage, NotBuilt, nullptr, nullptr},
    {u"Chorus", &kChorus, CQxChorus::CreateInstance, nullptr, &g_QxChorusSetup},
    {u"QxChorus Property Page", &kChorusPage, NotBuilt, nullptr, nullptr},
};
const int g_cTemplates = sizeof g_Templates / sizeof g_Templates[0];

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  // A module whose kernel failed to start makes nothing.
  if (QxModule_StartState() == QxModuleStart::Failed) return QXPPACK1_E_NOT_STARTED;
  if (!(riid == IID_IUnknown) && !(riid == IID_IClassFactory)) return E_NOINTERFACE;
  for (int i = 0; i < g_cTemplates; ++i) {
    if (!g_Templates[i].IsClassID(clsid)) continue;
    auto* factory = new (std::nothrow) CClassFactory(&g_Templates[i]);
    if (!factory) return E_OUTOFMEMORY;
    factory->AddRef();
    *ppv = static_cast<IClassFactory*>(factory);
    return S_OK;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT DllCanUnloadNow() { return ComModule::CanUnload() ? S_OK : S_FALSE; }
