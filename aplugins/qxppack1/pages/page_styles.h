// The window styles the pages' dialog templates give their controls, one name for each kind of
// control, so every page's faders, trackbars, edits and lists look and tab alike.
#pragma once
#include "platform/ui/dialog.h"

namespace QxPageStyle {
inline constexpr DWORD kFader = 0x0081 | WS_TABSTOP;  // vertical, curved, one value
inline constexpr DWORD kTrack = 0x0020 | WS_TABSTOP;  // horizontal, linear
inline constexpr DWORD kSpinner = 0x00B1;
inline constexpr DWORD kEdit = ES_RIGHT | ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP;
inline constexpr DWORD kCheck = BS_AUTOCHECKBOX | WS_TABSTOP;
inline constexpr DWORD kList = CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP;
inline constexpr DWORD kCentre = SS_CENTER | SS_NOPREFIX;  // a value under its fader
inline constexpr DWORD kValue = SS_RIGHT | SS_NOPREFIX;    // a value beside its trackbar
}  // namespace QxPageStyle
