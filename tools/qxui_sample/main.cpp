// qxui-sample: shows the window layer's sample dialog, as a PNG (headless), as a window of its
// own on an X display, or inside a window that another program made (its X window id).
#include <X11/Xlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <string>

#include "platform/ui/headless.h"
#include "platform/ui/menu.h"
#include "platform/ui/sample_dialog.h"
#include "platform/ui/x11.h"

namespace {
int Usage() {
  std::fprintf(stderr,
               "usage: qxui-sample --png FILE [--drop|--menu]\n"
               "                                   render the sample dialog headless to FILE, with its\n"
               "                                   drop list open or a popup menu over it\n"
               "       qxui-sample --window        open it as a window on $DISPLAY until closed\n"
               "       qxui-sample --embed XID     open it inside the X window XID until closed\n"
               "       qxui-sample --host          make a plain X window, print its id, wait\n");
  return 2;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  if (!std::strcmp(argv[1], "--png") && (argc == 3 || argc == 4)) {
    QxHeadless_UseVirtualClock();
    HWND dlg = CreateDialogIndirectParamW(nullptr, QxSample_Template(false), nullptr, QxSample_Proc, 0);
    bool ok = dlg != nullptr;
    std::string extra = argc == 4 ? argv[3] : "";
    if (ok && extra == "--drop") {
      SendDlgItemMessage(dlg, kSampleCombo, CB_SHOWDROPDOWN, TRUE, 0);
      ok = QxHeadless_SaveScreenPng(argv[2]);
    } else if (ok && extra == "--menu") {
      HMENU presets = CreatePopupMenu(), menu = CreatePopupMenu();
      AppendMenuW(presets, MF_STRING, 40500, u"Slap back");
      AppendMenuW(presets, MF_STRING | MF_CHECKED, 40501, u"Long echo");
      AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(presets), u"&Presets");
      AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
      AppendMenuW(menu, MF_STRING, 41000, u"&Help");
      AppendMenuW(menu, MF_STRING | MF_GRAYED, 41001, u"&About...");
      int step = 0;
      QxHeadless_SetIdleHook([&] {
        switch (step++) {
          case 0: QxHeadless_Key(VK_DOWN); return true;   // "Presets"
          case 1: QxHeadless_Key(VK_RIGHT); return true;  // its submenu, first item lit
        }
        ok = QxHeadless_SaveScreenPng(argv[2]);
        return false;
      });
      TrackPopupMenu(menu, TPM_RETURNCMD, 120, 60, 0, dlg, nullptr);
      DestroyMenu(menu);
    } else if (ok) {
      ok = QxHeadless_SavePng(dlg, argv[2]);
    }
    if (!ok) {
      std::fprintf(stderr, "qxui-sample: cannot write %s\n", argv[2]);
      return 1;
    }
    DestroyWindow(dlg);
    return 0;
  }
  Display* display = XOpenDisplay(nullptr);
  if (!display) {
    std::fprintf(stderr, "qxui-sample: cannot open the X display\n");
    return 1;
  }
  int rc = 0;
  if (!std::strcmp(argv[1], "--host")) {
    Window w = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 400, 360, 0, 0, 0x404040);
    XMapWindow(display, w);
    XFlush(display);
    std::printf("%lu\n", w);
    std::fflush(stdout);
    for (;;) {
      XEvent e;
      XNextEvent(display, &e);
    }
  } else if (!std::strcmp(argv[1], "--window") || (!std::strcmp(argv[1], "--embed") && argc == 3)) {
    bool embed = argv[1][2] == 'e';
    HWND parent = embed ? QxX11_WrapWindow(display, std::strtoul(argv[2], nullptr, 0)) : nullptr;
    if (!embed) QxX11_SetThreadDisplay(display);
    HWND dlg = CreateDialogIndirectParamW(nullptr, QxSample_Template(embed), parent, QxSample_Proc, 0);
    MSG m;
    while (IsWindow(dlg) && GetMessage(&m, nullptr, 0, 0) > 0) {
      if (!IsDialogMessage(dlg, &m)) {
        TranslateMessage(&m);
        DispatchMessage(&m);
      }
      for (auto [id, code] : QxSample_Log()) {
        std::printf("command %d %d\n", id, code);
        if (id == IDOK || id == IDCANCEL) DestroyWindow(dlg);
      }
      std::fflush(stdout);
      QxSample_Log().clear();
    }
    if (parent) DestroyWindow(parent);
    QxX11_SetThreadDisplay(nullptr);
  } else {
    rc = Usage();
  }
  XCloseDisplay(display);
  return rc;
}
