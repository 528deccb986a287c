// CQxPropPlumbing: what Time Stretch's and Pitch Shift's property transforms share around their own
// parameters: the lock, the change and dirty flags, the notification windows and the licence slots.
#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>

#include "aplugins/qxppack1/frame/change_notifier.h"

// Prop is the effect's property interface; its RegisterWindow and licence slots are answered here.
template <class Prop>
class CQxPropPlumbing : public Prop {
 public:
  HRESULT RegisterWindow(HWND window, uint16_t command, int32_t enable) override {
    std::lock_guard<std::recursive_mutex> g(lock_);
    return notifier_.Register(window, enable ? command : 0);
  }
  HRESULT SetLicenceState(int32_t value) override {
    std::lock_guard<std::recursive_mutex> g(lock_);
    licenceState_ = value;
    return S_OK;
  }
  HRESULT GetLicenceState(int32_t* value) override {
    if (!value) return E_POINTER;
    std::lock_guard<std::recursive_mutex> g(lock_);
    *value = licenceState_;
    return S_OK;
  }
  HRESULT SetLicenceFlags(int32_t value) override {
    std::lock_guard<std::recursive_mutex> g(lock_);
    licenceFlags_ = value;
    return S_OK;
  }
  HRESULT GetLicenceFlags(int32_t* value) override {
    if (!value) return E_POINTER;
    std::lock_guard<std::recursive_mutex> g(lock_);
    *value = licenceFlags_;
    return S_OK;
  }

  // Posts `code` to the registered windows, under the lock.
  void Notify(uint16_t code) {
    std::lock_guard<std::recursive_mutex> g(lock_);
    notifier_.Notify(code);
  }
  bool Dirty() {
    std::lock_guard<std::recursive_mutex> g(lock_);
    return dirty_;
  }
  void SetDirty(bool dirty) {
    std::lock_guard<std::recursive_mutex> g(lock_);
    dirty_ = dirty;
  }
  // Flags as the engine will next see them (for tests).
  bool ChangedFlag() {
    std::lock_guard<std::recursive_mutex> g(lock_);
    return changed_;
  }
  bool RebuildFlag() {
    std::lock_guard<std::recursive_mutex> g(lock_);
    return rebuild_;
  }

 protected:
  // Single fields are read without the lock while a setter may be writing them under it; each
  // field is one aligned word, moved whole.
  template <typename T>
  static T LoadField(const T& field) {
    return std::atomic_ref<T>(const_cast<T&>(field)).load(std::memory_order_relaxed);
  }
  template <typename T>
  static void StoreField(T& field, T value) {
    std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
  }

  // Guards the effect's parameters and everything below.
  std::recursive_mutex lock_;
  bool changed_ = true;
  bool rebuild_ = true;
  bool dirty_ = false;
  CQxChangeNotifier notifier_;
  int32_t licenceState_ = 0;
  int32_t licenceFlags_ = 0;
};
