// Dialogs, standard controls and menus, driven by injected input on the sample dialog: keyboard
// navigation, each control's notifications, the drop list's popup, and popup menus.
#include "kernel/controls/dialogs.h"
#include "kernel/controls/window_text.h"
#include "platform/ui/menu.h"
#include "platform/ui/sample_dialog.h"
#include "tests/ui/ui_rig.h"

namespace {

class Dialogs : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    QxSample_Log().clear();
    dlg = CreateDialogIndirectParamW(nullptr, QxSample_Template(false), nullptr, QxSample_Proc, 0);
    ASSERT_NE(dlg, nullptr);
    owned_.push_back(dlg);
    QxHeadless_Pump();
  }
  HWND Item(int id) const { return GetDlgItem(dlg, id); }
  std::u16string Text(int id) const {
    WCHAR text[64];
    GetDlgItemTextW(dlg, id, text, 64);
    return text;
  }
  // Client point at the middle of a control, in the dialog.
  void ClickItem(int id, int dx = 0) {
    RECT r;
    GetClientRect(Item(id), &r);
    QxHeadless_Click(Item(id), r.right / 2 + dx, r.bottom / 2);
  }
  // The commands, without the edit box's focus notices.
  std::vector<std::pair<int, int>> Log() const {
    std::vector<std::pair<int, int>> out;
    for (auto p : QxSample_Log())
      if (p.first != kSampleEdit) out.push_back(p);
    return out;
  }
  HWND dlg = nullptr;
};

TEST_F(Dialogs, TemplateMakesTheControlsInDialogUnits) {
  RECT r;
  GetClientRect(dlg, &r);
  EXPECT_EQ(r.right, 386);
  EXPECT_EQ(r.bottom, 338);
  GetWindowRect(Item(kSampleEdit), &r);
  EXPECT_EQ(r.left, 255);  // 170 dialog units
  EXPECT_EQ(r.top, 29);    // 18 dialog units
  EXPECT_EQ(GetFocus(), Item(kSampleEdit));  // the first tab stop, its text selected
  DWORD a = 0, b = 0;
  SendMessage(Item(kSampleEdit), EM_GETSEL, reinterpret_cast<WPARAM>(&a), reinterpret_cast<LPARAM>(&b));
  EXPECT_EQ(b - a, 5u);
  EXPECT_EQ(SendDlgItemMessage(dlg, kSampleCombo, CB_GETCURSEL, 0, 0), 3);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleRadio1), BST_CHECKED);
}

TEST_F(Dialogs, KernelHelpersFindAModulesTemplateByNumber) {
  auto module = reinterpret_cast<HINSTANCE>(0x5000);
  ASSERT_TRUE(QxUi_AddDialogTemplate(module, 3001, QxSample_Template(true)));
  SIZE s{};
  EXPECT_TRUE(QxGetDialogSize(module, MAKEINTRESOURCEW(3001), &s));
  EXPECT_EQ(s.cx, 386);
  EXPECT_EQ(s.cy, 338);
  EXPECT_FALSE(QxGetDialogSize(module, MAKEINTRESOURCEW(3002), &s));
  HWND page = QxCreateDialogParam(module, MAKEINTRESOURCEW(3001), dlg, QxSample_Proc, 0);
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(GetParent(page), dlg);
  EXPECT_EQ(GetDlgCtrlID(GetFocus()), kSampleEdit);
  EXPECT_TRUE(IsChild(page, GetFocus()));
  DestroyWindow(page);
}

TEST_F(Dialogs, ItemTextsGoThroughValueText) {
  ASSERT_TRUE(QxSetDlgItemTextF(dlg, kSampleEdit, u"$.2z ms", 123456));
  EXPECT_EQ(Text(kSampleEdit), u"1,234.56 ms");
  QxSetDlgItemTextNoF(dlg, kSampleEdit, u"50 %d");
  EXPECT_EQ(Text(kSampleEdit), u"50 %d");
  // An equal text is not set again: nothing is invalidated.
  QxHeadless_Pump();
  RECT dirty{};
  QxSetDlgItemTextNoFlash(dlg, kSampleEdit, u"50 %%d");
  EXPECT_FALSE(GetUpdateRect(Item(kSampleEdit), &dirty, FALSE));
  QxSetDlgItemTextNoFlash(dlg, kSampleEdit, u"%d", 7);
  EXPECT_EQ(Text(kSampleEdit), u"7");
  EXPECT_FALSE(QxSetDlgItemTextF(dlg, 9999, u"x"));
}

TEST_F(Dialogs, KeyboardNavigatesByTabOrderGroupsAndMnemonics) {
  struct Step {
    std::vector<UINT> keys;  // VK_SHIFT/VK_MENU are held while the last key is pressed
    int focus;
  };
  const Step steps[] = {
      {{VK_TAB}, kSampleCheck},
      {{VK_TAB}, kSampleRadio1},          // the checked radio button of its group
      {{VK_RIGHT}, kSampleRadio2},        // arrows move in the group and check
      {{VK_RIGHT}, kSampleRadio3},
      {{VK_RIGHT}, kSampleRadio1},        // and wrap
      {{VK_TAB}, kSampleCombo},
      {{VK_TAB}, kSampleOk},
      {{VK_SHIFT, VK_TAB}, kSampleCombo},
      {{VK_MENU, 'T'}, kSampleCheck},     // Alt+T clicks "&Tempo sync delay"
      {{VK_MENU, 'L'}, kSampleEdit},      // a label's mnemonic focuses the control after it
      {{VK_MENU, 'N'}, kSampleCombo},
  };
  for (const Step& s : steps) {
    for (size_t i = 0; i + 1 < s.keys.size(); ++i) QxHeadless_KeyDown(s.keys[i]);
    QxHeadless_Key(s.keys.back());
    for (size_t i = 0; i + 1 < s.keys.size(); ++i) QxHeadless_KeyUp(s.keys[i]);
    EXPECT_EQ(GetDlgCtrlID(GetFocus()), s.focus) << "after key " << s.keys.back();
  }
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleRadio1), BST_CHECKED);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleRadio3), BST_UNCHECKED);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleCheck), BST_CHECKED);
  SetFocus(Item(kSampleCheck));
  QxSample_Log().clear();
  QxHeadless_Key(VK_RETURN);  // Enter: the default button
  QxHeadless_Key(VK_ESCAPE);
  EXPECT_EQ(Log(), (std::vector<std::pair<int, int>>{{IDOK, BN_CLICKED}, {IDCANCEL, BN_CLICKED}}));
  SendMessage(dlg, WM_NEXTDLGCTL, 0, FALSE);
  EXPECT_EQ(GetFocus(), Item(kSampleRadio1));
  SendMessage(dlg, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(Item(kSampleOk)), TRUE);
  EXPECT_EQ(GetFocus(), Item(kSampleOk));
}

TEST_F(Dialogs, ButtonsClickOnReleaseInsideOnly) {
  ClickItem(kSampleCheck);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleCheck), BST_CHECKED);
  RECT r;
  GetClientRect(Item(kSampleOk), &r);
  QxHeadless_ButtonDown(Item(kSampleOk), 5, 5);
  EXPECT_EQ(SendDlgItemMessage(dlg, kSampleOk, BM_GETSTATE, 0, 0) & BST_PUSHED, BST_PUSHED);
  QxHeadless_ButtonUp(Item(kSampleOk), r.right + 20, 5);  // released elsewhere: no click
  ClickItem(kSampleRadio2);
  ClickItem(kSampleLink);  // SS_NOTIFY text answers clicks; plain text lets them through
  ClickItem(kSampleRight);
  EXPECT_EQ(Log(), (std::vector<std::pair<int, int>>{{kSampleCheck, BN_CLICKED}, {kSampleRadio2, BN_CLICKED},
                                                      {kSampleLink, STN_CLICKED}}));
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleRadio1), BST_UNCHECKED);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kSampleRadio2), BST_CHECKED);
  EnableWindow(Item(kSampleOk), FALSE);
  ClickItem(kSampleOk);
  EXPECT_EQ(Log().size(), 3u);
}

TEST_F(Dialogs, EditTypesWithinItsLimitAndReportsChangesAndFocusLoss) {
  HWND e = Item(kSampleEdit);
  SendMessage(e, EM_LIMITTEXT, 5, 0);
  QxHeadless_Type(u"1.5");  // replaces the selection
  EXPECT_EQ(Text(kSampleEdit), u"1.5");
  QxHeadless_Key(VK_HOME);
  QxHeadless_Key(VK_DELETE);
  QxHeadless_Type(u"-22.75");  // only three fit
  EXPECT_EQ(Text(kSampleEdit), u"-22.5");
  QxHeadless_Key(VK_BACK);
  EXPECT_EQ(Text(kSampleEdit), u"-2.5");
  QxHeadless_Key(VK_TAB);
  int changes = 0, kills = 0, maxed = 0;
  for (auto [id, code] : QxSample_Log()) {
    changes += id == kSampleEdit && code == EN_CHANGE;
    kills += id == kSampleEdit && code == EN_KILLFOCUS;
    maxed += id == kSampleEdit && code == EN_MAXTEXT;
  }
  EXPECT_EQ(changes, 3 + 1 + 3 + 1);
  EXPECT_EQ(kills, 1);
  EXPECT_GE(maxed, 1);
  SetDlgItemTextW(dlg, kSampleEdit, u"0.001");
  EXPECT_EQ(GetWindowTextLengthW(e), 5);
}

TEST_F(Dialogs, DropListOpensAPopupAndReportsItsChoice) {
  HWND cb = Item(kSampleCombo);
  EXPECT_EQ(SendMessage(cb, CB_GETITEMDATA, 5, 0), 15);
  ClickItem(kSampleCombo);
  EXPECT_TRUE(SendMessage(cb, CB_GETDROPPEDSTATE, 0, 0));
  HWND list = GetCapture();
  ASSERT_NE(list, nullptr);
  RECT lr, cr;
  GetWindowRect(list, &lr);
  GetWindowRect(cb, &cr);
  EXPECT_EQ(lr.left, cr.left);
  EXPECT_GT(lr.top, cr.top);
  int item = static_cast<int>(SendMessage(cb, CB_GETITEMHEIGHT, 0, 0));
  QxHeadless_MouseMove(list, 10, 1 + item * 5 + 3);
  QxHeadless_Click(list, 10, 1 + item * 5 + 3);  // the sixth item
  EXPECT_FALSE(IsWindow(list));
  EXPECT_EQ(SendMessage(cb, CB_GETCURSEL, 0, 0), 5);
  ClickItem(kSampleCombo);
  QxHeadless_Key(VK_ESCAPE);  // cancels: no change
  QxHeadless_Key(VK_UP);      // closed: arrows change the selection
  std::vector<std::pair<int, int>> combo;
  for (auto p : Log())
    if (p.first == kSampleCombo && p.second != CBN_SETFOCUS) combo.push_back(p);
  EXPECT_EQ(combo, (std::vector<std::pair<int, int>>{
                       {kSampleCombo, CBN_DROPDOWN}, {kSampleCombo, CBN_SELCHANGE}, {kSampleCombo, CBN_SELENDOK},
                       {kSampleCombo, CBN_CLOSEUP}, {kSampleCombo, CBN_DROPDOWN}, {kSampleCombo, CBN_SELENDCANCEL},
                       {kSampleCombo, CBN_CLOSEUP}, {kSampleCombo, CBN_SELCHANGE}}));
  EXPECT_EQ(SendMessage(cb, CB_GETCURSEL, 0, 0), 4);
  WCHAR text[16];
  SendMessage(cb, CB_GETLBTEXT, 4, reinterpret_cast<LPARAM>(text));
  EXPECT_EQ(std::u16string(text), u"1/2");
  EXPECT_EQ(SendMessage(cb, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(u"whole")), 5);
}

TEST_F(Dialogs, StandardControlsPaintWhereTheyStand) {
  // The dialog face, a checked radio button's dot, the default button's accent border.
  RECT r;
  GetWindowRect(Item(kSampleRadio1), &r);
  EXPECT_EQ(QxHeadless_Pixel(dlg, 380, 330), GetSysColor(COLOR_3DFACE));
  EXPECT_EQ(QxHeadless_Pixel(Item(kSampleRadio1), 6, (r.bottom - r.top) / 2), RGB(0, 120, 215));
  EXPECT_EQ(QxHeadless_Pixel(Item(kSampleRadio2), 6, (r.bottom - r.top) / 2), RGB(255, 255, 255));
  GetClientRect(Item(kSampleOk), &r);
  EXPECT_EQ(QxHeadless_Pixel(Item(kSampleOk), r.right / 2, 0), RGB(0, 120, 215));
  EXPECT_EQ(QxHeadless_Pixel(Item(kSampleOk), r.right / 2, r.bottom / 2 - 5), RGB(253, 253, 253));
}

HMENU SampleMenu() {
  HMENU presets = CreatePopupMenu();
  AppendMenuW(presets, MF_STRING, 40500, u"Slap back");
  AppendMenuW(presets, MF_STRING, 40501, u"Long echo");
  HMENU m = CreatePopupMenu();
  AppendMenuW(m, MF_POPUP, reinterpret_cast<UINT_PTR>(presets), u"Presets");
  AppendMenuW(m, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(m, MF_STRING, 41000, u"&Help");
  AppendMenuW(m, MF_STRING | MF_GRAYED, 41001, u"About...");
  return m;
}

TEST_F(Dialogs, PopupMenusFollowKeysAndMouse) {
  struct Case {
    std::vector<UINT> keys;
    int chosen;
  };
  const Case cases[] = {
      {{VK_DOWN, VK_RIGHT, VK_DOWN, VK_RETURN}, 40501},
      {{VK_DOWN, VK_DOWN, VK_RETURN}, 41000},  // the separator is skipped
      {{VK_UP, VK_RETURN}, 0},                 // greyed: nothing
      {{'H'}, 41000},
      {{VK_DOWN, VK_RIGHT, VK_ESCAPE, VK_ESCAPE}, 0},
  };
  HMENU m = SampleMenu();
  for (const Case& c : cases) {
    size_t next = 0;
    QxHeadless_SetIdleHook([&] {
      if (next >= c.keys.size()) return false;
      QxHeadless_Key(c.keys[next++]);
      return true;
    });
    EXPECT_EQ(TrackPopupMenu(m, TPM_RETURNCMD, 10, 10, 0, dlg, nullptr), c.chosen) << "case ending " << c.keys.back();
  }
  // By mouse: hover "Presets", then click the submenu's first item; without TPM_RETURNCMD the
  // choice arrives as a posted command.
  int step = 0;
  QxHeadless_SetIdleHook([&] {
    HWND menu = GetCapture();
    switch (step++) {
      case 0: QxHeadless_MouseMove(menu, 30, 14); return true;
      case 1: QxHeadless_Click(menu, 30, 14); return true;
    }
    return false;
  });
  EXPECT_TRUE(TrackPopupMenu(m, 0, 10, 10, 0, dlg, nullptr));
  QxHeadless_Pump();
  EXPECT_EQ(Log().back(), (std::pair<int, int>{40500, 0}));
  DestroyMenu(m);
}

TEST_F(Dialogs, ModalDialogEndsWithItsResultAndFreesItsOwner) {
  QxHeadless_SetIdleHook([&] {
    HWND modal = GetActiveWindow();
    if (modal == dlg) return false;
    EXPECT_FALSE(IsWindowEnabled(dlg));
    EndDialog(modal, 7);
    return true;
  });
  EXPECT_EQ(DialogBoxIndirectParamW(nullptr, QxSample_Template(false), dlg, QxSample_Proc, 0), 7);
  EXPECT_TRUE(IsWindowEnabled(dlg));
}

}  // namespace
