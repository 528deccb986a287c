// The pages' own art: the Logo strip's background, its picture items (the bypass toggle in each of
// its looks) and the emblem before the title, drawn by code and registered as bitmap resources.
#pragma once
#include "platform/ui/gdi.h"

inline constexpr int QX_ART_STRIP_BACKGROUND = 24018;  // 256 x 64, stretched across, bottom rows kept
inline constexpr int QX_ART_STRIP_PICTURES = 8001;     // rows of QX_LOGO_LOOKS square 22-pixel cells
inline constexpr int QX_ART_STRIP_EMBLEM = 8000;       // 22 x 22
inline constexpr int QX_ART_PICTURE_BYPASS = 0;        // the bypass toggle's row (lParam of message 1539)

// Draws the three pictures and registers them for `module` under the numbers above (PNG data, so
// LoadImageW finds them); FALSE if one could not be made.
BOOL QxPages_AddArtResources(HINSTANCE module);
