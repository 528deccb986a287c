// The window layer's numbers: messages, window and control styles, notification codes, virtual
// keys and system colours, with the platform's names and values so that controls read as usual.
#pragma once
#include <cstdint>

#include "platform/com/types.h"

using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;

// Window messages.
inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_CREATE = 0x0001;
inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_MOVE = 0x0003;
inline constexpr UINT WM_SIZE = 0x0005;
inline constexpr UINT WM_ACTIVATE = 0x0006;
inline constexpr UINT WM_SETFOCUS = 0x0007;
inline constexpr UINT WM_KILLFOCUS = 0x0008;
inline constexpr UINT WM_ENABLE = 0x000A;
inline constexpr UINT WM_SETREDRAW = 0x000B;
inline constexpr UINT WM_SETTEXT = 0x000C;
inline constexpr UINT WM_GETTEXT = 0x000D;
inline constexpr UINT WM_GETTEXTLENGTH = 0x000E;
inline constexpr UINT WM_PAINT = 0x000F;
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_ERASEBKGND = 0x0014;
inline constexpr UINT WM_SHOWWINDOW = 0x0018;
inline constexpr UINT WM_CANCELMODE = 0x001F;
inline constexpr UINT WM_SETCURSOR = 0x0020;
inline constexpr UINT WM_NEXTDLGCTL = 0x0028;
inline constexpr UINT WM_SETFONT = 0x0030;
inline constexpr UINT WM_GETFONT = 0x0031;
inline constexpr UINT WM_NOTIFY = 0x004E;
inline constexpr UINT WM_HELP = 0x0053;
inline constexpr UINT WM_CONTEXTMENU = 0x007B;
inline constexpr UINT WM_NCCREATE = 0x0081;
inline constexpr UINT WM_NCDESTROY = 0x0082;
inline constexpr UINT WM_NCHITTEST = 0x0084;
inline constexpr UINT WM_GETDLGCODE = 0x0087;
inline constexpr UINT WM_KEYDOWN = 0x0100;
inline constexpr UINT WM_KEYUP = 0x0101;
inline constexpr UINT WM_CHAR = 0x0102;
inline constexpr UINT WM_SYSKEYDOWN = 0x0104;
inline constexpr UINT WM_SYSKEYUP = 0x0105;
inline constexpr UINT WM_SYSCHAR = 0x0106;
inline constexpr UINT WM_INITDIALOG = 0x0110;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT WM_HSCROLL = 0x0114;
inline constexpr UINT WM_VSCROLL = 0x0115;
inline constexpr UINT WM_CTLCOLOREDIT = 0x0133;
inline constexpr UINT WM_CTLCOLORLISTBOX = 0x0134;
inline constexpr UINT WM_CTLCOLORBTN = 0x0135;
inline constexpr UINT WM_CTLCOLORDLG = 0x0136;
inline constexpr UINT WM_CTLCOLORSTATIC = 0x0138;
inline constexpr UINT WM_MOUSEMOVE = 0x0200;
inline constexpr UINT WM_LBUTTONDOWN = 0x0201;
inline constexpr UINT WM_LBUTTONUP = 0x0202;
inline constexpr UINT WM_LBUTTONDBLCLK = 0x0203;
inline constexpr UINT WM_RBUTTONDOWN = 0x0204;
inline constexpr UINT WM_RBUTTONUP = 0x0205;
inline constexpr UINT WM_RBUTTONDBLCLK = 0x0206;
inline constexpr UINT WM_MBUTTONDOWN = 0x0207;
inline constexpr UINT WM_MBUTTONUP = 0x0208;
inline constexpr UINT WM_MOUSEWHEEL = 0x020A;
inline constexpr UINT WM_CAPTURECHANGED = 0x0215;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT WM_APP = 0x8000;

// Window styles.
inline constexpr DWORD WS_OVERLAPPED = 0x00000000;
inline constexpr DWORD WS_POPUP = 0x80000000;
inline constexpr DWORD WS_CHILD = 0x40000000;
inline constexpr DWORD WS_VISIBLE = 0x10000000;
inline constexpr DWORD WS_DISABLED = 0x08000000;
inline constexpr DWORD WS_CLIPSIBLINGS = 0x04000000;
inline constexpr DWORD WS_CLIPCHILDREN = 0x02000000;
inline constexpr DWORD WS_CAPTION = 0x00C00000;
inline constexpr DWORD WS_BORDER = 0x00800000;
inline constexpr DWORD WS_VSCROLL = 0x00200000;
inline constexpr DWORD WS_HSCROLL = 0x00100000;
inline constexpr DWORD WS_SYSMENU = 0x00080000;
inline constexpr DWORD WS_GROUP = 0x00020000;
inline constexpr DWORD WS_TABSTOP = 0x00010000;
inline constexpr DWORD WS_EX_CLIENTEDGE = 0x00000200;
inline constexpr DWORD WS_EX_CONTROLPARENT = 0x00010000;
inline constexpr DWORD WS_EX_TOOLWINDOW = 0x00000080;
inline constexpr DWORD WS_EX_TOPMOST = 0x00000008;

// Class styles.
inline constexpr UINT CS_VREDRAW = 0x0001;
inline constexpr UINT CS_HREDRAW = 0x0002;
inline constexpr UINT CS_DBLCLKS = 0x0008;
inline constexpr UINT CS_GLOBALCLASS = 0x4000;

// Window data indexes.
inline constexpr int GWLP_WNDPROC = -4;
inline constexpr int GWLP_HINSTANCE = -6;
inline constexpr int GWLP_HWNDPARENT = -8;
inline constexpr int GWLP_ID = -12;
inline constexpr int GWL_STYLE = -16;
inline constexpr int GWL_EXSTYLE = -20;
inline constexpr int GWLP_USERDATA = -21;
inline constexpr int DWLP_MSGRESULT = 0;
inline constexpr int DWLP_DLGPROC = 8;
inline constexpr int DWLP_USER = 16;
inline constexpr int DLGWINDOWEXTRA = 30;

// ShowWindow, GetWindow, SetWindowPos.
inline constexpr int SW_HIDE = 0;
inline constexpr int SW_SHOWNORMAL = 1;
inline constexpr int SW_SHOW = 5;
inline constexpr int SW_SHOWNA = 8;
inline constexpr UINT GW_HWNDFIRST = 0, GW_HWNDLAST = 1, GW_HWNDNEXT = 2, GW_HWNDPREV = 3, GW_OWNER = 4,
                      GW_CHILD = 5;
inline constexpr UINT SWP_NOSIZE = 0x0001, SWP_NOMOVE = 0x0002, SWP_NOZORDER = 0x0004, SWP_NOREDRAW = 0x0008,
                      SWP_NOACTIVATE = 0x0010, SWP_SHOWWINDOW = 0x0040, SWP_HIDEWINDOW = 0x0080;
inline constexpr UINT GA_PARENT = 1, GA_ROOT = 2;

// WM_NCHITTEST answers.
inline constexpr LRESULT HTTRANSPARENT = -1;
inline constexpr LRESULT HTNOWHERE = 0;
inline constexpr LRESULT HTCLIENT = 1;

// Mouse key flags in the wParam of mouse messages.
inline constexpr WPARAM MK_LBUTTON = 0x0001, MK_RBUTTON = 0x0002, MK_SHIFT = 0x0004, MK_CONTROL = 0x0008,
                        MK_MBUTTON = 0x0010;
inline constexpr int WHEEL_DELTA = 120;

// Virtual keys.
inline constexpr UINT VK_LBUTTON = 0x01, VK_RBUTTON = 0x02, VK_MBUTTON = 0x04, VK_BACK = 0x08, VK_TAB = 0x09,
                      VK_CLEAR = 0x0C, VK_RETURN = 0x0D, VK_SHIFT = 0x10, VK_CONTROL = 0x11, VK_MENU = 0x12,
                      VK_ESCAPE = 0x1B, VK_SPACE = 0x20, VK_PRIOR = 0x21, VK_NEXT = 0x22, VK_END = 0x23,
                      VK_HOME = 0x24, VK_LEFT = 0x25, VK_UP = 0x26, VK_RIGHT = 0x27, VK_DOWN = 0x28,
                      VK_INSERT = 0x2D, VK_DELETE = 0x2E, VK_APPS = 0x5D, VK_NUMPAD0 = 0x60, VK_NUMPAD9 = 0x69,
                      VK_MULTIPLY = 0x6A, VK_ADD = 0x6B, VK_SUBTRACT = 0x6D, VK_DECIMAL = 0x6E, VK_DIVIDE = 0x6F,
                      VK_F1 = 0x70, VK_F3 = 0x72, VK_F4 = 0x73, VK_F9 = 0x78, VK_F10 = 0x79, VK_LSHIFT = 0xA0,
                      VK_RSHIFT = 0xA1, VK_LCONTROL = 0xA2, VK_RCONTROL = 0xA3, VK_LMENU = 0xA4, VK_RMENU = 0xA5,
                      VK_OEM_COMMA = 0xBC, VK_OEM_MINUS = 0xBD, VK_OEM_PERIOD = 0xBE;

// Dialog codes (WM_GETDLGCODE) and dialog identifiers.
inline constexpr LRESULT DLGC_WANTARROWS = 0x0001, DLGC_WANTTAB = 0x0002, DLGC_WANTALLKEYS = 0x0004,
                         DLGC_WANTMESSAGE = 0x0004, DLGC_HASSETSEL = 0x0008, DLGC_DEFPUSHBUTTON = 0x0010,
                         DLGC_UNDEFPUSHBUTTON = 0x0020, DLGC_RADIOBUTTON = 0x0040, DLGC_WANTCHARS = 0x0080,
                         DLGC_STATIC = 0x0100, DLGC_BUTTON = 0x2000;
inline constexpr int IDOK = 1, IDCANCEL = 2;
inline constexpr DWORD DS_SETFONT = 0x40, DS_MODALFRAME = 0x80, DS_CONTROL = 0x400, DS_CENTER = 0x800;
inline constexpr UINT DM_GETDEFID = WM_USER + 0, DM_SETDEFID = WM_USER + 1;
inline constexpr WORD DC_HASDEFID = 0x534B;

// BUTTON.
inline constexpr DWORD BS_PUSHBUTTON = 0x0, BS_DEFPUSHBUTTON = 0x1, BS_CHECKBOX = 0x2, BS_AUTOCHECKBOX = 0x3,
                       BS_RADIOBUTTON = 0x4, BS_3STATE = 0x5, BS_AUTO3STATE = 0x6, BS_GROUPBOX = 0x7,
                       BS_AUTORADIOBUTTON = 0x9, BS_TYPEMASK = 0xF, BS_LEFTTEXT = 0x20, BS_PUSHLIKE = 0x1000,
                       BS_MULTILINE = 0x2000, BS_NOTIFY = 0x4000;
inline constexpr UINT BM_GETCHECK = 0x00F0, BM_SETCHECK = 0x00F1, BM_GETSTATE = 0x00F2, BM_SETSTATE = 0x00F3,
                      BM_SETSTYLE = 0x00F4, BM_CLICK = 0x00F5;
inline constexpr UINT BST_UNCHECKED = 0, BST_CHECKED = 1, BST_INDETERMINATE = 2, BST_PUSHED = 4, BST_FOCUS = 8;
inline constexpr WORD BN_CLICKED = 0, BN_DBLCLK = 5, BN_SETFOCUS = 6, BN_KILLFOCUS = 7;

// STATIC.
inline constexpr DWORD SS_LEFT = 0x0, SS_CENTER = 0x1, SS_RIGHT = 0x2, SS_ICON = 0x3, SS_BLACKRECT = 0x4,
                       SS_GRAYRECT = 0x5, SS_WHITERECT = 0x6, SS_BLACKFRAME = 0x7, SS_SIMPLE = 0xB,
                       SS_LEFTNOWORDWRAP = 0xC, SS_BITMAP = 0xE, SS_ETCHEDHORZ = 0x10, SS_ETCHEDFRAME = 0x12,
                       SS_TYPEMASK = 0x1F, SS_NOPREFIX = 0x80, SS_NOTIFY = 0x100, SS_CENTERIMAGE = 0x200,
                       SS_SUNKEN = 0x1000;
inline constexpr UINT STM_SETIMAGE = 0x0172, STM_GETIMAGE = 0x0173;
inline constexpr WORD STN_CLICKED = 0, STN_DBLCLK = 1;

// EDIT.
inline constexpr DWORD ES_LEFT = 0x0, ES_CENTER = 0x1, ES_RIGHT = 0x2, ES_AUTOHSCROLL = 0x80,
                       ES_READONLY = 0x800, ES_NUMBER = 0x2000;
inline constexpr UINT EM_GETSEL = 0x00B0, EM_SETSEL = 0x00B1, EM_GETMODIFY = 0x00B8, EM_SETMODIFY = 0x00B9,
                      EM_REPLACESEL = 0x00C2, EM_LIMITTEXT = 0x00C5, EM_SETLIMITTEXT = 0x00C5,
                      EM_SETREADONLY = 0x00CF, EM_GETLIMITTEXT = 0x00D5;
inline constexpr WORD EN_SETFOCUS = 0x0100, EN_KILLFOCUS = 0x0200, EN_CHANGE = 0x0300, EN_UPDATE = 0x0400,
                      EN_MAXTEXT = 0x0501;

// COMBOBOX.
inline constexpr DWORD CBS_SIMPLE = 0x1, CBS_DROPDOWN = 0x2, CBS_DROPDOWNLIST = 0x3, CBS_AUTOHSCROLL = 0x40,
                       CBS_SORT = 0x100, CBS_HASSTRINGS = 0x200;
inline constexpr UINT CB_ADDSTRING = 0x0143, CB_DELETESTRING = 0x0144, CB_GETCOUNT = 0x0146,
                      CB_GETCURSEL = 0x0147, CB_GETLBTEXT = 0x0148, CB_GETLBTEXTLEN = 0x0149,
                      CB_INSERTSTRING = 0x014A, CB_RESETCONTENT = 0x014B, CB_FINDSTRING = 0x014C,
                      CB_SELECTSTRING = 0x014D, CB_SETCURSEL = 0x014E, CB_SHOWDROPDOWN = 0x014F,
                      CB_GETITEMDATA = 0x0150, CB_SETITEMDATA = 0x0151, CB_GETDROPPEDCONTROLRECT = 0x0152,
                      CB_GETITEMHEIGHT = 0x0154, CB_GETDROPPEDSTATE = 0x0157, CB_FINDSTRINGEXACT = 0x0158;
inline constexpr LRESULT CB_ERR = -1;
inline constexpr WORD CBN_SELCHANGE = 1, CBN_DBLCLK = 2, CBN_SETFOCUS = 3, CBN_KILLFOCUS = 4, CBN_DROPDOWN = 7,
                      CBN_CLOSEUP = 8, CBN_SELENDOK = 9, CBN_SELENDCANCEL = 10;

// Common notification header of WM_NOTIFY.
struct HWND__;
struct NMHDR {
  HWND__* hwndFrom;
  uintptr_t idFrom;
  UINT code;
};

// System colours (GetSysColor indexes).
inline constexpr int COLOR_SCROLLBAR = 0, COLOR_BACKGROUND = 1, COLOR_MENU = 4, COLOR_WINDOW = 5,
                     COLOR_WINDOWFRAME = 6, COLOR_MENUTEXT = 7, COLOR_WINDOWTEXT = 8, COLOR_HIGHLIGHT = 13,
                     COLOR_HIGHLIGHTTEXT = 14, COLOR_3DFACE = 15, COLOR_BTNFACE = 15, COLOR_3DSHADOW = 16,
                     COLOR_BTNSHADOW = 16, COLOR_GRAYTEXT = 17, COLOR_BTNTEXT = 18, COLOR_3DHILIGHT = 20,
                     COLOR_BTNHIGHLIGHT = 20, COLOR_3DDKSHADOW = 21, COLOR_3DLIGHT = 22, COLOR_INFOTEXT = 23,
                     COLOR_INFOBK = 24, COLOR_HOTLIGHT = 26, COLOR_MENUHILIGHT = 29, COLOR_MENUBAR = 30;

// Help requests (WM_HELP carries a HELPINFO).
inline constexpr int HELPINFO_WINDOW = 1, HELPINFO_MENUITEM = 2;
