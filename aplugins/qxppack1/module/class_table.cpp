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
#include "aplugins/qxppack1/pages/chorus_page.h"
#include "aplugins/qxppack1/pages/echos_page.h"
#include "aplugins/qxppack1/pages/pitch_page.h"
#include "aplugins/qxppack1/pages/time_page.h"
#include "aplugins/qxppack1/pages/echomt_page.h"
#include "aplugins/qxppack1/pages/reverb_page.h"

const CFactoryTemplate g_Templates[] = {
    {u"Time Stretch", &CLSID_QxTime, CQxTime::CreateInstance, nullptr, &g_QxTimeSetup},
    {u"QxTime Property Page", &CLSID_QxTimePropPage, CQxTimePropPage::CreateInstance, nullptr, nullptr},
    {u"Pitch Shift", &CLSID_QxPitchs, CQxPitchs::CreateInstance, nullptr, &g_QxPitchsSetup},
    {u"QxPitchs Property Page", &CLSID_QxPitchsPropPage, CQxPitchsPropPage::CreateInstance, nullptr, nullptr},
    {u"Simple Delay", &CLSID_QxEchos, CQxEchos::CreateInstance, nullptr, &g_QxEchosSetup},
    {u"QxEchos Property Page", &CLSID_QxEchosPropPage, CQxEchosPropPage::CreateInstance, nullptr, nullptr},
    {u"Multi-Tap Delay", &CLSID_QxEchomt, CQxEchomt::CreateInstance, nullptr, &g_QxEchomtSetup},
    {u"QxEchomt Property Page", &CLSID_QxEchomtPropPage, CQxEchomtPropPage::CreateInstance, nullptr, nullptr},
    {u"Reverb", &CLSID_QxReverb, CQxReverb::CreateInstance, nullptr, &g_QxReverbSetup},
    {u"QxReverb Property Page", &CLSID_QxReverbPropPage, CQxReverbPropPage::CreateInstance, nullptr, nullptr},
    {u"Chorus", &CLSID_QxChorus, CQxChorus::CreateInstance, nullptr, &g_QxChorusSetup},
    {u"QxChorus Property Page", &CLSID_QxChorusPropPage, CQxChorusPropPage::CreateInstance, nullptr, nullptr},
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
