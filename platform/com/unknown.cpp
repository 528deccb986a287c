// Reference counting and identity for CUnknown.
#include "platform/com/unknown.h"

std::atomic<long> ComModule::objects{0};
std::atomic<long> ComModule::locks{0};

CUnknown::CUnknown(const char* name, LPUNKNOWN outer)
    : name_(name), owner_(outer ? outer : &inner_) {
  ++ComModule::objects;
}

CUnknown::~CUnknown() { --ComModule::objects; }

HRESULT CUnknown::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IUnknown) return GetInterface(&inner_, ppv);
  *ppv = nullptr;
  return E_NOINTERFACE;
}
ULONG CUnknown::NonDelegatingAddRef() { return static_cast<ULONG>(++ref_); }

ULONG CUnknown::NonDelegatingRelease() {
  long r = --ref_;
  if (r == 0) {
    // Guard against re-entry while the destructor releases what it holds.
    ref_ = 1;
    delete this;
    return 0;
  }
  return static_cast<ULONG>(r);
}
