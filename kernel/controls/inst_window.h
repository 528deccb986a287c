// The window procedure of a control whose logic lives in an ...Inst_Message on a record: the record
// is made at WM_NCCREATE, kept in the window's extra bytes at offset 0 and freed after WM_NCDESTROY.
#pragma once
#include <new>

#include "platform/ui/window.h"
#include "platform/ui/window_class.h"

template <class Rec, LRESULT (*Message)(Rec*, UINT, WPARAM, LPARAM)>
LRESULT QxInstWindowProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto* rec = reinterpret_cast<Rec*>(GetWindowLongPtr(h, 0));
  if (msg == WM_NCCREATE && !rec) {
    rec = new (std::nothrow) Rec;
    if (!rec) return FALSE;
    rec->hwnd = h;
    SetWindowLongPtr(h, 0, reinterpret_cast<LONG_PTR>(rec));
  }
  if (!rec) return DefWindowProc(h, msg, wParam, lParam);
  LRESULT r = Message(rec, msg, wParam, lParam);
  if (msg == WM_NCDESTROY) {
    SetWindowLongPtr(h, 0, 0);
    delete rec;
  }
  return r;
}

// Registers `name` for `module` with the procedure above and room for the record pointer.
template <class Rec, LRESULT (*Message)(Rec*, UINT, WPARAM, LPARAM)>
BOOL QxRegisterInstClass(LPCWSTR name, HINSTANCE module, HCURSOR cursor, UINT style) {
  WNDCLASSW wc{};
  wc.style = style;
  wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(&QxInstWindowProc<Rec, Message>);
  wc.cbWndExtra = sizeof(void*);
  wc.hInstance = module;
  wc.hCursor = cursor;
  wc.lpszClassName = name;
  return RegisterClassW(&wc) != 0;
}
