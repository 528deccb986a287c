// What the page tests share: the module's strings and control classes, one effect with its page
// open in a headless property frame, and the user's and the host's gestures on it.
#pragma once
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "aplugins/qxppack1/frame/effect_interfaces.h"
#include "aplugins/qxppack1/frame/mfx_interfaces.h"
#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/pages/page_base.h"
#include "aplugins/qxppack1/pages/string_table.h"
#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_resources.h"
#include "platform/com/media_params.h"
#include "platform/com/property_pages.h"
#include "platform/ui/headless.h"
#include "platform/ui/menu.h"
#include "platform/ui/property_frame.h"
#include "tools/qxfx/tempo_host.h"

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

// A page's dialog, what it shows and what a user does to it.
class PageDialogTest : public ::testing::Test {
 protected:
  HWND Item(int id) const { return GetDlgItem(dlg_, id); }
  std::u16string Text(int id) const {
    WCHAR t[256] = {};
    GetWindowTextW(Item(id), t, 256);
    return t;
  }
  bool Enabled(int id) const { return IsWindowEnabled(Item(id)) != 0; }
  int Position(int id) const { return static_cast<int>(SendMessage(Item(id), QXCM_GETVALUE, 0, 0)); }
  void Command(int id, int code) {
    SendMessage(dlg_, WM_COMMAND, MAKEWPARAM(id, code), reinterpret_cast<LPARAM>(Item(id)));
  }
  // Types over an edit box's text, as a keyboard does (the box knows it was changed), and leaves it.
  void Type(int id, const WCHAR* text) {
    SendMessage(Item(id), EM_SETSEL, 0, -1);
    SendMessage(Item(id), EM_REPLACESEL, 1, reinterpret_cast<LPARAM>(text));
    Command(id, EN_KILLFOCUS);
  }
  // Picks row `index` of a drop list.
  void Pick(int id, int index) {
    SendMessage(Item(id), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    Command(id, CBN_SELCHANGE);
  }
  void Scroll(UINT msg, int id, int code) {
    SendMessage(dlg_, msg, MAKEWPARAM(code, 0), reinterpret_cast<LPARAM>(Item(id)));
  }
  // Tells the page the record changed, as the effect does after a preset or a load.
  void Notify() { SendMessage(dlg_, WM_COMMAND, QX_PAGE_NOTIFY_ID, 0); }

  HWND dlg_ = nullptr;
};

// The filter `filter`, the page its ISpecifyPropertyPages names, and the page open in a frame.
class PageTest : public PageDialogTest {
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

  IUnknown* object_ = nullptr;
  IPropertyPage* page_ = nullptr;
  CQxPropertyFrame* frame_ = nullptr;
};

// PageTest over the effect's control interface `I`, with what users and hosts do to the page.
template <class I>
class EffectPageTest : public PageTest {
 protected:
  void Open(REFCLSID filter, REFIID iid) {
    PageTest::Open(filter);
    ASSERT_TRUE(object_);
    object_->QueryInterface(iid, reinterpret_cast<void**>(&prop_));
    ASSERT_TRUE(prop_);
  }
  void TearDown() override {
    if (params_) params_->Release();
    if (door_) door_->Release();
    if (prop_) prop_->Release();
    PageTest::TearDown();
  }
  int32_t Get(HRESULT (I::*get)(int32_t*)) const {
    int32_t v = 0;
    (prop_->*get)(&v);
    return v;
  }
  // A host's tempo map, 120 beats a minute.
  void ConnectTempo() {
    std::vector<QxfxTempoChange> changes;
    std::string error;
    ASSERT_TRUE(QxfxParseTempoMap("tempo 0 120\n", &changes, &error)) << error;
    CQxfxTempoContext* context = nullptr;
    ASSERT_TRUE(CQxfxTempoContext::Create(changes, 44100, &context, &error)) << error;
    IMfxSoftSynth* synth = nullptr;
    object_->QueryInterface(IID_IMfxSoftSynth, reinterpret_cast<void**>(&synth));
    ASSERT_EQ(synth->Connect(static_cast<IMfxTempoMap*>(context)), S_OK);
    synth->Release();
  }
  // Streams half a second at 8000 Hz under the envelopes (parameter index, segment), then lets the
  // page's follow timer run; StopStreaming gives the values back to the user.
  void Stream(std::initializer_list<std::pair<DWORD, MP_ENVELOPE_SEGMENT>> envelopes, uint16_t channels = 1) {
    object_->QueryInterface(IID_IMediaParams, reinterpret_cast<void**>(&params_));
    object_->QueryInterface(IID_IQxAudioTransformFloat, reinterpret_cast<void**>(&door_));
    ASSERT_TRUE(params_ && door_);
    for (auto [index, segment] : envelopes) ASSERT_EQ(params_->AddEnvelope(index, 1, &segment), S_OK) << index;
    ASSERT_EQ(door_->Prepare(channels, 8000), S_OK);
    std::vector<float> block(4000u * channels);
    door_->Process(block.data(), 4000, 0);
    QxHeadless_Advance(60);
  }
  void StopStreaming() {
    door_->Finish();
    QxHeadless_Advance(60);
  }
  // The context menu: the preset rows 1 upward (row 0, "(Default)", is not offered), Help, About.
  void ExpectPresetMenu(int rows) {
    auto* page = dynamic_cast<CQxPropPage*>(page_);
    ASSERT_TRUE(page);
    HMENU menu = page->BuildPresetMenu();
    ASSERT_EQ(GetMenuItemCount(menu), 4);
    EXPECT_EQ(GetMenuItemID(menu, 2), static_cast<UINT>(QX_PAGE_HELP));
    EXPECT_EQ(GetMenuItemID(menu, 3), static_cast<UINT>(QX_PAGE_ABOUT));
    HMENU presets = GetSubMenu(menu, 0);
    EXPECT_EQ(GetMenuItemCount(presets), rows);
    for (int i = 0; i < rows; ++i) EXPECT_EQ(GetMenuItemID(presets, i), static_cast<UINT>(QX_PAGE_PRESET_FIRST + i));
    DestroyMenu(menu);
  }

  I* prop_ = nullptr;
  IMediaParams* params_ = nullptr;
  IQxAudioTransformFloat* door_ = nullptr;
};
