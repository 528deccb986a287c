// Static control: owned pictures and their placement, the private DIB copy, and the link's press,
// keys, cursor and mouse transparency.
#include <cairo.h>

#include <vector>

#include "kernel/controls/static_control.h"
#include "ui_rig.h"

namespace {

std::vector<int>& LinkCodes() {
  static std::vector<int> v;
  return v;
}
LRESULT LinkParent(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_NOTIFY) LinkCodes().push_back(static_cast<int>(reinterpret_cast<NMHDR*>(l)->code));
  return RecorderProc(h, m, w, l);
}

std::vector<unsigned char> Png(int w, int h) {
  std::vector<unsigned char> out;
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
  cairo_surface_write_to_png_stream(
      s,
      [](void* c, const unsigned char* d, unsigned n) {
        static_cast<std::vector<unsigned char>*>(c)->insert(static_cast<std::vector<unsigned char>*>(c)->end(), d, d + n);
        return CAIRO_STATUS_SUCCESS;
      },
      &out);
  cairo_surface_destroy(s);
  return out;
}

class StaticTest : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    StaticInitialize(nullptr);
    LinkCodes().clear();
    top_ = Top(200, 100);
    SetWindowLongPtr(top_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&LinkParent));
  }
  HWND Make(DWORD style, LPCWSTR text = u"", int y = 10) {
    return Child(top_, QX_STATIC_CLASS, 7, style, 10, y, 120, 40, text);
  }
  HWND top_ = nullptr;
};

}  // namespace

TEST_F(StaticTest, ReplacedPictureIsFreedAndPlacedByStyle) {
  HINSTANCE module = reinterpret_cast<HINSTANCE>(0x7e57);
  auto png = Png(8, 4);
  ASSERT_TRUE(QxUi_AddBitmapResource(module, 300, png.data(), png.size()));
  HWND s = Make(QXSS_SCALE);
  int base = QxUi_LiveBitmapCount();
  std::vector<unsigned> red(100, 0xFFFF0000u);
  HBITMAP first = CreateBitmap(10, 10, 1, 32, red.data());
  EXPECT_TRUE(SendMessage(s, QXSM_SETPICTURE, 0, reinterpret_cast<LPARAM>(first)));
  EXPECT_TRUE(SendMessage(s, QXSM_SETPICTURE, 0, reinterpret_cast<LPARAM>(first)));  // the same picture stays
  EXPECT_EQ(QxUi_LiveBitmapCount(), base + 1);
  // Scaled to the 40-pixel height's limit of twice the size: 20 by 20 in the middle of 120 by 40.
  EXPECT_EQ(QxHeadless_Pixel(s, 60, 20), RGB(255, 0, 0));
  EXPECT_NE(QxHeadless_Pixel(s, 48, 20), RGB(255, 0, 0));
  EXPECT_TRUE(SendMessage(s, QXSM_SETPICTURE, 0, reinterpret_cast<LPARAM>(CreateBitmap(3, 3, 1, 32, nullptr))));
  EXPECT_EQ(QxUi_LiveBitmapCount(), base + 1);
  EXPECT_TRUE(SendMessage(s, QXSM_LOADPICTURE, reinterpret_cast<WPARAM>(module), 300));
  EXPECT_EQ(QxUi_LiveBitmapCount(), base + 1);
  EXPECT_FALSE(SendMessage(s, QXSM_LOADPICTURE, reinterpret_cast<WPARAM>(module), 301));
  EXPECT_EQ(QxUi_LiveBitmapCount(), base);
  SendMessage(s, QXSM_SETPICTURE, 0, reinterpret_cast<LPARAM>(CreateBitmap(3, 3, 1, 32, nullptr)));
  DestroyWindow(s);
  EXPECT_EQ(QxUi_LiveBitmapCount(), base);
}

TEST(StaticPlacement, FollowsScaleAndCentreStyles) {
  struct Case {
    DWORD style;
    int W, H, w, h;
    RECT want;
  } cases[] = {
      {0, 100, 50, 20, 10, {40, 20, 60, 30}},
      {0, 30, 20, 40, 10, {-5, 5, 35, 15}},  // too large: still centred, cut at both sides
      {QXSS_CENTERIFFITS, 30, 20, 40, 10, {0, 0, 40, 10}},
      {QXSS_CENTERIFFITS, 100, 50, 20, 10, {40, 20, 60, 30}},
      {QXSS_SCALE, 100, 50, 20, 10, {30, 15, 70, 35}},  // twice the size at most
      {QXSS_SCALE, 30, 50, 20, 10, {0, 17, 30, 32}},    // the client's width limits
      {QXSS_SCALE, 100, 12, 20, 10, {38, 0, 62, 12}},   // the client's height limits
      {QXSS_FILL, 100, 50, 20, 10, {0, 0, 100, 50}},
  };
  for (const Case& c : cases) {
    RECT r = QxStatic_PlacePicture(c.style, c.W, c.H, c.w, c.h);
    EXPECT_TRUE(EqualRect(&r, &c.want)) << c.style << " " << c.W << "x" << c.H << ": " << r.left << "," << r.top
                                        << "," << r.right << "," << r.bottom;
  }
}

TEST_F(StaticTest, DibIsCopiedWithItsColourTable) {
  // 2 by 2, 8 bits, bottom row first: the top row is palette entries 1 and 0.
  struct {
    BITMAPINFOHEADER h{sizeof(BITMAPINFOHEADER), 2, 2, 1, 8, BI_RGB, 0, 0, 0, 2, 0};
    RGBQUAD table[2]{{0, 0, 255, 0}, {255, 0, 0, 0}};
    BYTE bits[8]{0, 0, 0, 0, 1, 0, 0, 0};
  } dib;
  HWND s = Make(0);
  EXPECT_TRUE(SendMessage(s, QXSM_SETDIB, 0, reinterpret_cast<LPARAM>(&dib)));
  dib.table[1] = RGBQUAD{0, 255, 0, 0};  // the control drew from its own copy
  InvalidateRect(s, nullptr, TRUE);
  EXPECT_EQ(QxHeadless_Pixel(s, 59, 19), RGB(0, 0, 255));
  EXPECT_EQ(QxHeadless_Pixel(s, 60, 19), RGB(255, 0, 0));
  EXPECT_EQ(QxHeadless_Pixel(s, 59, 20), RGB(255, 0, 0));
  dib.h.biBitCount = 3;
  EXPECT_FALSE(SendMessage(s, QXSM_SETDIB, 0, reinterpret_cast<LPARAM>(&dib)));
}

TEST_F(StaticTest, LinkNotifiesOnReleaseInsideAndOnSpace) {
  HWND s = Make(QXSS_LINK | QXSS_HITS, u"link");
  QxHeadless_ButtonDown(s, 3, 5);
  EXPECT_EQ(GetCapture(), s);
  QxHeadless_ButtonUp(s, 100, 30);  // left the text: nothing
  EXPECT_EQ(GetCapture(), nullptr);
  QxHeadless_Click(s, 100, 30);  // beside the text: no press at all
  EXPECT_TRUE(LinkCodes().empty());
  QxHeadless_Click(s, 3, 5);
  EXPECT_EQ(LinkCodes(), std::vector<int>{QXN_LINK});

  QxHeadless_MouseMove(s, 3, 5);
  EXPECT_EQ(QxUi_CursorId(GetCursor()), 32649);
  QxHeadless_MouseMove(s, 100, 30);
  EXPECT_EQ(QxUi_CursorId(GetCursor()), 32512);

  SetFocus(s);
  QxHeadless_Key(VK_SPACE);
  EXPECT_EQ(LinkCodes().size(), 2u);
  QxHeadless_Key(VK_TAB);
  QxHeadless_KeyDown(VK_SHIFT);
  QxHeadless_Key(VK_TAB);
  QxHeadless_KeyUp(VK_SHIFT);
  auto next = Of(top_, WM_NEXTDLGCTL);
  ASSERT_EQ(next.size(), 2u);
  EXPECT_EQ(next[0].wParam, 0u);
  EXPECT_EQ(next[1].wParam, 1u);
}

TEST_F(StaticTest, DialogCodesAndMouseTransparency) {
  HWND plain = Make(0, u"", 55), link = Make(QXSS_LINK | QXSS_HITS, u"link");
  auto code = [](HWND h, UINT key) {
    MSG m{h, WM_KEYDOWN, key, 0, 0, {}};
    return SendMessage(h, WM_GETDLGCODE, key, reinterpret_cast<LPARAM>(&m));
  };
  EXPECT_EQ(code(plain, VK_TAB), 256);
  EXPECT_EQ(code(link, VK_RETURN), 256);
  EXPECT_EQ(code(link, VK_ESCAPE), 256);
  EXPECT_EQ(code(link, VK_TAB), 260);
  SetFocus(link);
  QxHeadless_ButtonDown(link, 3, 5);
  EXPECT_EQ(code(link, VK_ESCAPE), 260);  // a held press wants Escape
  QxHeadless_Key(VK_ESCAPE);
  EXPECT_EQ(GetCapture(), nullptr);
  QxHeadless_ButtonUp(link, 3, 5);
  EXPECT_TRUE(LinkCodes().empty());

  Seen_().clear();
  QxHeadless_Click(plain, 5, 5);  // without 0x0040 the parent gets the press
  QxHeadless_Click(link, 100, 30);
  EXPECT_EQ(Of(top_, WM_LBUTTONDOWN).size(), 1u);
}
