// IClassFactory and the factory-template row a module's class table is made of.
// The factory calls the row's creation function; aggregation is passed through to it.
#pragma once
#include "platform/com/unknown.h"

inline constexpr IID IID_IClassFactory = MakeGuid("00000001-0000-0000-C000-000000000046");

struct IClassFactory : IUnknown {
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** ppv) = 0;
  virtual HRESULT LockServer(BOOL lock) = 0;
};

using LPFNNewCOMObject = CUnknown* (*)(LPUNKNOWN outer, HRESULT* hr);
using LPFNInitRoutine = void (*)(BOOL loading, const CLSID* clsid);
struct AMOVIESETUP_FILTER;

struct CFactoryTemplate {
  const WCHAR* m_Name;
  const CLSID* m_ClsID;
  LPFNNewCOMObject m_lpfnNew;
  LPFNInitRoutine m_lpfnInit;
  const AMOVIESETUP_FILTER* m_pAMovieSetup_Filter;

  bool IsClassID(REFCLSID clsid) const { return *m_ClsID == clsid; }
  CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr) const { return m_lpfnNew(outer, hr); }
};

class CClassFactory final : public IClassFactory {
 public:
  explicit CClassFactory(const CFactoryTemplate* row);
  HRESULT QueryInterface(REFIID riid, void** ppv) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override;
  HRESULT LockServer(BOOL lock) override;

 private:
  const CFactoryTemplate* row_;
  std::atomic<long> ref_{0};
};
