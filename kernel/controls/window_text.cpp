// Window and dialog-item texts set through value text.
#include "kernel/controls/window_text.h"

#include <cstring>

#include "kernel/services/qx_valuetext.h"

namespace {
// Longer texts are cut: no control of a page shows more.
constexpr int kTextMax = 1024;

BOOL SetFormatted(HWND hwnd, bool skipEqual, const WCHAR* format, va_list args) {
  if (!hwnd || !format) return FALSE;
  WCHAR text[kTextMax];
  QxNVPrintF(text, kTextMax, nullptr, format, args);
  if (skipEqual) {
    WCHAR now[kTextMax];
    const int n = GetWindowTextW(hwnd, now, kTextMax);
    if (n >= 0 && std::u16string_view(now, static_cast<size_t>(n)) == std::u16string_view(text)) return TRUE;
  }
  return SetWindowTextW(hwnd, text);
}
}  // namespace

BOOL QxSetWindowTextF(HWND hwnd, const WCHAR* format, ...) {
  va_list args;
  va_start(args, format);
  const BOOL ok = SetFormatted(hwnd, false, format, args);
  va_end(args);
  return ok;
}

BOOL QxSetDlgItemTextF(HWND dialog, int id, const WCHAR* format, ...) {
  va_list args;
  va_start(args, format);
  const BOOL ok = SetFormatted(GetDlgItem(dialog, id), false, format, args);
  va_end(args);
  return ok;
}

BOOL QxSetWindowTextNoF(HWND hwnd, const WCHAR* text) { return hwnd && text ? SetWindowTextW(hwnd, text) : FALSE; }

BOOL QxSetDlgItemTextNoF(HWND dialog, int id, const WCHAR* text) {
  return QxSetWindowTextNoF(GetDlgItem(dialog, id), text);
}

BOOL QxSetWindowTextNoFlash(HWND hwnd, const WCHAR* format, ...) {
  va_list args;
  va_start(args, format);
  const BOOL ok = SetFormatted(hwnd, true, format, args);
  va_end(args);
  return ok;
}

BOOL QxSetDlgItemTextNoFlash(HWND dialog, int id, const WCHAR* format, ...) {
  va_list args;
  va_start(args, format);
  const BOOL ok = SetFormatted(GetDlgItem(dialog, id), true, format, args);
  va_end(args);
  return ok;
}

int QxFixNameForMenu(const WCHAR* name, WCHAR* out, int size) {
  if (!out || size < 1) return 0;
  int n = 0;
  for (const WCHAR* p = name ? name : u""; *p; ++p) {
    const int need = *p == u'&' ? 2 : 1;
    if (n + need > size - 1) break;
    if (*p == u'&') out[n++] = u'&';
    out[n++] = *p == u'\t' ? u' ' : *p;
  }
  out[n] = 0;
  return n;
}
