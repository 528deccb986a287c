// The window class around a control's instance record, shared by every control class: the record
// is made at WM_NCCREATE, kept in the window's extra bytes at offset 0 and freed after WM_NCDESTROY.
#pragma once
#include <new>

#include "platform/ui/window.h"
#include "platform/ui/window_class.h"

// The record of `h`; at WM_NCCREATE a new one is made and kept first (nullptr when memory runs out).
template <class Rec>
Rec* QxInstRecord(HWND h, UINT msg) {
  auto* rec = reinterpret_cast<Rec*>(GetWindowLongPtr(h, 0));
  if (msg == WM_NCCREATE && !rec && (rec = new (std::nothrow) Rec))
    SetWindowLongPtr(h, 0, reinterpret_cast<LONG_PTR>(rec));
  return rec;
}

// At the end of WM_NCDESTROY: the window forgets its record and the record goes.
template <class Rec>
void QxInstFree(HWND h, Rec* rec) {
  SetWindowLongPtr(h, 0, 0);
  delete rec;
}

// The procedure of a control whose every message goes to its ...Inst_Message, `hwnd` set at birth.
template <class Rec, LRESULT (*Message)(Rec*, UINT, WPARAM, LPARAM)>
LRESULT QxInstWindowProc(HWND h, UINT msg, WPARAM wParam, LPARAM lParam) {
  Rec* rec = QxInstRecord<Rec>(h, msg);
  if (!rec) return msg == WM_NCCREATE ? FALSE : DefWindowProc(h, msg, wParam, lParam);
  if (msg == WM_NCCREATE) rec->hwnd = h;
  LRESULT r = Message(rec, msg, wParam, lParam);
  if (msg == WM_NCDESTROY) QxInstFree(h, rec);
  return r;
}

// Registers `name` for `module` with `proc` and room for the record pointer.
inline BOOL QxRegisterInstClass(LPCWSTR name, WNDPROC proc, HINSTANCE module, HCURSOR cursor, UINT style) {
  WNDCLASSW wc{};
  wc.style = style;
  wc.lpfnWndProc = reinterpret_cast<WNDPROC_CLASS>(proc);
  wc.cbWndExtra = sizeof(void*);
  wc.hInstance = module;
  wc.hCursor = cursor;
  wc.lpszClassName = name;
  return RegisterClassW(&wc) != 0;
}
