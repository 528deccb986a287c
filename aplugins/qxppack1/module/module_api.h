// The module's face to a host: its five entry points and the class identifiers of its twelve
// classes, a filter and a property page for each effect.
#pragma once
#include "kernel/services/qx_resources.h"
#include "platform/com/guid.h"
#include "platform/com/hresult.h"

inline constexpr CLSID CLSID_QxTime = MakeGuid("B97C0F22-196D-11D1-B99B-00A0C9053912");
inline constexpr CLSID CLSID_QxTimePropPage = MakeGuid("5FF5B4A1-858F-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxPitchs = MakeGuid("ED1B4100-93BE-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxPitchsPropPage = MakeGuid("ED1B4101-93BE-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxEchos = MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxEchosPropPage = MakeGuid("54F29261-79B1-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxEchomt = MakeGuid("7298A3E0-78EE-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxEchomtPropPage = MakeGuid("7298A3E1-78EE-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxReverb = MakeGuid("607682E0-6E21-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxReverbPropPage = MakeGuid("607682E1-6E21-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxChorus = MakeGuid("28D9F1E0-6ECC-11D0-AEBC-00A0C9053912");
inline constexpr CLSID CLSID_QxChorusPropPage = MakeGuid("28D9F1E1-6ECC-11D0-AEBC-00A0C9053912");

// The page that edits a filter class (GUID_NULL for a class that is no filter of the module).
constexpr CLSID QxPageClassOf(REFCLSID filter) {
  if (filter == CLSID_QxTime) return CLSID_QxTimePropPage;
  if (filter == CLSID_QxPitchs) return CLSID_QxPitchsPropPage;
  if (filter == CLSID_QxEchos) return CLSID_QxEchosPropPage;
  if (filter == CLSID_QxEchomt) return CLSID_QxEchomtPropPage;
  if (filter == CLSID_QxReverb) return CLSID_QxReverbPropPage;
  if (filter == CLSID_QxChorus) return CLSID_QxChorusPropPage;
  return CLSID{};
}

extern "C" {
// Process attach: kernel, control classes; FALSE only when the kernel fails to start. Process
// detach: control classes, kernel. Thread attach and detach do nothing here. The shared library
// runs it by itself at load and unload.
BOOL DllMain(HMODULE module, DWORD reason, void* reserved);
// The class object (IUnknown or IClassFactory) of one of the twelve classes.
HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv);
HRESULT DllCanUnloadNow();
HRESULT DllRegisterServer();
HRESULT DllUnregisterServer();
}
