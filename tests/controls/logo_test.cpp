// Logo strip: items answer the parent on press and release over them, the title by the strip's
// text and noLink, and hover repaints while its timer runs only as long as the pointer is on items.
#include <cstdlib>

#include "kernel/controls/browse.h"
#include "kernel/controls/logo.h"
#include "ui_rig.h"

namespace {

class LogoTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    setenv("QXPPACK1_WEB_ADDRESS", "", 1);  // the title's link must open nothing here
    LogoRegisterClass(nullptr, LoadCursorW(nullptr, IDC_ARROW));
    top_ = Top(400, 60);
    logo_ = Child(top_, QX_LOGO_CLASS, 2, 0, 0, 0, 400, 32, u"Simple Delay");
    SendMessage(logo_, QXLM_ADDPICTURE, 41003, 0);
    SendMessage(logo_, QXLM_ADDTEXT, 41001, reinterpret_cast<LPARAM>(u"About"));
    SendMessage(logo_, QXLM_ADDTEXT, MAKEWPARAM(41000, 1), reinterpret_cast<LPARAM>(u"?"));
  }
  LogoRec* Rec() { return reinterpret_cast<LogoRec*>(GetWindowLongPtr(logo_, 0)); }
  POINT Centre(int id) {
    RECT r = Rec()->titleRect;
    for (auto& it : Rec()->items)
      if (it.id == id) r = it.rect;
    return POINT{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
  }
  void Click(int id) {
    POINT p = Centre(id);
    QxHeadless_Click(logo_, p.x, p.y);
  }
  HWND top_ = nullptr, logo_ = nullptr;
};

}  // namespace

TEST_F(LogoTest, ReleaseOnThePressedItemSendsItsCommand) {
  for (int id : {41003, 41001, 41000}) Click(id);
  using C = std::vector<std::pair<int, int>>;
  EXPECT_EQ(Commands(top_), (C{{41003, 0}, {41001, 0}, {41000, 0}}));
  // Released over another item, or outside the strip: nothing, and the capture is given back.
  POINT about = Centre(41001), help = Centre(41000);
  QxHeadless_ButtonDown(logo_, about.x, about.y);
  EXPECT_EQ(Rec()->pressedItem, 41001);
  QxHeadless_ButtonUp(logo_, help.x, help.y);
  QxHeadless_ButtonDown(logo_, about.x, about.y);
  QxHeadless_ButtonUp(logo_, about.x, 50);
  EXPECT_EQ(Commands(top_).size(), 3u);
  EXPECT_EQ(GetCapture(), nullptr);
  EXPECT_EQ(Rec()->pressedItem, 0);
}

TEST_F(LogoTest, DisabledItemDoesNotPress) {
  SendMessage(logo_, QXLM_ENABLEITEM, 41001, 0);
  POINT p = Centre(41001);
  QxHeadless_ButtonDown(logo_, p.x, p.y);
  EXPECT_EQ(Rec()->pressedItem, 0);
  QxHeadless_ButtonUp(logo_, p.x, p.y);
  EXPECT_TRUE(Commands(top_).empty());
  SendMessage(logo_, QXLM_ENABLEITEM, 41001, 1);
  Click(41001);
  EXPECT_EQ(Commands(top_).size(), 1u);
}

TEST_F(LogoTest, ClearLeavesTheTitle) {
  SendMessage(logo_, QXLM_CLEAR, 0, 0);
  EXPECT_TRUE(Rec()->items.empty());
  WCHAR text[32] = {};
  GetWindowTextW(logo_, text, 32);
  EXPECT_EQ(std::u16string(text), u"Simple Delay");
  EXPECT_GT(Rec()->titleRect.right, Rec()->titleRect.left);
}

TEST_F(LogoTest, TitleClickFollowsTextAndNoLink) {
  Click(2);  // titled, link on: the browser (none configured here), nothing to the parent
  SendMessage(logo_, QXLM_SETNOLINK, 1, 0);
  Click(2);
  SetWindowTextW(logo_, u"");
  Click(2);
  using C = std::vector<std::pair<int, int>>;
  EXPECT_EQ(Commands(top_), (C{{2, 0}}));
  auto own = Of(top_, QXLM_TITLECLICK);
  ASSERT_EQ(own.size(), 1u);
  EXPECT_EQ(own[0].wParam, 2u);
}

TEST_F(LogoTest, HoverRepaintsAndTheTimerStopsOffTheItems) {
  POINT help = Centre(41000);
  int x = Rec()->items[2].rect.left + 2;
  COLORREF rest = QxHeadless_Pixel(logo_, x, help.y);
  QxHeadless_MouseMove(logo_, help.x, help.y);
  EXPECT_EQ(Rec()->hotItem, 41000);
  EXPECT_NE(Rec()->trackTimer, 0u);
  EXPECT_NE(QxHeadless_Pixel(logo_, x, help.y), rest);
  QxHeadless_MouseMove(top_, help.x, 50);  // below the strip: no move reaches it
  QxHeadless_Advance(300);
  EXPECT_EQ(Rec()->hotItem, -1);
  EXPECT_EQ(Rec()->trackTimer, 0u);
  EXPECT_EQ(QxHeadless_Pixel(logo_, x, help.y), rest);
}

TEST(Browse, AddressComesFromTheEnvironmentAndMustBeWeb) {
  struct {
    const char* set;
    const char* want;
  } cases[] = {
      {"", ""},
      {"https://example.org/help?topic={topic}", "https://example.org/help?topic=104"},
      {"http://example.org", "http://example.org"},
      {"file:///etc/passwd", ""},
      {"https://example.org/a b", ""},
      {"--help", ""},
  };
  for (auto& c : cases) {
    setenv("QXPPACK1_WEB_ADDRESS", c.set, 1);
    EXPECT_EQ(QxBrowse_Address(0x68), c.want) << c.set;
  }
  setenv("QXPPACK1_WEB_ADDRESS", "", 1);
  EXPECT_FALSE(Internet_BrowseWebPage(nullptr, 0x68));
}
