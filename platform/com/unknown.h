// IUnknown and the aggregation-ready non-delegating base every component object derives from.
// Interfaces are abstract classes; their virtual functions stand in the platform's slot order.
#pragma once
#include <atomic>
#include <utility>

#include "platform/com/guid.h"
#include "platform/com/hresult.h"
#include "platform/com/types.h"

inline constexpr IID IID_IUnknown = MakeGuid("00000000-0000-0000-C000-000000000046");

struct IUnknown {
  virtual HRESULT QueryInterface(REFIID riid, void** ppv) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};
using LPUNKNOWN = IUnknown*;

// The inner object's own identity when it is aggregated: the outer object reaches the inner one
// through these, while the inner one's IUnknown forwards to the outer object.
struct INonDelegatingUnknown {
  virtual HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) = 0;
  virtual ULONG NonDelegatingAddRef() = 0;
  virtual ULONG NonDelegatingRelease() = 0;

 protected:
  ~INonDelegatingUnknown() = default;
};

// Counts live component objects and server locks, for DllCanUnloadNow.
struct ComModule {
  static std::atomic<long> objects;
  static std::atomic<long> locks;
  static bool CanUnload() { return objects.load() == 0 && locks.load() == 0; }
};

// Base of every component object. With no outer unknown, the object is its own owner.
class CUnknown : public INonDelegatingUnknown {
 public:
  CUnknown(const char* name, LPUNKNOWN outer);
  virtual ~CUnknown();

  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
  ULONG NonDelegatingAddRef() override;
  ULONG NonDelegatingRelease() override;

  LPUNKNOWN GetOwner() const { return owner_; }
  // The object's own identity, which forwards to the non-delegating side; an outer object keeps
  // this pointer to reach an aggregated inner one.
  LPUNKNOWN GetInner() { return &inner_; }
  const char* Name() const { return name_; }

 private:
  struct Inner final : IUnknown {
    CUnknown* self;
    explicit Inner(CUnknown* s) : self(s) {}
    HRESULT QueryInterface(REFIID riid, void** ppv) override {
      return self->NonDelegatingQueryInterface(riid, ppv);
    }
    ULONG AddRef() override { return self->NonDelegatingAddRef(); }
    ULONG Release() override { return self->NonDelegatingRelease(); }
  };
  const char* name_;
  Inner inner_{this};
  LPUNKNOWN owner_;
  std::atomic<long> ref_{0};
};

// Hands out an interface pointer with a reference taken, as QueryInterface must.
inline HRESULT GetInterface(LPUNKNOWN unk, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = unk;
  unk->AddRef();
  return S_OK;
}

// Forwards a class's IUnknown to its owner; put it in every class that derives from CUnknown
// and from an interface.
#define DECLARE_IUNKNOWN                                                           \
  HRESULT QueryInterface(REFIID riid, void** ppv) override {                       \
    return GetOwner()->QueryInterface(riid, ppv);                                  \
  }                                                                                \
  ULONG AddRef() override { return GetOwner()->AddRef(); }                         \
  ULONG Release() override { return GetOwner()->Release(); }

// Minimal owning interface pointer.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  explicit ComPtr(T* p, bool addRef = true) : p_(p) {
    if (p_ && addRef) p_->AddRef();
  }
  ComPtr(const ComPtr& o) : p_(o.p_) {
    if (p_) p_->AddRef();
  }
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ComPtr& operator=(ComPtr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  ~ComPtr() { Reset(); }
  void Reset() {
    if (p_) std::exchange(p_, nullptr)->Release();
  }
  T* Get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  // For out-parameters: releases what is held and gives the slot.
  T** Put() {
    Reset();
    return &p_;
  }
  void** PutVoid() { return reinterpret_cast<void**>(Put()); }
  T* Detach() { return std::exchange(p_, nullptr); }

 private:
  T* p_ = nullptr;
};

// Queries one interface from another into a ComPtr.
template <class T>
HRESULT QueryTo(IUnknown* from, REFIID iid, ComPtr<T>& out) {
  if (!from) return E_POINTER;
  return from->QueryInterface(iid, out.PutVoid());
}
