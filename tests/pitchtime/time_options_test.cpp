// qxfx's --percent and --tempo-from / --tempo-to: taken out of the command line, turned into
// FinalLength as the Time Stretch page does, and set on a real filter.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "tools/qxfx/time_options.h"

namespace {
// argv as main() gets it, with the null after the last word.
struct Argv {
  std::vector<std::string> words;
  std::vector<char*> ptrs;
  explicit Argv(std::vector<std::string> w) : words(std::move(w)) {
    for (std::string& s : words) ptrs.push_back(s.data());
    ptrs.push_back(nullptr);
  }
  int argc() const { return static_cast<int>(words.size()); }
};

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

TEST(TimeOptions, TakenOutOfTheCommandLineAndSetOnTheFilter) {
  Argv a({"qxfx", "process", "in.wav", "--tempo-from", "120", "out.wav", "--tempo-to=110", "time-stretch", "-q"});
  int argc = a.argc();
  std::string error;
  ASSERT_TRUE(QxfxTakeTimeOptions(&argc, a.ptrs.data(), &error)) << error;
  ASSERT_EQ(argc, 6);
  std::vector<std::string> rest(a.ptrs.begin(), a.ptrs.begin() + argc);
  EXPECT_EQ(rest, (std::vector<std::string>{"qxfx", "process", "in.wav", "out.wav", "time-stretch", "-q"}));
  EXPECT_EQ(a.ptrs[argc], nullptr);

  HRESULT hr = S_OK;
  auto* f = static_cast<CQxTime*>(CQxTime::CreateInstance(nullptr, &hr));
  f->NonDelegatingAddRef();
  QxfxCommandLine cl;
  cl.quiet = true;
  ASSERT_TRUE(QxfxApplyTimeOptions(static_cast<IBaseFilter*>(f), kTimeStretch, cl, &error)) << error;
  TimeParams p;
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 12000 / (110 * 0.01));
  EXPECT_EQ(p.InitialTempo, 12000u);
  EXPECT_EQ(p.InputFormat, 1);
  // Not beside --set FinalLength, and not for another effect.
  cl.settings.push_back({"FinalLength", "9000"});
  EXPECT_FALSE(QxfxApplyTimeOptions(static_cast<IBaseFilter*>(f), kTimeStretch, cl, &error));
  cl.settings.clear();
  const QxfxEffect other{"simple-delay", u"Simple Delay", MakeGuid("54F29260-79B1-11D0-AEBC-00A0C9053912"), {}};
  EXPECT_FALSE(QxfxApplyTimeOptions(static_cast<IBaseFilter*>(f), other, cl, &error));
  f->NonDelegatingRelease();

  Argv b({"qxfx", "--percent"});
  argc = b.argc();
  EXPECT_FALSE(QxfxTakeTimeOptions(&argc, b.ptrs.data(), &error));
  Argv c({"qxfx", "--percent=ten"});
  argc = c.argc();
  EXPECT_FALSE(QxfxTakeTimeOptions(&argc, c.ptrs.data(), &error));
  EXPECT_NE(error.find("ten"), std::string::npos);
}
