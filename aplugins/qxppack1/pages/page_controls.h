// Small helpers the Pitch Shift and Time Stretch pages share for their trackbars, drop lists and
// edit boxes, in the controls' own messages.
#pragma once
#include "platform/ui/dialog.h"

// Range and value of a trackbar item, without a repaint of its own for the range.
void QxPage_SetTrackRange(HWND dialog, int id, int minValue, int maxValue);
void QxPage_SetTrackValue(HWND dialog, int id, int value);
// A trackbar's WM_HSCROLL: the trackbar's new value after the scroll code, stored in it.
int QxPage_TrackScroll(UINT message, WPARAM wParam, HWND track, int lineStep, int pageStep);
// Fills a drop list with `count` texts, each with its index as item data.
void QxPage_FillList(HWND dialog, int id, const WCHAR* const* texts, int count);
// Selects the item whose data is `data`, searching from the last item down; item 0 when none is.
void QxPage_SelectByData(HWND dialog, int id, LPARAM data);
// The selected item's data; -1 when nothing is selected.
LPARAM QxPage_SelectedData(HWND dialog, int id);
// An item's text (at most size - 1 units).
void QxPage_ItemText(HWND dialog, int id, WCHAR* text, int size);
