// Class factory over one row of a module's class table.
#include "platform/com/class_factory.h"

#include <new>

CClassFactory::CClassFactory(const CFactoryTemplate* row) : row_(row) { ++ComModule::objects; }

HRESULT CClassFactory::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  if (riid == IID_IUnknown || riid == IID_IClassFactory) return GetInterface(this, ppv);
  return E_NOINTERFACE;
}

ULONG CClassFactory::AddRef() { return static_cast<ULONG>(++ref_); }

ULONG CClassFactory::Release() {
  long r = --ref_;
  if (r == 0) {
    --ComModule::objects;
    delete this;
  }
  return static_cast<ULONG>(r);
}

HRESULT CClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  // An aggregating outer object may only ask for the inner identity.
  if (outer && !(riid == IID_IUnknown)) return E_NOINTERFACE;
  HRESULT hr = S_OK;
  CUnknown* obj = row_->CreateInstance(outer, &hr);
  if (!obj) return FAILED(hr) ? hr : E_OUTOFMEMORY;
  if (FAILED(hr)) {
    delete obj;
    return hr;
  }
  obj->NonDelegatingAddRef();
  hr = obj->NonDelegatingQueryInterface(riid, ppv);
  obj->NonDelegatingRelease();
  return hr;
}

HRESULT CClassFactory::LockServer(BOOL lock) {
  if (lock)
    ++ComModule::locks;
  else
    --ComModule::locks;
  return S_OK;
}
