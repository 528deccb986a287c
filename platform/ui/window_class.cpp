// The window layer's class table: one process-wide table of registered classes under a lock,
// with the shared system cursors classes are registered with.
#include "platform/ui/window_class.h"

#include <algorithm>
#include <mutex>

namespace {
// A fixed table with no destructor: modules unregister their classes from their unload hooks,
// which at process exit run after static objects have been destroyed.
constexpr size_t kMaxName = 256;  // the platform's limit on class names, terminator included
constexpr size_t kMaxClasses = 256;

struct ClassRow {
  bool used;
  WCHAR name[kMaxName];
  HINSTANCE module;
  HCURSOR cursor;
  ATOM atom;
  WNDCLASSW wc;
};

std::mutex g_lock;
ClassRow g_rows[kMaxClasses];
// Rows at and above this index have never been used: lookups stop there instead of touching every
// row of the table (the table is large, and modules register classes as they load).
size_t g_rowsInUse = 0;
ATOM g_nextAtom = 0xC000;  // the platform numbers registered classes from here

bool IsIntResource(LPCWSTR p) { return (reinterpret_cast<uintptr_t>(p) >> 16) == 0; }

char16_t Fold(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

bool SameName(const WCHAR* a, LPCWSTR b) {
  size_t i = 0;
  for (; a[i] && b[i]; ++i)
    if (Fold(a[i]) != Fold(b[i])) return false;
  return a[i] == b[i];
}

ClassRow* Find(LPCWSTR name) {
  for (size_t i = 0; i < g_rowsInUse; ++i)
    if (g_rows[i].used && SameName(g_rows[i].name, name)) return &g_rows[i];
  return nullptr;
}

// Predefined cursors need an address of their own that no caller can free.
struct SystemCursor {
  int id;
};
SystemCursor g_cursors[] = {{32512}, {32513}, {32644}, {32645}, {32649}};
}  // namespace

HCURSOR LoadCursorW(HINSTANCE module, LPCWSTR name) {
  if (module != nullptr || !IsIntResource(name)) return nullptr;
  for (SystemCursor& c : g_cursors)
    if (reinterpret_cast<uintptr_t>(name) == static_cast<uintptr_t>(c.id)) return reinterpret_cast<HCURSOR>(&c);
  return nullptr;
}

int QxUi_CursorId(HCURSOR cursor) {
  for (SystemCursor& c : g_cursors)
    if (reinterpret_cast<HCURSOR>(&c) == cursor) return c.id;
  return 0;
}

ATOM RegisterClassName(LPCWSTR name, HINSTANCE module, HCURSOR cursor) {
  WNDCLASSW wc{};
  wc.hInstance = module;
  wc.hCursor = cursor;
  wc.lpszClassName = name;
  return RegisterClassW(&wc);
}

ATOM RegisterClassW(const WNDCLASSW* wc) {
  if (!wc) return 0;
  LPCWSTR name = wc->lpszClassName;
  HINSTANCE module = wc->hInstance;
  HCURSOR cursor = wc->hCursor;
  if (!name || !*name) return 0;
  size_t len = 0;
  while (name[len]) ++len;
  if (len >= kMaxName) return 0;
  std::lock_guard<std::mutex> g(g_lock);
  if (Find(name)) return 0;
  for (size_t i = 0; i < kMaxClasses; ++i) {
    ClassRow& r = g_rows[i];
    if (r.used) continue;
    r.used = true;
    if (i >= g_rowsInUse) g_rowsInUse = i + 1;
    std::copy(name, name + len + 1, r.name);
    r.module = module;
    r.cursor = cursor;
    r.atom = g_nextAtom++;
    r.wc = *wc;
    r.wc.lpszClassName = r.name;
    return r.atom;
  }
  return 0;  // table full
}

BOOL UnregisterClassName(LPCWSTR name, HINSTANCE module) {
  if (!name) return FALSE;
  std::lock_guard<std::mutex> g(g_lock);
  ClassRow* r = Find(name);
  if (!r || r->module != module) return FALSE;
  r->used = false;
  return TRUE;
}

BOOL UnregisterClassW(LPCWSTR name, HINSTANCE module) { return UnregisterClassName(name, module); }

BOOL GetClassInfoW(HINSTANCE, LPCWSTR name, WNDCLASSW* wc) {
  if (!name || !wc) return FALSE;
  std::lock_guard<std::mutex> g(g_lock);
  const ClassRow* r = Find(name);
  if (!r) return FALSE;
  *wc = r->wc;
  return TRUE;
}

BOOL IsClassRegistered(LPCWSTR name, HINSTANCE module) {
  if (!name) return FALSE;
  std::lock_guard<std::mutex> g(g_lock);
  const ClassRow* r = Find(name);
  return r && (!module || r->module == module);
}

HCURSOR GetClassCursor(LPCWSTR name) {
  if (!name) return nullptr;
  std::lock_guard<std::mutex> g(g_lock);
  const ClassRow* r = Find(name);
  return r ? r->cursor : nullptr;
}
