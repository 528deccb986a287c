// The Multi-Tap Delay page: the tap graph's echo response and bar geometry, and the page's
// behaviour on the headless backend against a live effect.
#include <gtest/gtest.h>

#include <algorithm>

#include "aplugins/qxppack1/pages/echomt_graph.h"

namespace {
EchomtParams OneTap(int delay, int gain, int feedback) {
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapDelay[0] = delay;
  p.tapGain[0] = gain;
  p.feedback = feedback;
  return p;
}

TEST(TapGraphResponse, EchoesAtMultiplesOfTheDelayTruncatingTowardZero) {
  struct Case {
    const char* name;
    EchomtParams p;
    std::vector<std::pair<int, int>> expect;  // (ms, r[ms])
  } cases[] = {
      {"half feedback halves each echo", OneTap(100, 100, 50), {{100, 5000}, {200, 2500}, {500, 312}, {150, 0}}},
      // -24.3 truncates to -24, not -25; the gain sum 0.3 counts as unity.
      {"negative gain alternates", OneTap(100, -30, 100), {{100, -3000}, {200, 900}, {400, 81}, {500, -24}}},
      {"feedback 0 leaves no echo", OneTap(100, 100, 0), {{100, 0}, {200, 0}}},
  };
  for (auto& c : cases) {
    std::vector<int> r;
    ASSERT_TRUE(QxTapGraph_Response(c.p, 500, &r)) << c.name;
    ASSERT_EQ(r.size(), 501u);
    EXPECT_EQ(r[0], QX_TAPGRAPH_FULL) << c.name;
    for (auto [ms, v] : c.expect) EXPECT_EQ(r[ms], v) << c.name << " at " << ms;
  }
  // Two half-gain taps sum to unity, so feedback 100 keeps the loop at unity.
  EchomtParams two = OneTap(100, 50, 100);
  two.tapCount = 2, two.tapDelay[1] = 200, two.tapGain[1] = 50;
  std::vector<int> r;
  ASSERT_TRUE(QxTapGraph_Response(two, 500, &r));
  EXPECT_EQ(r[100], 5000);
  EXPECT_EQ(r[200], 2500 + 5000);
}

TEST(TapGraphResponse, CancellingTapsWithLargeFeedbackStayAtTheClampToTheEnd) {
  EchomtParams p = OneTap(10, 100, 150);
  p.tapCount = 2, p.tapDelay[1] = 15, p.tapGain[1] = -100;
  std::vector<int> r;
  ASSERT_TRUE(QxTapGraph_Response(p, 5000, &r));
  for (int t = 10; t <= 5000; t += 5) ASSERT_EQ(std::abs(r[t]), QX_TAPGRAPH_FULL) << t;
  const RECT client{0, 0, 400, 200};
  auto bars = QxTapGraph_Bars(p, client);
  auto last = std::find_if(bars.begin(), bars.end(), [](const QxTapBar& b) { return b.ms == 500; });
  ASSERT_NE(last, bars.end());  // range 500 at graphResolution 0
  EXPECT_EQ(last->rect.bottom - last->rect.top, 100) << "full height at the end of the range";
}

TEST(TapGraphBars, GeometryOnTheAxisBeyondTheRangeAndDrawingOrder) {
  const RECT client{0, 0, 400, 200};  // mid 100; bars use columns 1 to 398 for 0..range
  const QxTapGraphFrame f = QxTapGraph_Frame(client);
  struct Case {
    int ms, v;
    RECT want;
  } cases[] = {
      {0, 10000, {1, 0, 2, 100}},        // full height, standing on the axis
      {500, -10000, {398, 101, 399, 201}},  // hangs below the axis
      {250, 1, {199, 99, 200, 100}},     // at least one pixel
      {250, 0, {199, 100, 200, 101}},    // on the axis
      {800, 5000, {636, 50, 637, 100}},  // beyond the range: past the right edge, not held to it
  };
  for (auto& c : cases) {
    RECT r = QxTapGraph_Bar(f, 500, c.ms, c.v);
    EXPECT_TRUE(EqualRect(&r, &c.want)) << c.ms << " " << c.v << ": " << r.left << "," << r.top << ","
                                        << r.right << "," << r.bottom;
  }
  // Three taps, the second current: no echoes at feedback 0, the current tap drawn last.
  EchomtParams p = QX_ECHOMT_DEFAULTS;
  p.tapCount = 3, p.currentTap = 1;
  p.tapDelay[1] = 200, p.tapDelay[2] = 800;
  auto bars = QxTapGraph_Bars(p, client);
  ASSERT_EQ(bars.size(), 3u);
  EXPECT_EQ(bars[0].kind, QxTapBarKind::Tap);
  EXPECT_GT(bars[1].rect.left, client.right);
  EXPECT_EQ(bars[2].kind, QxTapBarKind::CurrentTap);
  EXPECT_EQ(bars[2].ms, 200);
}

}  // namespace
