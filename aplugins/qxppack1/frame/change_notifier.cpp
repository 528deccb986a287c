// Window slots for change notifications.
#include "aplugins/qxppack1/frame/change_notifier.h"

HRESULT CQxChangeNotifier::Register(HWND window, uint16_t id) {
  Slot* target = nullptr;
  for (Slot& s : slots_)
    if (s.window == window) target = &s;
  if (!target)
    for (Slot& s : slots_)
      if (!s.window) {
        target = &s;
        break;
      }
  if (!target) return id ? E_OUTOFMEMORY : S_OK;
  if (id) {
    target->window = window;
    target->id = id;
  } else {
    *target = Slot{};
  }
  return S_OK;
}

void CQxChangeNotifier::Notify(uint16_t code) {
  for (Slot& s : slots_) {
    if (!s.window) continue;
    if (!IsWindow(s.window)) {
      s = Slot{};
      continue;
    }
    PostMessage(s.window, WM_COMMAND, MAKEWPARAM(s.id, code), 0);
  }
}
