// Pitch Shift's parameters without a graph: setters and their flags, the refusal of unusable
// ratios (set or loaded), the ratio arithmetic and the musical-equivalent text.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "aplugins/qxppack1/pitchtime/pitchs_filter.h"
#include "platform/com/stream.h"
#include "tests/support/effect_rig.h"

namespace {
CQxPitchs* NewPitchs() { return NewEffect<CQxPitchs>(); }

std::vector<int> PostedCodes(HWND w) {
  std::vector<int> codes;
  MSG m;
  while (PeekMessage(&m, w, 0, 0, PM_REMOVE)) codes.push_back(HIWORD(m.wParam));
  return codes;
}

// Preparing a stream takes the snapshot, which clears the changed and rebuild flags.
WAVEFORMATEX Mono16() { return PlainFormat(WAVE_FORMAT_PCM, 1, 16); }

}  // namespace

TEST(PitchsParams, SettersClampSetTheRightFlagsAndActOnlyOnARealChange) {
  CQxPitchs* f = NewPitchs();
  f->SetDirty(false);
  // Consume the construction's flags as a stream would.
  ASSERT_EQ(f->PrepareStream(Mono16()), S_OK);
  EXPECT_FALSE(f->ChangedFlag());
  EXPECT_FALSE(f->RebuildFlag());

  EXPECT_EQ(f->SetSemitones(70), S_OK);
  int32_t v = 0;
  f->GetSemitones(&v);
  EXPECT_EQ(v, 50);
  EXPECT_TRUE(f->ChangedFlag());
  EXPECT_FALSE(f->RebuildFlag());
  EXPECT_TRUE(f->Dirty());
  // Semitones alone change no sound: the ratio the DSP reads stays 1.0.
  double r = 0;
  f->GetRatio(&r);
  EXPECT_EQ(r, 1.0);
  f->SetCents(-5000);
  f->GetCents(&v);
  EXPECT_EQ(v, -1000);
  EXPECT_EQ(f->SetInitialTime(1e12), S_OK);
  double t = 0;
  f->GetInitialTime(&t);
  EXPECT_EQ(t, QX_PITCHS_MAX_TIME);

  // Accuracy, PreserveDuration, Mode and AntiAlias rebuild; Ratio does not.
  struct {
    HRESULT (CQxPitchsTransform::*set)(int32_t);
    int32_t value;
  } rebuilders[] = {{&CQxPitchsTransform::SetAccuracy, 7}, {&CQxPitchsTransform::SetPreserveDuration, 1},
                    {&CQxPitchsTransform::SetMode, 4}, {&CQxPitchsTransform::SetAntiAlias, 1}};
  for (auto& c : rebuilders) {
    f->PrepareStream(Mono16());
    EXPECT_EQ((f->*c.set)(c.value), S_OK);
    EXPECT_TRUE(f->RebuildFlag());
    f->PrepareStream(Mono16());
    // The same value again is no change at all.
    EXPECT_EQ((f->*c.set)(c.value), S_OK);
    EXPECT_FALSE(f->ChangedFlag());
  }
  EXPECT_EQ(f->SetRatio(1.5), S_OK);
  EXPECT_TRUE(f->ChangedFlag());
  EXPECT_FALSE(f->RebuildFlag());
  f->ReleaseStream();
  f->NonDelegatingRelease();
}

TEST(PitchsParams, ARatioOfZeroOrLessOrNotANumberIsRefusedAndChangesNothing) {
  CQxPitchs* f = NewPitchs();
  f->SetRatio(1.25);
  for (double bad : {0.0, -0.0, -2.0, std::numeric_limits<double>::quiet_NaN(),
                     std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(f->SetRatio(bad), E_INVALIDARG) << bad;
    PitchParams p{};
    f->GetParams(&p);
    p.Ratio = bad;
    p.Semitones = 3;
    EXPECT_EQ(f->SetParams(&p), E_INVALIDARG) << bad;
  }
  PitchParams now{};
  f->GetParams(&now);
  EXPECT_EQ(now.Ratio, 1.25);
  EXPECT_EQ(now.Semitones, 0);  // a refused record is not stored in part
  f->NonDelegatingRelease();
}

TEST(PitchsParams, SetParamsStoresClampsAndReportsAClamp) {
  CQxPitchs* f = NewPitchs();
  PitchParams p{-60, 1200, 9, 1, 44, 7, 0.8, 1, 3, -5.0};
  EXPECT_EQ(f->SetParams(&p), E_FAIL);
  PitchParams got{};
  f->GetParams(&got);
  EXPECT_EQ(got.Semitones, -50);
  EXPECT_EQ(got.Cents, 1000);
  EXPECT_EQ(got.InitialTime, 0.0);
  // Accuracy, Mode and the rest go in unchecked.
  EXPECT_EQ(got.Accuracy, 9);
  EXPECT_EQ(got.Mode, 44);
  EXPECT_EQ(got.Ratio, 0.8);
  EXPECT_TRUE(f->RebuildFlag());
  PitchParams ok{5, 0, 2, 0, 0, 0, 1.33, 0, 0, 100.0};
  EXPECT_EQ(f->SetParams(&ok), S_OK);
  f->NonDelegatingRelease();
}

TEST(PitchsParams, AStoredRatioOfZeroIsRefusedLikeASetOneAndThePagesStillHearOfTheLoad) {
  CQxPitchs* b = NewPitchs();
  HWND w = CreateWindowHandle();
  b->RegisterWindow(w, 3, 1);
  b->LoadPreset(3);
  CMemoryStream* saved = CMemoryStream::Create();
  ASSERT_EQ(b->Save(saved, TRUE), S_OK);
  std::vector<BYTE> zero = saved->Bytes();
  const double z = 0.0;
  std::memcpy(zero.data() + 20 + 24, &z, 8);
  CMemoryStream* zs = CMemoryStream::Create(zero);
  PostedCodes(w);
  EXPECT_EQ(b->Load(zs), E_INVALIDARG);
  PitchParams got{};
  b->GetParams(&got);
  EXPECT_EQ(got.Ratio, 1.4983);  // the stored value, not 2^(7/12)
  EXPECT_EQ(PostedCodes(w), std::vector<int>{100});
  saved->Release();
  zs->Release();
  b->NonDelegatingRelease();
  DestroyWindow(w);
}

TEST(PitchsParams, EffectiveRatioComesFromAWholeNumberRate) {
  EXPECT_EQ(QxPitchs_VirtualRate(44100, 1.0), 44100u);
  EXPECT_EQ(QxPitchs_ResampleRatio(44100, 1.0, false), 1.0);
  const double r7 = QxPitchs_RatioFor(7, 0);
  EXPECT_EQ(QxPitchs_VirtualRate(44100, r7), 29433u);  // 29433.4..., truncated
  EXPECT_EQ(QxPitchs_ResampleRatio(44100, r7, false), 44100.0 / 29433.0);
  EXPECT_EQ(QxPitchs_ResampleRatio(44100, 0.25, false), 0.25);
  EXPECT_EQ(QxPitchs_ResampleRatio(44100, 0.25, true), 0.5);
  EXPECT_EQ(QxPitchs_ResampleRatio(8000, 8.0, true), 8.0);  // no upper bound
  // A rate below the ratio cannot reach a division by zero.
  EXPECT_EQ(QxPitchs_VirtualRate(8000, 1e9), 1u);
  EXPECT_DOUBLE_EQ(QxPitchs_RatioFor(0, 1000), std::pow(2.0, 1.0 / 12.0));
  EXPECT_DOUBLE_EQ(QxPitchs_RatioFor(-12, 0), 0.5);
}

TEST(PitchsParams, MusicalEquivalentText) {
  struct Case {
    int32_t semitones, cents;
    const char16_t* text;
  } cases[] = {
      {0, 0, u"  "},        {0, 999, u"  "},         {0, -999, u"  "},      {1, -1000, u"  "},
      {-1, 1000, u"  "},    {0, 1000, u"Up Minor 2nd  "},  {0, -1000, u"Down Minor 2nd  "},
      {7, 0, u"Up 5th  "},   {-7, 0, u"Down 5th  "},   {12, 0, u"Up Octave  "}, {4, 250, u"Up Major 3rd +"},
      {-4, -250, u"Down Major 3rd -"}, {-4, 250, u"Down Major 3rd +"}, {5, 1000, u"Up Tritone  "},
      {13, 0, u"Up Minor 2nd  "}, {-50, -1000, u"Down Minor 3rd  "},
  };
  // "%s %s %c": a blank sign still stands after its own blank.
  for (const Case& c : cases)
    EXPECT_EQ(QxPitchs_MusicalEquivalent(c.semitones, c.cents), c.text) << c.semitones << "/" << c.cents;
  const QxPitchsInterval blank = QxPitchs_MusicalParts(0, 10);
  EXPECT_EQ(blank.Sign, u'\0');
  const QxPitchsInterval up = QxPitchs_MusicalParts(0, 1000);
  EXPECT_EQ(up.Sign, u' ');
}
