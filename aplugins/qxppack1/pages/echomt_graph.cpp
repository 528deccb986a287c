// The tap graph's arithmetic: the echo response at 1 ms steps and the geometry of its bars.
// Everything is integer and truncates toward zero, so a given setting always draws the same bars.
#include "aplugins/qxppack1/pages/echomt_graph.h"

#include <algorithm>
#include <cstdint>
#include <new>

namespace {
constexpr int kRangesMs[] = {500, 1000, 3000, 5000};

int TapsInUse(const EchomtParams& p) { return std::clamp(p.tapCount, 0, QX_ECHOMT_TAPS); }
}  // namespace

int QxTapGraph_RangeMs(int graphResolution) { return kRangesMs[std::clamp(graphResolution, 0, 3)]; }

bool QxTapGraph_Response(const EchomtParams& p, int rangeMs, std::vector<int>* r) {
  if (!r || rangeMs < 0) return false;
  try {
    r->assign(static_cast<size_t>(rangeMs) + 1, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  int* out = r->data();
  out[0] = QX_TAPGRAPH_FULL;
  const int taps = TapsInUse(p);
  // The loop gain is normalised by the summed tap gains, as the engine does; cancelling taps
  // count as unity so that the graph never divides by a small number.
  double sum = 0.0;
  for (int i = 0; i < taps; ++i) sum += p.tapGain[i] / 100.0;
  if (sum < 1.0) sum = 1.0;
  const int64_t scale = static_cast<int64_t>(p.feedback * 100.0 / sum);
  for (int t = 1; t <= rangeMs; ++t) {
    int64_t a = 0;
    for (int i = 0; i < taps; ++i)
      if (p.tapDelay[i] <= t && p.tapDelay[i] >= 0)
        a += static_cast<int64_t>(out[t - p.tapDelay[i]]) * p.tapGain[i] / 100;
    out[t] = static_cast<int>(std::clamp<int64_t>(a * scale / 10000, -QX_TAPGRAPH_FULL, QX_TAPGRAPH_FULL));
  }
  return true;
}

QxTapGraphFrame QxTapGraph_Frame(const RECT& client) {
  QxTapGraphFrame f{};
  f.client = client;
  f.axisX = client.left;
  f.mid = (client.bottom - client.top) / 2;
  f.left = client.left + 1;
  f.right = client.right - 1;
  return f;
}

int QxTapGraph_Column(const QxTapGraphFrame& f, int rangeMs, int ms) {
  if (rangeMs <= 0) return f.left;
  return f.left + static_cast<int>(static_cast<int64_t>(f.right - f.left - 1) * ms / rangeMs);
}

RECT QxTapGraph_Bar(const QxTapGraphFrame& f, int rangeMs, int ms, int v) {
  const int x = QxTapGraph_Column(f, rangeMs, ms);
  const int top = f.client.top, bottom = f.client.bottom, mid = f.mid;
  if (v == 0) return RECT{x, mid, x + 1, mid + 1};
  if (v > 0) {
    const int h = std::max(1, static_cast<int>(static_cast<int64_t>(mid) * v / QX_TAPGRAPH_FULL));
    return RECT{x, mid - h + top, x + 1, mid + top};
  }
  const int h = std::max(1, static_cast<int>(static_cast<int64_t>(bottom - mid) * -v / QX_TAPGRAPH_FULL));
  return RECT{x, mid + 1 + top, x + 1, mid + 1 + top + h};
}

std::vector<QxTapBar> QxTapGraph_Bars(const EchomtParams& p, const RECT& client) {
  const QxTapGraphFrame f = QxTapGraph_Frame(client);
  const int range = QxTapGraph_RangeMs(p.graphResolution);
  std::vector<QxTapBar> bars;
  std::vector<int> r;
  if (QxTapGraph_Response(p, range, &r))
    for (int t = 1; t <= range; ++t)
      if (r[t] != 0) bars.push_back({QxTapGraph_Bar(f, range, t, r[t]), QxTapBarKind::Echo, t});
  const int taps = TapsInUse(p);
  auto tapBar = [&](int i, QxTapBarKind kind) {
    bars.push_back({QxTapGraph_Bar(f, range, p.tapDelay[i], p.tapGain[i] * 100), kind, p.tapDelay[i]});
  };
  for (int i = 0; i < taps; ++i)
    if (i != p.currentTap) tapBar(i, QxTapBarKind::Tap);
  if (p.currentTap >= 0 && p.currentTap < taps) tapBar(p.currentTap, QxTapBarKind::CurrentTap);
  return bars;
}
