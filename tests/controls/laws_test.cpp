// The shared value laws: where values land on a track and what scroll codes do to them.
#include <gtest/gtest.h>

#include "kernel/controls/control_laws.h"

TEST(ControlLaws, LevelCurvePointsAndPlacement) {
  EXPECT_EQ(QxLevelCurve(30), 250);
  EXPECT_EQ(QxLevelCurve(-45), -325);
  EXPECT_EQ(QxLevelCurve(1500), 1500);
  QxValueTrack t{-800, 0, QxLevelCurve, QxLevelCurveInverse};
  QxTrackRecompute(t);
  EXPECT_EQ(QxTrackValueToOffset(t, -800, 100), 0);
  EXPECT_EQ(QxTrackValueToOffset(t, 0, 100), 100);
  EXPECT_EQ(QxTrackOffsetToValue(t, 0, 100), -800);
  EXPECT_EQ(QxTrackOffsetToValue(t, 100, 100), 0);
  QxValueTrack flat{5, 5};
  EXPECT_EQ(QxTrackValueToOffset(flat, 5, 100), 0);
}

TEST(ControlLaws, OctaveDoublingsTakeEqualTravel) {
  QxValueTrack t{10, 5000, QxOctaveCurve, QxOctaveCurveInverse};
  QxTrackRecompute(t);
  const int a = QxTrackValueToOffset(t, 20, 1000), b = QxTrackValueToOffset(t, 40, 1000),
            c = QxTrackValueToOffset(t, 80, 1000);
  EXPECT_EQ(b - a, c - b);
}

TEST(ControlLaws, ScrollCodes) {
  using L = QxScrollLaw;
  struct Case {
    L law;
    int code, value, lo, hi, line, page;
    bool ctrl;
    int want;
  } cases[] = {
      {L::Fader, 2, -400, -800, 0, 1, 10, true, -300},   // Ctrl: ten pages
      {L::Fader, 6, -400, -800, 0, 1, 10, false, 0},     // Home: the maximum
      {L::Fader, 6, 5, -10, 10, 1, 0, false, 0},         // straddling: to 0
      {L::Fader, 6, 5, -10, 10, 1, 0, true, 10},         // with Ctrl: the maximum
      {L::Fader, 3, 0, 0, 100, 1, 0, false, 0},          // page 0 becomes 10, clamped
      {L::TrackbarHorizontal, 3, 50, 0, 100, 1, 7, false, 57},
      {L::TrackbarHorizontal, 6, 50, 0, 100, 1, 7, false, 0},
      {L::TrackbarVertical, 6, 5, -10, 10, 1, 0, false, 10},
      {L::SpinnerVertical, 6, 5, -10, 10, 1, 0, false, 0},
      {L::SpinnerVertical, 4, 5, -10, 10, 1, 0, false, 5},
  };
  for (const Case& c : cases)
    EXPECT_EQ(QxScrollValue(c.law, c.code, c.value, c.lo, c.hi, c.line, c.page, c.ctrl), c.want)
        << "code " << c.code << " value " << c.value;
}
