// Tests of window handles and message queues: liveness, posting to the owning thread's queue
// from other threads, filters of PeekMessage/GetMessage, and the command word helpers.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/ui/window.h"

TEST(Window, DestroyedHandleIsDeadAndRefusesMessages) {
  HWND h = CreateWindowHandle();
  ASSERT_NE(h, nullptr);
  EXPECT_TRUE(IsWindow(h));
  EXPECT_TRUE(PostMessage(h, WM_COMMAND, MAKEWPARAM(7, 100), 0));
  EXPECT_TRUE(DestroyWindow(h));
  EXPECT_FALSE(IsWindow(h));
  EXPECT_FALSE(PostMessage(h, WM_COMMAND, 0, 0));
  EXPECT_FALSE(DestroyWindow(h));
  EXPECT_FALSE(IsWindow(nullptr));
  MSG m;
  EXPECT_FALSE(PeekMessage(&m, nullptr, 0, 0, PM_REMOVE));  // its queued message went with it
  HWND again = CreateWindowHandle();
  EXPECT_NE(again, h);  // handles are not reused
  DestroyWindow(again);
}

TEST(Window, OnlyTheOwningThreadDestroysAWindow) {
  HWND h = CreateWindowHandle();
  BOOL fromOther = TRUE;
  DWORD ownerSeen = 0;
  std::thread([&] {
    fromOther = DestroyWindow(h);
    ownerSeen = GetWindowThreadId(h);
  }).join();
  EXPECT_FALSE(fromOther);
  EXPECT_EQ(ownerSeen, GetCurrentThreadId());
  EXPECT_TRUE(DestroyWindow(h));
}

TEST(Window, WindowsOfAFinishedThreadAreGone) {
  HWND h = nullptr;
  std::thread([&] { h = CreateWindowHandle(); }).join();
  EXPECT_FALSE(IsWindow(h));
  EXPECT_FALSE(PostMessage(h, WM_USER, 0, 0));
}

TEST(Window, MessagesPostedFromOtherThreadsArriveInOrderAtTheOwner) {
  HWND h = CreateWindowHandle();
  std::thread poster([&] {
    for (WORD i = 0; i < 50; ++i) EXPECT_TRUE(PostMessage(h, WM_COMMAND, MAKEWPARAM(3, i), 0));
    EXPECT_TRUE(PostThreadMessage(GetWindowThreadId(h), WM_USER + 1, 0, 0));
  });
  MSG m;
  for (WORD i = 0; i < 50; ++i) {
    ASSERT_EQ(GetMessage(&m, nullptr, 0, 0), TRUE);
    EXPECT_EQ(m.hwnd, h);
    EXPECT_EQ(m.message, WM_COMMAND);
    EXPECT_EQ(LOWORD(m.wParam), 3);
    EXPECT_EQ(HIWORD(m.wParam), i);
  }
  ASSERT_EQ(GetMessage(&m, nullptr, 0, 0), TRUE);
  EXPECT_EQ(m.message, WM_USER + 1);
  EXPECT_EQ(m.hwnd, nullptr);
  poster.join();
  DestroyWindow(h);
}

TEST(Window, PeekFiltersByWindowAndRangeAndCanLeaveTheMessage) {
  HWND a = CreateWindowHandle(), b = CreateWindowHandle();
  PostMessage(a, WM_USER, 1, 0);
  PostMessage(b, WM_COMMAND, 2, 0);
  PostMessage(a, WM_COMMAND, 3, -5);
  MSG m;
  ASSERT_TRUE(PeekMessage(&m, b, 0, 0, PM_NOREMOVE));
  EXPECT_EQ(m.wParam, 2u);
  ASSERT_TRUE(PeekMessage(&m, nullptr, WM_COMMAND, WM_COMMAND, PM_REMOVE));
  EXPECT_EQ(m.wParam, 2u);  // b's command came first
  ASSERT_TRUE(PeekMessage(&m, a, WM_COMMAND, WM_COMMAND, PM_REMOVE));
  EXPECT_EQ(m.lParam, -5);
  ASSERT_TRUE(PeekMessage(&m, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(m.message, WM_USER);
  EXPECT_FALSE(PeekMessage(&m, nullptr, 0, 0, PM_REMOVE));
  DestroyWindow(a);
  DestroyWindow(b);
}

TEST(Window, GetMessageEndsOnQuitAndRefusesAForeignFilterWindow) {
  PostQuitMessage(4);
  MSG m;
  EXPECT_EQ(GetMessage(&m, nullptr, 0, 0), FALSE);
  EXPECT_EQ(m.wParam, 4u);
  HWND foreign = nullptr;
  std::thread t([&] { foreign = CreateWindowHandle(); });
  t.join();
  EXPECT_EQ(GetMessage(&m, foreign, 0, 0), -1);
}
