// qxfx's --percent and --tempo-from / --tempo-to: turned into FinalLength as the Time Stretch page
// does, and set on a real filter (the parsing is qxfx's command-line test's).
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "tests/support/effect_rig.h"
#include "tools/qxfx/time_options.h"

namespace {
QxfxTimeOptions Percent(double p) {
  QxfxTimeOptions o;
  o.hasPercent = true;
  o.percent = p;
  return o;
}

QxfxTimeOptions Tempi(double from, double to) {
  QxfxTimeOptions o;
  o.hasTempoFrom = o.hasTempoTo = true;
  o.tempoFrom = from;
  o.tempoTo = to;
  return o;
}

const QxfxEffect kTimeStretch{"time-stretch", u"Time Stretch", CLSID_QxTime, {}};
}  // namespace

TEST(TimeOptions, FinalLengthIsComputedAsThePageDoes) {
  QxfxTimeSetting s;
  std::string error;
  ASSERT_TRUE(QxfxTimeSettingFor(Percent(110), &s, &error));
  EXPECT_EQ(s.finalLength, 11000.0);
  EXPECT_FALSE(s.setsTempo);
  ASSERT_TRUE(QxfxTimeSettingFor(Tempi(120, 110), &s, &error));
  EXPECT_EQ(s.initialTempo, 12000u);
  EXPECT_EQ(s.finalLength, 12000 / (110 * 0.01));
  // The source tempo is kept in truncated hundredths before the division.
  ASSERT_TRUE(QxfxTimeSettingFor(Tempi(99.999, 100), &s, &error));
  EXPECT_EQ(s.initialTempo, 9999u);
  EXPECT_EQ(s.finalLength, 9999.0);

  const QxfxTimeOptions bad[] = {Percent(49.99), Percent(500.01), Tempi(120, 0), Tempi(0, 100), Tempi(600, 600),
                                 Tempi(120, 20)};
  for (const QxfxTimeOptions& o : bad) {
    error.clear();
    EXPECT_FALSE(QxfxTimeSettingFor(o, &s, &error));
    EXPECT_FALSE(error.empty());
  }
  QxfxTimeOptions both = Tempi(120, 110);
  both.hasPercent = true;
  both.percent = 100;
  EXPECT_FALSE(QxfxTimeSettingFor(both, &s, &error));
  QxfxTimeOptions half;
  half.hasTempoFrom = true;
  half.tempoFrom = 120;
  EXPECT_FALSE(QxfxTimeSettingFor(half, &s, &error));
}

TEST(TimeOptions, SetOnATimeStretchFilterOnly) {
  CQxTime* f = NewEffect<CQxTime>();
  QxfxEffectArgs args;
  args.quiet = true;
  args.time = Tempi(120, 110);
  std::string error;
  ASSERT_TRUE(QxfxApplyTimeArgs(static_cast<IBaseFilter*>(f), kTimeStretch, args, &error)) << error;
  TimeParams p;
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 12000 / (110 * 0.01));
  EXPECT_EQ(p.InitialTempo, 12000u);
  EXPECT_EQ(p.InputFormat, 1);
  // Not beside --set FinalLength, and not for another effect.
  args.settings.push_back({"FinalLength", "9000"});
  EXPECT_FALSE(QxfxApplyTimeArgs(static_cast<IBaseFilter*>(f), kTimeStretch, args, &error));
  args.settings.clear();
  const QxfxEffect other{"simple-delay", u"Simple Delay", MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912"), {}};
  EXPECT_FALSE(QxfxApplyTimeArgs(static_cast<IBaseFilter*>(f), other, args, &error));
  f->NonDelegatingRelease();
}
