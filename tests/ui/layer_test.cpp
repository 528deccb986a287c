// The window layer's core: message order at creation and destruction, re-entrant sends, subclass
// chains, properties, timers on the virtual clock, capture and focus rules, input routing, lazy
// painting, and exact drawing checked by pixel probes.
#include "tests/ui/ui_rig.h"

namespace {

using Layer = UiTest;

std::vector<UINT> Msgs(HWND h) {
  std::vector<UINT> v;
  for (auto& s : Seen_())
    if (s.hwnd == h) v.push_back(s.msg);
  return v;
}

TEST_F(Layer, CreationAndDestructionSendTheirMessagesInOrder) {
  HWND top = Top();
  HWND child = Child(top, u"QxRecorder", 7, 0, 10, 10, 20, 20);
  EXPECT_EQ(Msgs(child), (std::vector<UINT>{WM_NCCREATE, WM_CREATE, WM_SIZE}));
  EXPECT_EQ(GetDlgItem(top, 7), child);
  EXPECT_EQ(GetParent(child), top);
  Seen_().clear();
  DestroyWindow(top);
  owned_.clear();
  std::vector<std::pair<HWND, UINT>> order;
  for (auto& s : Seen_())
    if (s.msg == WM_DESTROY || s.msg == WM_NCDESTROY) order.emplace_back(s.hwnd, s.msg);
  EXPECT_EQ(order, (std::vector<std::pair<HWND, UINT>>{
                       {top, WM_DESTROY}, {child, WM_DESTROY}, {child, WM_NCDESTROY}, {top, WM_NCDESTROY}}));
  EXPECT_FALSE(IsWindow(child));
  EXPECT_EQ(CreateWindowExW(0, u"NoSuchClass", u"", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr), nullptr);
}

WNDPROC g_base = nullptr;
LRESULT Doubler(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_USER) return 2 * CallWindowProc(g_base, h, m, w, l);
  return CallWindowProc(g_base, h, m, w, l);
}
LRESULT Counter(HWND h, UINT m, WPARAM w, LPARAM l) {
  // Re-enters itself: WM_USER n answers n + (n - 1) + ... + 1.
  if (m == WM_USER) return w == 0 ? 0 : static_cast<LRESULT>(w) + SendMessage(h, WM_USER, w - 1, 0);
  return DefWindowProc(h, m, w, l);
}

TEST_F(Layer, SendIsReentrantAndSubclassesChain) {
  HWND top = Top();
  SetWindowLongPtr(top, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Counter));
  EXPECT_EQ(SendMessage(top, WM_USER, 4, 0), 10);
  g_base = reinterpret_cast<WNDPROC>(SetWindowLongPtr(top, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Doubler)));
  EXPECT_EQ(g_base, Counter);
  EXPECT_EQ(SendMessage(top, WM_USER, 2, 0), 2 * (2 + 2 * 1));  // the nested send goes through the subclass too
  EXPECT_TRUE(SetProp(top, u"TapGraph", reinterpret_cast<HANDLE>(42)));
  EXPECT_EQ(RemoveProp(top, u"TapGraph"), reinterpret_cast<HANDLE>(42));
  EXPECT_EQ(GetProp(top, u"TapGraph"), nullptr);
}

TEST_F(Layer, TimersFireOnTheVirtualClockUntilKilled) {
  HWND top = Top();
  DWORD start = GetTickCount();
  SetTimer(top, 42, 250, nullptr);
  SetTimer(top, 0, 50, nullptr);
  QxHeadless_Advance(249);
  EXPECT_EQ(Of(top, WM_TIMER).size(), 4u);  // 50, 100, 150, 200
  QxHeadless_Advance(1);
  auto t = Of(top, WM_TIMER);
  ASSERT_EQ(t.size(), 6u);  // 250: both
  EXPECT_EQ(GetTickCount() - start, 250u);
  KillTimer(top, 0);
  QxHeadless_Advance(500);
  auto all = Of(top, WM_TIMER);
  EXPECT_EQ(all.size(), 8u);
  EXPECT_EQ(all.back().wParam, 42u);
}

TEST_F(Layer, CaptureAndFocusChangesAreAnnounced) {
  HWND top = Top();
  HWND a = Child(top, u"QxRecorder", 1, 0, 0, 0, 50, 50), b = Child(top, u"QxRecorder", 2, 0, 50, 0, 50, 50);
  SetFocus(a);
  SetFocus(b);
  ASSERT_EQ(Of(a, WM_KILLFOCUS).size(), 1u);
  EXPECT_EQ(reinterpret_cast<HWND>(Of(a, WM_KILLFOCUS)[0].wParam), b);
  EXPECT_EQ(reinterpret_cast<HWND>(Of(b, WM_SETFOCUS)[0].wParam), a);
  SetCapture(a);
  SetCapture(b);
  EXPECT_EQ(reinterpret_cast<HWND>(Of(a, WM_CAPTURECHANGED)[0].lParam), b);
  EnableWindow(b, FALSE);  // a disabled window loses capture and focus
  EXPECT_EQ(Of(b, WM_CANCELMODE).size(), 1u);
  EXPECT_EQ(GetCapture(), nullptr);
  EXPECT_EQ(GetFocus(), nullptr);
}

TEST_F(Layer, MouseGoesToTheChildUnderItOrToTheCaptureAndMakesDoubleClicks) {
  HWND top = Top();
  HWND a = Child(top, u"QxRecorder", 1, 0, 10, 10, 30, 30);
  HWND hidden = Child(top, u"QxRecorder", 2, 0, 50, 10, 30, 30);
  ShowWindow(hidden, SW_HIDE);
  QxHeadless_Click(top, 15, 20);
  QxHeadless_Click(top, 60, 20);  // through the hidden child to the parent
  ASSERT_EQ(Of(a, WM_LBUTTONDOWN).size(), 1u);
  EXPECT_EQ(Of(a, WM_LBUTTONDOWN)[0].lParam, MAKELPARAM(5, 10));
  EXPECT_EQ(Of(top, WM_LBUTTONDOWN).size(), 1u);
  QxHeadless_Advance(1000);
  QxHeadless_Click(a, 1, 1);
  QxHeadless_Advance(100);
  QxHeadless_Click(a, 2, 2);
  EXPECT_EQ(Of(a, WM_LBUTTONDBLCLK).size(), 1u);
  SetCapture(a);
  QxHeadless_MouseMove(top, 150, 80);
  ASSERT_EQ(Of(a, WM_MOUSEMOVE).size(), 1u);
  EXPECT_EQ(Of(a, WM_MOUSEMOVE)[0].lParam, MAKELPARAM(140, 70));
  ReleaseCapture();
  QxHeadless_KeyDown(VK_CONTROL);
  QxHeadless_Wheel(a, 3, 3, -120);
  auto wheel = Of(a, WM_MOUSEWHEEL);
  ASSERT_EQ(wheel.size(), 1u);
  EXPECT_EQ(GET_WHEEL_DELTA_WPARAM(wheel[0].wParam), -120);
  EXPECT_TRUE(LOWORD(wheel[0].wParam) & MK_CONTROL);
  EXPECT_TRUE(GetKeyState(VK_CONTROL) & 0x8000);
  QxHeadless_KeyUp(VK_CONTROL);
  EXPECT_FALSE(GetKeyState(VK_CONTROL) & 0x8000);
}

TEST_F(Layer, KeysGoToTheFocusWithTheirCharacters) {
  HWND top = Top();
  HWND a = Child(top, u"QxRecorder", 1, 0, 0, 0, 10, 10);
  SetFocus(a);
  QxHeadless_Type(u"aB");
  auto chars = Of(a, WM_CHAR);
  ASSERT_EQ(chars.size(), 2u);
  EXPECT_EQ(chars[0].wParam, u'a');
  EXPECT_EQ(chars[1].wParam, u'B');
  EXPECT_EQ(Of(a, WM_KEYDOWN).front().wParam, 'A');
  EXPECT_EQ(Of(a, WM_KEYUP).size(), 3u);  // a, Shift, B
}

TEST_F(Layer, PaintingIsLazyParentFirstAndClippedToTheWindow) {
  HWND top = Top(100, 60);
  HWND c = Child(top, u"QxRecorder", 1, 0, 20, 20, 30, 20);
  QxHeadless_Pump();
  Seen_().clear();
  InvalidateRect(c, nullptr, TRUE);
  EXPECT_TRUE(Of(nullptr, WM_PAINT).empty());
  QxHeadless_Pump();
  auto paints = Of(nullptr, WM_PAINT);
  ASSERT_EQ(paints.size(), 2u);  // what lies under the child repaints first
  EXPECT_EQ(paints[0].hwnd, top);
  EXPECT_EQ(paints[1].hwnd, c);
  HDC dc = GetDC(c);
  RECT all{-50, -50, 200, 200};
  HBRUSH red = CreateSolidBrush(RGB(255, 0, 0));
  FillRect(dc, &all, red);
  ReleaseDC(c, dc);
  DeleteObject(red);
  struct Probe { int x, y; COLORREF want; };
  for (Probe p : {Probe{20, 20, RGB(255, 0, 0)}, Probe{49, 39, RGB(255, 0, 0)}, Probe{50, 39, RGB(255, 255, 255)},
                  Probe{19, 25, RGB(255, 255, 255)}})
    EXPECT_EQ(QxHeadless_Pixel(top, p.x, p.y), p.want) << p.x << "," << p.y;
}

TEST_F(Layer, ShapesCoverExactlyTheirPixels) {
  HWND top = Top(40, 40);
  QxHeadless_Pump();
  HDC dc = GetDC(top);
  RECT bg{0, 0, 40, 40};
  FillRect(dc, &bg, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(0, 0, 255));
  HGDIOBJ oldPen = SelectObject(dc, pen);
  HBRUSH fill = CreateSolidBrush(RGB(0, 255, 0));
  HGDIOBJ oldBrush = SelectObject(dc, fill);
  Rectangle(dc, 2, 2, 8, 8);
  MoveToEx(dc, 10, 20, nullptr);
  LineTo(dc, 20, 20);
  MoveToEx(dc, 30, 5, nullptr);
  LineTo(dc, 30, 0);
  SetPixel(dc, 35, 35, RGB(9, 8, 7));
  // A memory bitmap copied in by BitBlt, and an image list with the magenta key.
  HDC mem = CreateCompatibleDC(dc);
  const uint32_t px[4] = {0xFFFF00FF, 0xFF102030, 0xFFFF00FF, 0xFF405060};
  HBITMAP bmp = CreateBitmap(4, 1, 1, 32, px);
  HGDIOBJ oldBmp = SelectObject(mem, bmp);
  BitBlt(dc, 0, 30, 4, 1, mem, 0, 0, SRCCOPY);
  HIMAGELIST list = ImageList_Create(2, 1, ILC_COLOR32 | ILC_MASK, 2, 0);
  EXPECT_EQ(ImageList_AddMasked(list, bmp, RGB(255, 0, 255)), 0);
  EXPECT_EQ(ImageList_GetImageCount(list), 2);
  ImageList_Draw(list, 1, dc, 10, 30, ILD_TRANSPARENT);
  SelectObject(mem, oldBmp);
  DeleteDC(mem);
  ImageList_Destroy(list);
  DeleteObject(bmp);
  SelectObject(dc, oldPen);
  SelectObject(dc, oldBrush);
  DeleteObject(pen);
  DeleteObject(fill);
  ReleaseDC(top, dc);
  const COLORREF W = RGB(255, 255, 255), B = RGB(0, 0, 255), G = RGB(0, 255, 0);
  struct Probe { int x, y; COLORREF want; };
  for (Probe p : {Probe{2, 2, B}, Probe{7, 7, B}, Probe{8, 8, W}, Probe{3, 3, G}, Probe{6, 6, G}, Probe{10, 20, B},
                  Probe{19, 20, B}, Probe{20, 20, W}, Probe{30, 5, B}, Probe{30, 1, B}, Probe{30, 0, W},
                  Probe{35, 35, RGB(9, 8, 7)}, Probe{0, 30, RGB(255, 0, 255)}, Probe{1, 30, RGB(0x10, 0x20, 0x30)},
                  Probe{10, 30, W}, Probe{11, 30, RGB(0x40, 0x50, 0x60)}})
    EXPECT_EQ(QxHeadless_Pixel(top, p.x, p.y), p.want) << p.x << "," << p.y;
}

TEST(LayerText, DialogUnitsFollowFromTheDialogFont) {
  LONG u = GetDialogBaseUnits();
  EXPECT_EQ(LOWORD(u), 6);
  EXPECT_EQ(HIWORD(u), 13);
  QxDialogTemplate page{WS_CHILD, 0, 0, 0, 257, 208, u"", nullptr, 0};
  SIZE s = QxUi_DialogPixelSize(&page);
  EXPECT_EQ(s.cx, 386);
  EXPECT_EQ(s.cy, 338);
  SIZE one, two;
  GetTextExtentPoint32W(nullptr, u"Dry out", 7, &one);
  GetTextExtentPoint32W(nullptr, u"Dry out Dry out", 15, &two);
  EXPECT_GT(two.cx, one.cx);
  EXPECT_EQ(one.cy, 13);
}

}  // namespace
