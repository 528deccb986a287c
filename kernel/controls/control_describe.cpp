// Controls to JSON by asking each one through its own messages.
#include "kernel/controls/control_describe.h"

#include <cstdio>

#include "kernel/controls/control_classes.h"
#include "kernel/controls/control_messages.h"
#include "platform/registry/utf.h"
#include "platform/ui/dialog.h"

namespace {
std::string Quote(const std::u16string& text) {
  std::string out = "\"";
  for (char c : QxUtf16ToUtf8(text)) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      case '\r': out += "\\r"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char esc[8];
          std::snprintf(esc, sizeof esc, "\\u%04x", c);
          out += esc;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

std::u16string Upper(std::u16string s) {
  for (auto& c : s)
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 32);
  return s;
}

std::u16string ListText(HWND w, int index) {
  const auto n = SendMessage(w, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
  if (n < 0) return u"";
  std::u16string t(static_cast<size_t>(n) + 1, u'\0');
  SendMessage(w, CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(t.data()));
  t.resize(static_cast<size_t>(n));
  return t;
}
}  // namespace

std::string QxDescribeControls(HWND dialog) {
  std::string out = "[";
  bool first = true;
  for (HWND c = GetWindow(dialog, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    WCHAR cls[64] = {};
    GetClassNameW(c, cls, 64);
    const std::u16string name = cls, upper = Upper(name);
    std::u16string text(static_cast<size_t>(GetWindowTextLengthW(c)) + 1, u'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(c, text.data(), static_cast<int>(text.size()))));
    RECT r{};
    GetWindowRect(c, &r);
    POINT at{r.left, r.top};
    ScreenToClient(dialog, &at);
    char head[160];
    std::snprintf(head, sizeof head, "%s\n  {\"id\": %d, \"class\": ", first ? "" : ",", GetDlgCtrlID(c));
    out += head + Quote(name) + ", \"text\": " + Quote(text);
    std::snprintf(head, sizeof head, ", \"enabled\": %s, \"visible\": %s, \"rect\": [%ld, %ld, %ld, %ld]",
                  IsWindowEnabled(c) ? "true" : "false", IsWindowVisible(c) ? "true" : "false",
                  static_cast<long>(at.x), static_cast<long>(at.y), static_cast<long>(r.right - r.left),
                  static_cast<long>(r.bottom - r.top));
    out += head;
    const DWORD type = static_cast<DWORD>(GetWindowLong(c, GWL_STYLE)) & BS_TYPEMASK;
    if (upper == u"BUTTON" && (type == BS_CHECKBOX || type == BS_AUTOCHECKBOX || type == BS_RADIOBUTTON ||
                               type == BS_AUTORADIOBUTTON || type == BS_3STATE || type == BS_AUTO3STATE)) {
      out += SendMessage(c, BM_GETCHECK, 0, 0) == BST_CHECKED ? ", \"checked\": true" : ", \"checked\": false";
    } else if (name == QX_FADER_CLASS || name == QX_TRACKBAR_CLASS || name == QX_SPINNER_CLASS) {
      std::snprintf(head, sizeof head, ", \"value\": %d, \"min\": %d, \"max\": %d",
                    static_cast<int>(SendMessage(c, QXCM_GETVALUE, 0, 0)),
                    static_cast<int>(SendMessage(c, QXCM_GETMIN, 0, 0)),
                    static_cast<int>(SendMessage(c, QXCM_GETMAX, 0, 0)));
      out += head;
    } else if (upper == u"COMBOBOX") {
      const int sel = static_cast<int>(SendMessage(c, CB_GETCURSEL, 0, 0));
      const int count = static_cast<int>(SendMessage(c, CB_GETCOUNT, 0, 0));
      std::snprintf(head, sizeof head, ", \"selected\": %d, \"selectedText\": ", sel < 0 ? -1 : sel);
      out += head + Quote(sel < 0 ? u"" : ListText(c, sel)) + ", \"items\": [";
      for (int i = 0; i < count; ++i) out += (i ? ", " : "") + Quote(ListText(c, i));
      out += "]";
    }
    out += "}";
    first = false;
  }
  return out + (first ? "]" : "\n]");
}
