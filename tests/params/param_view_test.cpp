// The parameter view against every stored value of every field, against what people type, and
// against live effects made from the class table.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/params/param_view.h"

namespace {

// Every stored value of an integer field; whole numbers across a 64-bit float field's range with
// its ends and a few off-grid values.
std::vector<double> StoredValues(const QxParamView& p) {
  std::vector<double> v;
  if (p.Store != QxStoreType::Float64) {
    for (double s = p.StoredMin; s <= p.StoredMax; ++s) v.push_back(s);
    return v;
  }
  const double span = p.StoredMax - p.StoredMin;
  const double stride = span > 1e6 ? std::floor(span / 50000) : 1;
  for (double s = std::ceil(p.StoredMin); s <= p.StoredMax; s += stride) v.push_back(s);
  for (double s : {p.StoredMin, p.StoredMax, p.StoredDefault, 0.66742, 1.4983, 0.7937, 1.25992, 1.0 / 3, 10010.5,
                   std::pow(2.0, 7 / 12.0)})
    if (s >= p.StoredMin && s <= p.StoredMax) v.push_back(s);
  return v;
}

TEST(ParamView, EveryStoredValueRoundTripsThroughNaturalAndText) {
  for (const QxEffectView& e : QxEffectViews())
    for (const QxParamView& p : e.Params)
      for (double s : StoredValues(p)) {
        double back = -12345;
        ASSERT_EQ(QxParamToStored(p, QxParamToNatural(p, s), &back), QxParse::Ok) << p.Name << " " << s;
        ASSERT_EQ(back, s) << e.Name << " " << p.Name;
        const std::string text = QxParamFormat(p, s);
        std::string why;
        ASSERT_EQ(QxParamParse(p, text, &back, &why), QxParse::Ok) << p.Name << " '" << text << "' " << why;
        ASSERT_EQ(back, s) << e.Name << " " << p.Name << " '" << text << "'";
      }
}

struct Typed {
  const char* effect;
  const char* param;
  const char* text;
  QxParse result;
  double stored;
};

TEST(ParamView, ReadsWhatPeopleType) {
  const Typed cases[] = {
      {"simple-delay", "delayout", "-10dB", QxParse::Ok, -100},
      {"simple-delay", "DelayOut", "-inf dB", QxParse::Ok, -800},
      {"simple-delay", "DelayOut", "off", QxParse::Ok, -800},
      {"simple-delay", "DelayOut", "5 dB", QxParse::OutOfRange, 0},
      {"simple-delay", "DelayOut", "-10 Hz", QxParse::Invalid, 0},
      {"simple-delay", "DelayTime", "400ms", QxParse::Ok, 400},
      {"simple-delay", "DelayTime", "0.4 s", QxParse::Ok, 400},
      {"simple-delay", "DelayTime", "400.4", QxParse::Rounded, 400},
      {"simple-delay", "DecayTime", "2s", QxParse::Ok, 20},
      {"simple-delay", "DecayTime", "1500ms", QxParse::Ok, 15},
      {"simple-delay", "DelayNote", "dotted 8th", QxParse::Ok, 11},
      {"simple-delay", "DelayNote", "8th note", QxParse::Ok, 10},
      {"simple-delay", "DelayNote", "Quarter", QxParse::Ok, 13},
      {"simple-delay", "DelayNote", "dotted", QxParse::Invalid, 0},
      {"simple-delay", "DelayNote", "16", QxParse::Ok, 16},
      {"simple-delay", "DelayNote", "18", QxParse::OutOfRange, 0},
      {"simple-delay", "DecayNote", "measures", QxParse::Ok, 18},
      {"simple-delay", "MultipleDelays", "ON", QxParse::Ok, 1},
      {"simple-delay", "MultipleDelays", "maybe", QxParse::Invalid, 0},
      {"simple-delay", "DelayMultiplier", "1.5x", QxParse::Ok, 1500},
      {"reverb", "decaytenths", "2.5 s", QxParse::Ok, 25},
      {"reverb", "ReverbMode", "plate 1", QxParse::Ok, 16},
      {"reverb", "ReflectionStyle", "mode 1", QxParse::Ok, 0},
      {"reverb", "ReflectionStyle", "mode 10", QxParse::Ok, 9},
      {"reverb", "BassFrequency", "5kHz", QxParse::Ok, 5000},
      {"reverb", "BassFrequency", "6kHz", QxParse::OutOfRange, 0},
      {"chorus", "modRate", "0.8 Hz", QxParse::Ok, 800},
      {"chorus", "outDelay", "4.04ms", QxParse::Rounded, 40},
      {"multi-tap-delay", "TAPDELAY[7]", "250 ms", QxParse::Ok, 250},
      {"multi-tap-delay", "modRate", "1.5Hz", QxParse::Ok, 15},
      {"time-stretch", "FinalLength", "105%", QxParse::Ok, 10500},
      {"time-stretch", "FinalLength", "105.125", QxParse::Ok, 10512.5},
      {"time-stretch", "Mode", "speech 2", QxParse::Ok, 7},
      {"time-stretch", "Mode", "a08", QxParse::Ok, 7},
      {"time-stretch", "Mode", "music", QxParse::Invalid, 0},
      {"pitch-shift", "Ratio", "1.5", QxParse::Ok, 1.5},
      {"pitch-shift", "Ratio", "+12st", QxParse::Ok, 2},
      {"pitch-shift", "Ratio", "-1200 cents", QxParse::Ok, 0.5},
      {"pitch-shift", "Cents", "-25.5", QxParse::Ok, -255},
  };
  for (const Typed& c : cases) {
    const QxEffectView* e = QxFindEffectView(c.effect);
    ASSERT_NE(e, nullptr);
    const QxParamView* p = QxFindParam(*e, c.param);
    ASSERT_NE(p, nullptr) << c.param;
    double stored = -12345;
    std::string why;
    EXPECT_EQ(QxParamParse(*p, c.text, &stored, &why), c.result) << c.param << " '" << c.text << "' " << why;
    if (c.result == QxParse::Ok || c.result == QxParse::Rounded) {
      EXPECT_EQ(stored, c.stored) << c.text;
    }
    if (c.result != QxParse::Ok) {
      EXPECT_FALSE(why.empty()) << c.text;
    }
  }
}

IUnknown* MakeEffect(const QxEffectView& e) {
  for (int i = 0; i < g_cTemplates; ++i)
    if (g_Templates[i].IsClassID(e.Clsid)) {
      HRESULT hr = S_OK;
      CUnknown* obj = g_Templates[i].CreateInstance(nullptr, &hr);
      void* u = nullptr;
      if (!obj || FAILED(hr) || FAILED(obj->NonDelegatingQueryInterface(IID_IUnknown, &u))) return nullptr;
      return static_cast<IUnknown*>(u);
    }
  return nullptr;
}

// A fresh effect holds each view's default; setting one field through the view moves that field
// alone, and the record read through the view says the same.
TEST(ParamView, LiveEffectsMatchTheViewFieldByField) {
  for (const QxEffectView& e : QxEffectViews()) {
    IUnknown* fx = MakeEffect(e);
    ASSERT_NE(fx, nullptr) << e.Name;
    std::vector<double> now;
    for (const QxParamView& p : e.Params) {
      double s = -12345;
      ASSERT_EQ(QxParamGetLive(p, fx, &s), S_OK) << p.Name;
      EXPECT_EQ(s, p.StoredDefault) << e.Name << " " << p.Name;
      now.push_back(s);
    }
    for (size_t i = 0; i < e.Params.size(); ++i) {
      const QxParamView& p = e.Params[i];
      const double target = now[i] == p.StoredMax ? p.StoredMin : p.StoredMax;
      ASSERT_TRUE(SUCCEEDED(QxParamSetLive(p, fx, target))) << p.Name;
      now[i] = target;
      for (size_t j = 0; j < e.Params.size(); ++j) {
        double s = -12345;
        QxParamGetLive(e.Params[j], fx, &s);
        EXPECT_EQ(s, now[j]) << e.Name << ": setting " << p.Name << " moved " << e.Params[j].Name;
      }
    }
    fx->Release();
  }
}

TEST(ParamView, RecordFieldsSitAtTheirOffsets) {
  for (const QxEffectView& e : QxEffectViews()) {
    std::vector<unsigned char> record(e.RecordSize, 0);
    for (const QxParamView& p : e.Params) QxParamWriteRecord(p, record.data(), p.StoredMax);
    for (const QxParamView& p : e.Params) EXPECT_EQ(QxParamReadRecord(p, record.data()), p.StoredMax) << p.Name;
  }
}

}  // namespace
