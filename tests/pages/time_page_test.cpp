// The Time Stretch page: the typed-time reader and its errors, FinalLength from each input form,
// and the page over a real transform: the labels and texts per form, with and without an input
// pin, and the edits' conversions including the infinities the setter clamps.
#include <cmath>

#include "aplugins/qxppack1/module/module_api.h"
#include "aplugins/qxppack1/pages/time_page.h"
#include "aplugins/qxppack1/pages/time_text.h"
#include "aplugins/qxppack1/pitchtime/time_transform.h"
#include "tests/pages/page_logic_rig.h"

namespace {
TEST(TimeText, ClockReader) {
  const struct {
    const char16_t* text;
    BOOL ok;
    double h, m, s, ms;
  } rows[] = {
      {u"1:02:03.5", TRUE, 1, 2, 3, 500}, {u"90", TRUE, 0, 0, 90, 0},      {u"1:30", TRUE, 0, 1, 30, 0},
      {u"1.001", TRUE, 0, 0, 1, 1},       {u" \t1,000.25", TRUE, 0, 0, 1000, 250},
      {u"-5", TRUE, 0, 0, -5, 0},         {u"", TRUE, 0, 0, 0, 0},
      {u"1:2:3:4", FALSE, 0, 0, 0, 0},    {u"1.2.3", FALSE, 0, 0, 0, 0},    {u"1.5:3", FALSE, 0, 0, 0, 0},
  };
  for (const auto& r : rows) {
    QxClockTime t;
    ASSERT_EQ(QxParseClockText(r.text, &t), r.ok);
    if (!r.ok) continue;
    EXPECT_EQ(t.hours, r.h);
    EXPECT_EQ(t.minutes, r.m);
    EXPECT_EQ(t.seconds, r.s);
    EXPECT_EQ(t.ms, r.ms);
  }
}

TEST(TimeText, FinalLengthFromEachForm) {
  TimeParams p{10000.0, 0, 12000, 2646000.0, 0, 0};
  const struct {
    int32_t format;
    const char16_t* text;
    uint32_t rate;
    double length;
  } rows[] = {
      {QX_TIME_PERCENT, u"110", 44100, 11000.0}, {QX_TIME_TEMPO, u"60", 44100, 20000.0},
      {QX_TIME_CLOCK, u"2:00", 44100, 20000.0},  {QX_TIME_CLOCK, u"2:00", 0, 1.0 / 2646000.0 * 10000.0},
  };
  for (const auto& r : rows) {
    double length = 0;
    ASSERT_TRUE(QxTimeFinalFromText(r.text, r.format, p, r.rate, &length));
    EXPECT_DOUBLE_EQ(length, r.length) << r.format;
  }
  double length = 0;
  EXPECT_FALSE(QxTimeFinalFromText(u"1:2:3:4", QX_TIME_CLOCK, p, 44100, &length));
  EXPECT_TRUE(QxTimeFinalFromText(u"0", QX_TIME_TEMPO, p, 44100, &length));
  EXPECT_TRUE(std::isinf(length));
}

class TimePage : public PageLogicTest<CQxTimePageLogic, CQxTimeTransform> {
 protected:
  double Final() {
    double v = 0;
    effect.GetFinalLength(&v);
    return v;
  }
};

TEST_F(TimePage, LabelsAndTextsPerForm) {
  effect.rate = 44100;
  effect.SetFinalLength(11000.0);
  const struct {
    int32_t format;
    const char16_t *initialLabel, *rangeLabel, *initial, *final;
    bool initialEnabled;
  } rows[] = {
      {QX_TIME_PERCENT, u"Unavailable with Percentage", u"&Final Percentage (50.00 to 500.00 %):", u"0", u"110.00", false},
      {QX_TIME_TEMPO, u"&Initial Tempo (bpm):", u"&Final Tempo (240.00 to 24.00 bpm):", u"120.00", u"109.09", true},
      {QX_TIME_CLOCK, u"&Initial Time (hr:mn:sc.xxx):", u"&Final Time (00:00:30.000 to 00:05:00.000):",
       u"00:01:00.000", u"00:01:06.000", true},
  };
  Open(QxTimePage_Template());
  for (const auto& r : rows) {
    Pick(IDC_TIME_FORMAT, r.format);
    int32_t format = -1;
    effect.GetInputFormat(&format);
    EXPECT_EQ(format, r.format);
    EXPECT_EQ(Text(IDC_TIME_INITIAL_LABEL), r.initialLabel);
    EXPECT_EQ(Text(IDC_TIME_FINAL_LABEL), r.rangeLabel);
    EXPECT_EQ(Text(IDC_TIME_INITIAL), r.initial);
    EXPECT_EQ(Text(IDC_TIME_FINAL), r.final);
    EXPECT_EQ(Enabled(IDC_TIME_INITIAL), r.initialEnabled);
    EXPECT_EQ(Text(IDC_TIME_PERCENT), u"110.00 %");
  }
}

TEST_F(TimePage, TimeFormNeedsAnInputPin) {
  effect.SetInputFormat(QX_TIME_CLOCK);
  Open(QxTimePage_Template());
  EXPECT_EQ(Text(IDC_TIME_FINAL_LABEL), u"Need input pin");
  EXPECT_EQ(Text(IDC_TIME_FINAL), u"00:00:00.000");
  EXPECT_EQ(Text(IDC_TIME_INITIAL), u"00:00:00.000");
  Type(IDC_TIME_INITIAL, u"5:00");  // without a rate the initial time becomes 0
  double initial = -1;
  effect.GetInitialTime(&initial);
  EXPECT_EQ(initial, 0.0);
}

TEST_F(TimePage, TypedValuesBecomeTheFinalLength) {
  effect.rate = 44100;
  effect.SetInputFormat(QX_TIME_TEMPO);
  effect.SetFinalLength(10001.0);
  Open(QxTimePage_Template());
  Command(IDC_TIME_FINAL, EN_KILLFOCUS);
  EXPECT_EQ(Final(), 10001.0);  // left untouched, the rounded "119.99" is not read back
  Type(IDC_TIME_FINAL, u"0");  // a final tempo of 0 divides by zero; the setter clamps the infinity
  EXPECT_EQ(Final(), 50000.0);
  EXPECT_EQ(Text(IDC_TIME_PERCENT), u"500.00 %");
  Type(IDC_TIME_FINAL, u"240");
  EXPECT_EQ(Final(), 5000.0);
  Type(IDC_TIME_INITIAL, u"90.5");
  uint32_t tempo = 0;
  effect.GetInitialTempo(&tempo);
  EXPECT_EQ(tempo, 9050u);
  EXPECT_EQ(Text(IDC_TIME_FINAL), u"181.00");

  Pick(IDC_TIME_FORMAT, QX_TIME_CLOCK);
  Type(IDC_TIME_FINAL, u"1:2:3:4");  // not a time: nothing changes and the text comes back
  EXPECT_EQ(Final(), 5000.0);
  EXPECT_EQ(Text(IDC_TIME_FINAL), u"00:00:30.000");
  Type(IDC_TIME_FINAL, u"1:30");
  EXPECT_EQ(Final(), 15000.0);
  Pick(IDC_TIME_MODE, 18);
  int32_t mode = 0;
  effect.GetMode(&mode);
  EXPECT_EQ(mode, 18);
}

// The page as a host gets it: named by the filter, made by the class table, in a property frame.
class TimeFromTable : public EffectPageTest<IQxTimeProp> {};

TEST_F(TimeFromTable, OpensForTheFilterAndFollowsTheInputForm) {
  Open(CLSID_QxTime, IID_IQxTimeProp);
  EXPECT_EQ(Text(IDC_TIME_FINAL), u"100.00");
  Pick(IDC_TIME_FORMAT, QX_TIME_CLOCK);
  EXPECT_EQ(Get(&IQxTimeProp::GetInputFormat), QX_TIME_CLOCK);
  EXPECT_EQ(Text(IDC_TIME_FINAL_LABEL), u"Need input pin");
  Scroll(WM_HSCROLL, IDC_TIME_FINAL_TRACK, QX_SCROLL_PAGEDOWN);
  EXPECT_EQ(Text(IDC_TIME_PERCENT), u"101.00 %");
  EXPECT_EQ(Position(IDC_TIME_FINAL_TRACK), 100);  // the range's top, 40000, is beyond 16 bits
}
}  // namespace
