// What the page tests share: the module's strings and control classes, and one effect with its
// page open in a headless property frame.
#pragma once
#include <gtest/gtest.h>

#include <string>

#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/pages/page_base.h"
#include "aplugins/qxppack1/pages/string_table.h"
#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_resources.h"
#include "platform/com/property_pages.h"
#include "platform/ui/headless.h"
#include "platform/ui/property_frame.h"

// Strings in English and the control classes, once per program.
inline void PagesSetUpOnce() {
  static bool done = [] {
    HMODULE module = QxResources_CreateModule(nullptr);
    QxPack_AddStrings(module);
    QxLang_OpenKernelHandle(module, 0x409, 0);
    FaderInitialize(module);
    TrackbarInitialize(module);
    SpinnerInitialize(module);
    StaticInitialize(module);
    LogoRegisterClass(module, nullptr);
    return true;
  }();
  (void)done;
}

// A made object of the class table, by class identifier, holding one reference.
template <class I>
I* MakeFromTable(REFCLSID clsid, REFIID iid) {
  for (int i = 0; i < g_cTemplates; ++i) {
    if (!g_Templates[i].IsClassID(clsid)) continue;
    HRESULT hr = S_OK;
    CUnknown* u = g_Templates[i].CreateInstance(nullptr, &hr);
    if (!u) return nullptr;
    void* out = nullptr;
    u->NonDelegatingAddRef();
    u->NonDelegatingQueryInterface(iid, &out);
    u->NonDelegatingRelease();
    return static_cast<I*>(out);
  }
  return nullptr;
}

// The filter `filter`, the page its ISpecifyPropertyPages names, and the page open in a frame.
class PageTest : public ::testing::Test {
 protected:
  void Open(REFCLSID filter) {
    PagesSetUpOnce();
    QxHeadless_UseVirtualClock();
    object_ = MakeFromTable<IUnknown>(filter, IID_IUnknown);
    ASSERT_TRUE(object_);
    ISpecifyPropertyPages* specify = nullptr;
    ASSERT_EQ(object_->QueryInterface(IID_ISpecifyPropertyPages, reinterpret_cast<void**>(&specify)), S_OK);
    CAUUID pages{};
    ASSERT_EQ(specify->GetPages(&pages), S_OK);
    specify->Release();
    ASSERT_EQ(pages.cElems, 1u);
    page_ = MakeFromTable<IPropertyPage>(pages.pElems[0], IID_IPropertyPage);
    CoTaskMemFree(pages.pElems);
    ASSERT_TRUE(page_);
    HRESULT hr = S_OK;
    frame_ = CQxPropertyFrame::Open(page_, object_, nullptr, true, &hr);
    ASSERT_EQ(hr, S_OK);
    dlg_ = frame_->PageWindow();
    ASSERT_TRUE(dlg_);
  }
  void TearDown() override {
    delete frame_;
    if (page_) page_->Release();
    if (object_) object_->Release();
  }
  HWND Item(int id) const { return GetDlgItem(dlg_, id); }
  std::u16string Text(int id) const {
    WCHAR t[256] = {};
    GetWindowTextW(Item(id), t, 256);
    return t;
  }
  bool Enabled(int id) const { return IsWindowEnabled(Item(id)) != 0; }
  int Position(int id) const { return static_cast<int>(SendMessage(Item(id), QXCM_GETVALUE, 0, 0)); }

  IUnknown* object_ = nullptr;
  IPropertyPage* page_ = nullptr;
  CQxPropertyFrame* frame_ = nullptr;
  HWND dlg_ = nullptr;
};
