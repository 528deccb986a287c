// Opening the product's web pages in the desktop's browser, when an address is configured.
// Nothing is fixed in the module: with no address configured, browsing does nothing.
#pragma once
#include <string>

#include "platform/ui/window.h"

// The address for a help topic: $QXPPACK1_WEB_ADDRESS when that is set (even empty), else the text
// value "WebAddress" of HKEY_CURRENT_USER\Software\qxppack1. "{topic}" in it becomes the topic number.
// Only http and https addresses without spaces or control characters count; empty otherwise.
std::string QxBrowse_Address(int topic);

// Opens the topic's address with xdg-open on a thread of its own, so the caller never waits and no
// shell ever sees the address. FALSE when no address is configured or the thread could not start.
BOOL Internet_BrowseWebPage(HWND parent, int topic);
