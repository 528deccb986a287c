// Popup menus: items, separators and submenus, shown by TrackPopupMenu in a modal loop that
// follows the mouse and the keyboard.
#pragma once
#include "platform/ui/window.h"

inline constexpr UINT MF_STRING = 0x0, MF_ENABLED = 0x0, MF_UNCHECKED = 0x0, MF_BYCOMMAND = 0x0, MF_GRAYED = 0x1,
                      MF_DISABLED = 0x2, MF_CHECKED = 0x8, MF_POPUP = 0x10, MF_BYPOSITION = 0x400,
                      MF_SEPARATOR = 0x800;
inline constexpr UINT TPM_LEFTBUTTON = 0x0, TPM_LEFTALIGN = 0x0, TPM_TOPALIGN = 0x0, TPM_RIGHTBUTTON = 0x2,
                      TPM_CENTERALIGN = 0x4, TPM_RIGHTALIGN = 0x8, TPM_BOTTOMALIGN = 0x20, TPM_NONOTIFY = 0x80,
                      TPM_RETURNCMD = 0x100;

HMENU CreatePopupMenu();
HMENU CreateMenu();
BOOL DestroyMenu(HMENU menu);  // submenus go with it
// `idOrMenu` is the command id, or the submenu's HMENU with MF_POPUP.
BOOL AppendMenuW(HMENU menu, UINT flags, UINT_PTR idOrMenu, LPCWSTR text);
BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR idOrMenu, LPCWSTR text);
inline constexpr auto& AppendMenu = AppendMenuW;
inline constexpr auto& InsertMenu = InsertMenuW;
int GetMenuItemCount(HMENU menu);
UINT GetMenuItemID(HMENU menu, int position);  // -1 for a submenu or a bad position
HMENU GetSubMenu(HMENU menu, int position);
DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags);  // answers the former check state, or -1
BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags);
// Shows the menu at a screen point until a choice or a cancel. With TPM_RETURNCMD answers the
// chosen id (0 for none); otherwise posts WM_COMMAND to `owner` and answers whether one was chosen.
BOOL TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND owner, const RECT* ignored);
