// CQxTransformState: what the Chorus and Simple Delay transforms keep alike around their parameter
// tables: the engine lock, the pending-update and unsaved flags, the notice windows, the licence slots.
#pragma once
#include <mutex>

#include "aplugins/qxppack1/frame/change_notifier.h"
#include "aplugins/qxppack1/frame/effect_core.h"

// Prop is the effect's control interface: its RegisterWindow and licence slots are answered here,
// and so are IQxEffectCore's notices and unsaved flag.
template <class Prop>
class CQxTransformState : public Prop, public IQxEffectCore {
 public:
  HRESULT RegisterWindow(HWND window, uint16_t commandId) override {
    std::lock_guard<std::recursive_mutex> g(engineLock_);
    return notifier_.Register(window, commandId);
  }
  HRESULT SetLicenceState(int32_t v) override { licenceState_ = v; return S_OK; }
  HRESULT GetLicenceState(int32_t* v) override { return v ? (*v = licenceState_, S_OK) : E_POINTER; }
  HRESULT SetLicenceFlags(int32_t v) override { licenceFlags_ = v; return S_OK; }
  HRESULT GetLicenceFlags(int32_t* v) override { return v ? (*v = licenceFlags_, S_OK) : E_POINTER; }

  void Notify(uint16_t code) override {
    std::lock_guard<std::recursive_mutex> g(engineLock_);
    notifier_.Notify(code);
  }
  bool PersistDirtyFlag() override {
    std::lock_guard<std::recursive_mutex> g(engineLock_);
    return PersistDirty_;
  }
  void SetPersistDirtyFlag(bool dirty) override {
    std::lock_guard<std::recursive_mutex> g(engineLock_);
    PersistDirty_ = dirty;
  }

  bool ParamsDirty() const { return ParamsDirty_; }
  bool PersistDirty() const { return PersistDirty_; }

 protected:
  // The record changed: the engine's update is pending and the saved state is out of date.
  void MarkDirty() {
    std::lock_guard<std::recursive_mutex> g(engineLock_);
    ParamsDirty_ = true;
    PersistDirty_ = true;
  }

  std::recursive_mutex engineLock_;
  bool ParamsDirty_ = false;   // the update is pending
  bool PersistDirty_ = false;  // the record differs from what was last saved

 private:
  CQxChangeNotifier notifier_;
  int32_t licenceState_ = 0;
  int32_t licenceFlags_ = 0;
};

// The five calls of one field of the control interface, on the transform's GetField, SetField and
// EndField and the parameter table's gestures.
#define QX_PROP_FIELD_IMPL(Name, Index)                                         \
  HRESULT Get##Name(int32_t* value) override { return GetField(Index, value); } \
  HRESULT Set##Name(int32_t value) override { return SetField(Index, value); }  \
  HRESULT Begin##Name() override { return BeginGesture(Index); }                \
  HRESULT End##Name() override { return EndField(Index); }                      \
  int32_t Is##Name##Idle() override { return IsIdle(Index); }
