// The Multi-Tap Delay page's tap graph without a window: the echo response that the taps and the
// feedback make, at 1 ms steps, and the rectangle of every bar in the graph's client area.
#pragma once
#include <vector>

#include "aplugins/qxppack1/delay/echomt_params.h"
#include "platform/ui/window.h"

// 100 % in the response and in a bar's value.
inline constexpr int QX_TAPGRAPH_FULL = 10000;

// Milliseconds the graph spans for a graphResolution value (0 to 3; others are held to that).
int QxTapGraph_RangeMs(int graphResolution);

// The echo response r[0..rangeMs] of an impulse at 0 through the taps in use and the feedback,
// r[0] being the impulse itself (QX_TAPGRAPH_FULL); each later entry is held to -10000..10000.
// Integer arithmetic that truncates toward zero, as the page has always drawn it; pan, low pass and
// modulation play no part. FALSE when the array cannot be had.
bool QxTapGraph_Response(const EchomtParams& p, int rangeMs, std::vector<int>* r);

// Where the plot lies in a client rectangle: the two axes stand at column `axisX` and row `mid`,
// and bars use the columns from `left` to `right` (one pixel in from each side).
struct QxTapGraphFrame {
  RECT client;
  int axisX, mid;
  int left, right;  // client edges moved in by one pixel
};
QxTapGraphFrame QxTapGraph_Frame(const RECT& client);

// The column of a time in milliseconds; a time beyond the range lies beyond the right edge.
int QxTapGraph_Column(const QxTapGraphFrame& f, int rangeMs, int ms);
// The one-pixel-wide bar of value `v` (QX_TAPGRAPH_FULL is 100 %) at `ms`: standing on the axis
// when positive, hanging below it when negative, one pixel on it for 0.
RECT QxTapGraph_Bar(const QxTapGraphFrame& f, int rangeMs, int ms, int v);

enum class QxTapBarKind { Echo, Tap, CurrentTap };
struct QxTapBar {
  RECT rect;
  QxTapBarKind kind;
  int ms;  // where it stands in time
};
// Every bar in drawing order: the echoes, the taps in use but the current one, the current tap
// last so it stays on top. Echoes are left out when the response cannot be had.
std::vector<QxTapBar> QxTapGraph_Bars(const EchomtParams& p, const RECT& client);
