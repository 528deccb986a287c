// The Logo strip's pictures, drawn with cairo: a slate background with an accent edge, the bypass
// toggle in each of its looks, and the emblem, all with real transparency around their shapes.
#pragma once
#include <cairo.h>

// Each answers a new ARGB32 surface the caller destroys.
cairo_surface_t* QxArt_StripBackground();  // 256 x 64
cairo_surface_t* QxArt_StripPictures();    // 6 cells of 22 x 22 in one row: rest, hot, on, on hot, pushed, disabled
cairo_surface_t* QxArt_StripEmblem();      // 22 x 22
