// Chorus's preset rows in catalogue order; every row keeps the high-cut off at 5000 Hz, the
// feedback phase, bypass off and an unsynced one-measure period.
#include "aplugins/qxppack1/delay/chorus_params.h"
#include "aplugins/qxppack1/pages/string_ids.h"

#define ROW(name, in, dry, wet, size, fb, inv, delay, rate, depth) \
  {name, {in, dry, wet, size, fb, inv, delay, rate, depth, 0, 5000, 0, 0, 18, 1000, 0}}

const QxChorusPreset g_ChorusPresets[QX_CHORUS_PRESET_COUNT] = {
    ROW(IDS_CHORUS_PRESET0 + 0, 0, -60, -44, 3, 0, 0, 400, 800, 3),
    ROW(IDS_CHORUS_PRESET0 + 1, 0, -60, -44, 3, 0, 0, 400, 800, 3),
    ROW(IDS_CHORUS_PRESET0 + 2, 0, -34, -34, 1, 32, 0, 12, 700, 100),
    ROW(IDS_CHORUS_PRESET0 + 4, 0, -57, -57, 1, 70, 0, 50, 2300, 16),
    ROW(IDS_CHORUS_PRESET0 + 5, 0, -49, -57, 1, 50, 0, 8, 500, 75),
    ROW(IDS_CHORUS_PRESET0 + 6, -20, -80, -44, 1, 60, 0, 12, 500, 100),
    ROW(IDS_CHORUS_PRESET0 + 7, 0, -80, -31, 1, 20, 0, 5, 700, 80),
    ROW(IDS_CHORUS_PRESET0 + 8, 0, -44, -31, 1, 0, 0, 6, 200, 75),
    ROW(IDS_CHORUS_PRESET0 + 9, 0, -37, -37, 1, 57, 0, 100, 500, 100),
    ROW(IDS_CHORUS_PRESET0 + 10, 0, -37, -69, 1, 37, 0, 292, 7000, 8),
    ROW(IDS_CHORUS_PRESET0 + 11, 0, -60, -44, 3, 0, 0, 400, 800, 3),
    ROW(IDS_CHORUS_PRESET0 + 12, 0, -60, -60, 2, 15, 0, 300, 500, 8),
    ROW(IDS_CHORUS_PRESET0 + 13, 0, -60, -60, 3, 16, 0, 405, 500, 8),
    ROW(IDS_CHORUS_PRESET0 + 14, 0, -49, -52, 2, 26, 0, 90, 500, 26),
    ROW(IDS_CHORUS_PRESET0 + 15, 0, -49, -77, 2, 37, 0, 292, 2100, 12),
    ROW(IDS_CHORUS_PRESET0 + 16, -20, 0, 0, 2, 0, 1, 1, 100, 100),
    ROW(IDS_CHORUS_PRESET0 + 17, 0, -92, -140, 2, 15, 0, 1000, 6000, 8),
    ROW(IDS_CHORUS_PRESET0 + 18, 0, -92, -60, 1, 0, 0, 1000, 6000, 5),
    ROW(IDS_CHORUS_PRESET0 + 19, 0, -92, -80, 3, 50, 0, 1000, 20000, 1),
    ROW(IDS_CHORUS_PRESET0 + 20, 0, -92, -60, 1, 50, 0, 1000, 20000, 1),
    ROW(IDS_CHORUS_PRESET0 + 21, 0, -92, -140, 1, 60, 0, 1000, 5000, 1),
    ROW(IDS_CHORUS_PRESET0 + 22, 0, -92, -91, 3, 50, 0, 1000, 7000, 1),
    ROW(IDS_CHORUS_PRESET0 + 23, 0, -92, -60, 3, 60, 0, 1000, 5600, 3),
    ROW(IDS_CHORUS_PRESET0 + 3, -20, -31, -31, 1, 90, 0, 8, 500, 75),
};
#undef ROW
