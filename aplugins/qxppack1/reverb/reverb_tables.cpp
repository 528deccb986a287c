// Reverb's data: the 19 reverberation modes, the 10 early-reflection styles, their list and
// automation names, and the 13 factory presets.
#include "aplugins/qxppack1/reverb/reverb_params.h"
#include "aplugins/qxppack1/pages/string_ids.h"

// Row 6, comb 6 (3901.707 ms) is meant: with any decay its gain is nearly zero, one faint late echo.
const ReverbModeRow g_ReverbModes[QX_REVERB_MODE_COUNT] = {
    {10, {23.583, 47.049, 25.481, 27.493, 29.67, 34.518, 32.056, 37.317, 40.358, 19.941}},
    {8, {23.161, 18.481, 20.611, 16.035, 26.45, 29.281, 12.957, 33.46, 8.812, 9.9256}},
    {10, {53.703, 67.624, 41.051, 72.937, 84.262, 49.613, 45.85, 57.837, 62.5, 78.724}},
    {10, {13.453, 24.966, 28.415, 12.028, 15.817, 17.836, 10.72, 19.719, 9.439, 22.011}},
    {10, {54.208, 28.707, 21.029, 49.33, 44.418, 35.918, 12.332, 66.457, 40.313, 60.051}},
    {10, {70.539, 46.457, 52.802, 39.727, 76.939, 58.518, 64.33, 31.62, 90.769, 83.537}},
    {10, {46.463, 89.887, 53.024, 58.824, 83.067, 70.527, 3901.707, 76.433, 64.719, 31.627}},
    {9, {25.037, 34.831, 29.502, 37.527, 32.139, 22.731, 40.532, 43.812, 47.07, 9.958}},
    {10, {32.963, 35.329, 44.227, 38.224, 62.813, 30.368, 41.467, 47.525, 51.611, 56.539}},
    {10, {13.407, 24.354, 11.88, 10.291, 4.527, 15.213, 20.313, 8.519, 17.221, 6.513}},
    {10, {31.71, 21.921, 5.019, 27.327, 11.403, 16.029, 6.604, 9.733, 8.169, 13.309}},
    {10, {13.319, 20.32, 12.034, 10.609, 4.697, 14.75, 17.036, 9.106, 6.564, 7.949}},
    {10, {21.096, 66.413, 28.715, 49.337, 44.433, 35.993, 12.339, 40.301, 54.257, 60.013}},
    {10, {41.005, 45.815, 49.637, 53.795, 57.812, 62.504, 67.637, 72.921, 78.721, 84.212}},
    {10, {37.051, 45.853, 62.817, 53.717, 57.815, 17.296, 67.611, 72.953, 78.716, 84.214}},
    {9, {50.139, 62.811, 53.916, 25.834, 17.235, 67.81, 73.626, 93.927, 84.219, 84.295}},
    {9, {31.737, 15.013, 11.528, 36.037, 19.131, 5.439, 9.41, 26.433, 7.437, 9.904}},
    {10, {3.101, 18.37, 12.86, 11.063, 5.027, 15.513, 6.544, 9.539, 21.734, 7.924}},
    {10, {29.809, 12.764, 49.653, 20.817, 25.333, 43.015, 15.957, 4.613, 9.111, 36.519}},
};

const ReflectionRow g_ReflectionStyles[QX_REFLECTION_STYLE_COUNT] = {
    {{6.113, 17.041, 29.231}, {46, -60, 21}, {-72, 71, -6}},
    {{8.213, 20.043, 53.213}, {56, -60, 18}, {70, -70, 16}},
    {{11.057, 17.049, 29.455}, {-47, 60, 28}, {-76, 100, 35}},
    {{16.011, 30.058, 55.013}, {79, -80, 40}, {64, -100, -26}},
    {{20.013, 29.021, 49.014}, {100, -50, 40}, {25, -29, -25}},
    {{36.501, 47.132, 62.022}, {100, -50, 40}, {25, -29, -25}},
    {{8.213, 20.043, 53.213}, {56, -60, 18}, {50, 70, 26}},
    {{8.213, 20.043, 53.213}, {56, -60, 18}, {-50, -70, -26}},
    {{16.011, 30.058, 55.013}, {79, -80, 40}, {80, 90, 25}},
    {{16.011, 30.058, 55.013}, {79, -80, 40}, {-80, -90, -25}},
};

const WCHAR* const g_ReverbModeNames[QX_REVERB_MODE_COUNT] = {
    u"Rich hall",          u"Wide open hall",  u"Concert hall",      u"Deep hall",
    u"Long hall",          u"Medium hall 1",   u"Medium hall 2",     u"Warm space",
    u"Cavernous space",    u"Bright corridor", u"Bright small room", u"Bright medium room",
    u"Medium room",        u"Subtle ambience", u"Live ambience",     u"Warm ambience",
    u"Plate 1",            u"Plate 2, ringy",  u"Metal tank",
};

// Two spaces after "Mode n" line the list up in the page's font.
const WCHAR* const g_ReflectionStyleNames[QX_REFLECTION_STYLE_COUNT] = {
    u"Mode 1  (6  ms)",
    u"Mode 2  (8  ms)",
    u"Mode 3  (10 ms)",
    u"Mode 4  (16 ms)",
    u"Mode 5  (20 ms)",
    u"Mode 6  (36 ms)",
    u"Mode 7  (8  ms, pan right)",
    u"Mode 8  (8  ms, pan left)",
    u"Mode 9  (16 ms, pan right)",
    u"Mode 10 (16 ms, pan left)",
};

// Fields in record order: dry, reverb, early, mode, style, decay, pre-delay, bass on, bass Hz,
// high on, high Hz, bypass. Some preset names match a mode they do not use; that is intended.
const QxReverbPreset g_ReverbPresets[QX_REVERB_PRESET_COUNT + 1] = {
    {IDS_REVERB_PRESET0 + 0, {0, -350, -200, 0, 3, 25, 30, 1, 20, 1, 12000, 0}},
    {IDS_REVERB_PRESET0 + 1, {0, -350, -200, 0, 3, 25, 30, 1, 20, 1, 12000, 0}},
    {IDS_REVERB_PRESET0 + 2, {0, -350, -200, 0, 3, 25, 30, 1, 20, 1, 12000, 0}},
    {IDS_REVERB_PRESET0 + 3, {0, -240, -200, 8, 5, 30, 70, 1, 20, 1, 7000, 0}},
    {IDS_REVERB_PRESET0 + 4, {0, -250, -200, 10, 1, 6, 1, 1, 20, 1, 5000, 0}},
    {IDS_REVERB_PRESET0 + 5, {0, -350, -300, 4, 2, 25, 60, 1, 20, 1, 5000, 0}},
    {IDS_REVERB_PRESET0 + 6, {0, -300, -300, 2, 1, 12, 5, 1, 20, 1, 5000, 0}},
    {IDS_REVERB_PRESET0 + 7, {0, -200, -800, 13, 0, 5, 1, 1, 20, 1, 5000, 0}},
    {IDS_REVERB_PRESET0 + 8, {0, -160, -200, 18, 5, 25, 10, 1, 400, 1, 3000, 0}},
    {IDS_REVERB_PRESET0 + 9, {0, -350, -200, 16, 3, 20, 15, 1, 20, 0, 5000, 0}},
    {IDS_REVERB_PRESET0 + 10, {0, -160, -200, 18, 3, 20, 15, 1, 20, 1, 10000, 0}},
    {IDS_REVERB_PRESET0 + 11, {0, -240, -200, 2, 1, 10, 10, 1, 20, 1, 8000, 0}},
    {IDS_REVERB_PRESET0 + 12, {0, -418, -300, 4, 5, 50, 45, 1, 100, 1, 10000, 0}},
    {0, {}},  // closes the table
};
const uint32_t g_ReverbPresetCount = QX_REVERB_PRESET_COUNT;
