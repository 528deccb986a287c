// Time Stretch's parameters without a stream: clamps and change flags of the setters, what the
// engine's snapshot sees, the persistent form with its older scaled version, presets and windows.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "platform/com/stream.h"

namespace {
constexpr GUID kCurrentTag = MakeGuid("5FF5B4A4-858F-11D0-AEBC-00A0C9053912");
constexpr GUID kOlderTag = MakeGuid("5FF5B4A3-858F-11D0-AEBC-00A0C9053912");

struct Filter {
  CQxTime* f;
  Filter() {
    HRESULT hr = S_OK;
    f = static_cast<CQxTime*>(CQxTime::CreateInstance(nullptr, &hr));
    f->NonDelegatingAddRef();
  }
  ~Filter() { f->NonDelegatingRelease(); }
  CQxTime* operator->() { return f; }
};

std::vector<BYTE> Blob(uint32_t size, const GUID& tag, const TimeParams& p, size_t recordBytes = 32) {
  std::vector<BYTE> b(20 + recordBytes);
  std::memcpy(b.data(), &size, 4);
  std::memcpy(b.data() + 4, &tag, 16);
  std::memcpy(b.data() + 20, &p, recordBytes);
  return b;
}

HRESULT LoadBytes(CQxTime* f, std::vector<BYTE> bytes) {
  CMemoryStream* s = CMemoryStream::Create(std::move(bytes));
  HRESULT hr = f->Load(s);
  s->Release();
  return hr;
}

// Codes posted to `w` since the last call, in order.
std::vector<int> Codes(HWND w, uint16_t id) {
  std::vector<int> codes;
  MSG m;
  while (PeekMessage(&m, w, 0, 0, PM_REMOVE)) {
    EXPECT_EQ(m.message, WM_COMMAND);
    EXPECT_EQ(LOWORD(m.wParam), id);
    codes.push_back(HIWORD(m.wParam));
  }
  return codes;
}

TimeParams Record(double length, int32_t mode = 0, uint32_t tempo = 12000, double time = 2646000.0,
                  int32_t format = 0) {
  return {length, mode, tempo, time, format, 0};
}

HRESULT Set(CQxTime* f, TimeParams p) { return f->SetParams(&p); }
}  // namespace

TEST(TimeParams, ConstructionLoadsTheFirstPresetAndIsDirty) {
  Filter f;
  TimeParams p;
  ASSERT_EQ(f->GetParams(&p), S_OK);
  EXPECT_EQ(p.FinalLength, 10000.0);
  EXPECT_EQ(p.Mode, 0);
  EXPECT_EQ(p.InitialTempo, 12000u);
  EXPECT_EQ(p.InitialTime, 2646000.0);
  EXPECT_EQ(p.InputFormat, 0);
  EXPECT_EQ(f->IsDirty(), S_OK);
  EXPECT_NE(f->InstanceNumber(), Filter().f->InstanceNumber());
}

TEST(TimeParams, SetParamsStoresThenClampsAndReportsTheClamp) {
  Filter f;
  EXPECT_EQ(Set(f.f, Record(60000.0)), E_FAIL);
  TimeParams p;
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 50000.0);

  struct Case {
    TimeParams in;
    HRESULT hr;
    double length, time;
    uint32_t tempo;
  } cases[] = {
      {Record(4000.0), E_FAIL, 5000.0, 2646000.0, 12000},
      {Record(8500.0, 0, 60000), E_FAIL, 8500.0, 2646000.0, 50000},
      {Record(8500.0, 0, 50000, -1.0), E_FAIL, 8500.0, 0.0, 50000},
      {Record(8500.0, 0, 1, 8e8), E_FAIL, 8500.0, 7.938e8, 1},
      {Record(std::numeric_limits<double>::quiet_NaN()), E_FAIL, 10000.0, 2646000.0, 12000},
      {Record(std::numeric_limits<double>::infinity()), E_FAIL, 50000.0, 2646000.0, 12000},
      {Record(5000.0, 0, 0, 0.0), S_OK, 5000.0, 0.0, 0},
      {Record(50000.0, 0, 50000, 7.938e8), S_OK, 50000.0, 7.938e8, 50000},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(f->SetParams(&c.in), c.hr) << c.in.FinalLength;
    f->GetParams(&p);
    EXPECT_EQ(p.FinalLength, c.length);
    EXPECT_EQ(p.InitialTime, c.time);
    EXPECT_EQ(p.InitialTempo, c.tempo);
  }
  // Mode and InputFormat are not checked here; the engine keeps itself safe from the mode.
  EXPECT_EQ(Set(f.f, Record(10000.0, 99, 12000, 0.0, 7)), S_OK);
  f->GetParams(&p);
  EXPECT_EQ(p.Mode, 99);
  EXPECT_EQ(p.InputFormat, 7);
}

TEST(TimeParams, SingleSettersClampSilentlyAndFlagOnlyRealChanges) {
  Filter f;
  QxSpliceSnapshot s;
  f->Snapshot(&s);
  EXPECT_TRUE(s.Changed);
  EXPECT_TRUE(s.Rebuild);
  f->SetDirty(false);
  f->Snapshot(&s);
  EXPECT_FALSE(s.Changed);
  EXPECT_FALSE(s.Rebuild);

  // Same values: nothing moves.
  EXPECT_EQ(f->SetFinalLength(10000.0), S_OK);
  EXPECT_EQ(f->SetMode(0), S_OK);
  EXPECT_EQ(f->SetInitialTempo(12000), S_OK);
  EXPECT_EQ(f->SetInitialTime(2646000.0), S_OK);
  EXPECT_EQ(f->SetInputFormat(0), S_OK);
  EXPECT_FALSE(f->ChangedFlag());
  EXPECT_EQ(f->IsDirty(), S_FALSE);

  // A length change reaches the engine as a new ratio, without a rebuild.
  EXPECT_EQ(f->SetFinalLength(90000.0), S_OK);
  double d;
  f->GetFinalLength(&d);
  EXPECT_EQ(d, 50000.0);
  EXPECT_EQ(f->IsDirty(), S_OK);
  f->Snapshot(&s);
  EXPECT_TRUE(s.Changed);
  EXPECT_FALSE(s.Rebuild);
  EXPECT_EQ(s.Params.Ratio, 5.0);
  f->SetFinalLength(1.0);
  f->GetFinalLength(&d);
  EXPECT_EQ(d, 5000.0);
  f->SetFinalLength(std::numeric_limits<double>::quiet_NaN());
  f->GetFinalLength(&d);
  EXPECT_EQ(d, 5000.0);
  f->SetFinalLength(std::numeric_limits<double>::infinity());  // a typed tempo of 0 on the page
  f->GetFinalLength(&d);
  EXPECT_EQ(d, 50000.0);

  f->Snapshot(&s);
  EXPECT_EQ(f->SetMode(7), S_OK);
  f->Snapshot(&s);
  EXPECT_TRUE(s.Changed);
  EXPECT_TRUE(s.Rebuild);
  EXPECT_EQ(s.Params.Mode, 7);

  // Fields the audio never sees still make the record changed and dirty.
  f->SetDirty(false);
  EXPECT_EQ(f->SetInitialTempo(70000), S_OK);
  uint32_t t;
  f->GetInitialTempo(&t);
  EXPECT_EQ(t, 50000u);
  EXPECT_TRUE(f->ChangedFlag());
  EXPECT_FALSE(f->RebuildFlag());
  EXPECT_EQ(f->IsDirty(), S_OK);
  f->SetInitialTime(-5.0);
  f->GetInitialTime(&d);
  EXPECT_EQ(d, 0.0);
  f->SetInitialTime(1e9);
  f->GetInitialTime(&d);
  EXPECT_EQ(d, 7.938e8);
  f->SetInputFormat(2);
  int32_t v;
  f->GetInputFormat(&v);
  EXPECT_EQ(v, 2);
  EXPECT_EQ(f->GetMode(nullptr), E_POINTER);
}

TEST(TimeParams, SaveWritesTheCurrentFormAndLoadRestoresIt) {
  Filter a, b;
  ULARGE_INTEGER max;
  ASSERT_EQ(a->GetSizeMax(&max), S_OK);
  EXPECT_EQ(max.QuadPart, 52u);
  Set(a.f, Record(12345.5, 4, 9000, 441000.0, 1));
  CMemoryStream* s = CMemoryStream::Create();
  ASSERT_EQ(a->Save(s, TRUE), S_OK);
  EXPECT_EQ(a->IsDirty(), S_FALSE);
  const std::vector<BYTE>& bytes = s->Bytes();
  ASSERT_EQ(bytes.size(), 52u);
  uint32_t size;
  GUID tag;
  std::memcpy(&size, bytes.data(), 4);
  std::memcpy(&tag, bytes.data() + 4, 16);
  EXPECT_EQ(size, 52u);
  EXPECT_EQ(tag, kCurrentTag);
  EXPECT_EQ(LoadBytes(b.f, bytes), S_OK);
  s->Release();
  TimeParams p;
  b->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 12345.5);
  EXPECT_EQ(p.Mode, 4);
  EXPECT_EQ(p.InitialTempo, 9000u);
  EXPECT_EQ(p.InitialTime, 441000.0);
  EXPECT_EQ(p.InputFormat, 1);
  // Loading replaces every parameter: the engine rebuilds.
  EXPECT_TRUE(b->RebuildFlag());
}

TEST(TimeParams, OlderFormIsScaledByTenAndPostsAllChanged) {
  Filter f;
  HWND w = CreateWindowHandle();
  ASSERT_EQ(f->RegisterWindow(w, 32700, 1), S_OK);
  EXPECT_EQ(LoadBytes(f.f, Blob(52, kOlderTag, Record(1000.0, 3, 1200, 88200.0, 1))), S_OK);
  TimeParams p;
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 10000.0);
  EXPECT_EQ(p.InitialTempo, 12000u);
  EXPECT_EQ(p.InitialTime, 88200.0);  // not scaled
  EXPECT_EQ(p.Mode, 3);
  EXPECT_EQ(Codes(w, 32700), std::vector<int>{100});
  // An older value that scales out of range is clamped on the way in.
  EXPECT_EQ(LoadBytes(f.f, Blob(52, kOlderTag, Record(6000.0, 0, 6000))), S_OK);
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 50000.0);
  EXPECT_EQ(p.InitialTempo, 50000u);
  DestroyWindow(w);
}

TEST(TimeParams, BadHeadersFailWithoutPostingAndAShortRecordPostsWithoutApplying) {
  Filter f;
  HWND w = CreateWindowHandle();
  f->RegisterWindow(w, 9, 1);
  Set(f.f, Record(8500.0, 2));
  Codes(w, 9);
  TimeParams p;

  EXPECT_EQ(LoadBytes(f.f, Blob(44, kCurrentTag, Record(11000.0))), E_FAIL);
  EXPECT_EQ(LoadBytes(f.f, Blob(52, MakeGuid("5FF5B4A5-858F-11D0-AEBC-00A0C9053912"), Record(11000.0))), E_FAIL);
  EXPECT_EQ(LoadBytes(f.f, std::vector<BYTE>(12, 0)), E_FAIL);  // header cut short
  EXPECT_TRUE(Codes(w, 9).empty());
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 8500.0);
  EXPECT_EQ(p.Mode, 2);

  EXPECT_NE(LoadBytes(f.f, Blob(52, kCurrentTag, Record(11000.0), 16)), S_OK);
  EXPECT_EQ(Codes(w, 9), std::vector<int>{100});
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 8500.0);

  // A known header with an out-of-range record loads clamped.
  EXPECT_EQ(LoadBytes(f.f, Blob(52, kCurrentTag, Record(60000.0))), S_OK);
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 50000.0);
  DestroyWindow(w);
}

TEST(TimeParams, FourPresetsThroughTheFrame) {
  Filter f;
  HWND w = CreateWindowHandle();
  f->RegisterWindow(w, 5, 1);
  LONG n = 0;
  ASSERT_EQ(f->GetPresetCount(&n), S_OK);
  EXPECT_EQ(n, 4);
  const char16_t* names[] = {u"(Default)", u"Default all parameters", u"Time expand 110 % of original",
                             u"Time compress 85 % of original"};
  const double lengths[] = {10000.0, 10000.0, 11000.0, 8500.0};
  for (LONG i = 0; i < 4; ++i) {
    WCHAR text[128] = {};
    ASSERT_EQ(f->GetPresetName(i, text), S_OK);
    EXPECT_EQ(std::u16string(text), names[i]);
    Set(f.f, Record(20000.0, 5, 100, 1.0, 2));
    Codes(w, 5);
    ASSERT_EQ(f->LoadPreset(i), S_OK);
    TimeParams p;
    f->GetParams(&p);
    EXPECT_EQ(p.FinalLength, lengths[i]);
    EXPECT_EQ(p.Mode, 0);
    EXPECT_EQ(p.InitialTempo, 12000u);
    EXPECT_EQ(p.InitialTime, 2646000.0);
    EXPECT_EQ(p.InputFormat, 0);
    EXPECT_EQ(Codes(w, 5), std::vector<int>{100});
  }
  WCHAR text[128];
  EXPECT_EQ(f->LoadPreset(4), E_INVALIDARG);
  EXPECT_EQ(f->LoadPreset(-1), E_INVALIDARG);
  EXPECT_EQ(f->GetPresetName(-1, text), E_INVALIDARG);
  EXPECT_TRUE(Codes(w, 5).empty());
  DestroyWindow(w);
}

TEST(TimeParams, TwoWindowSlotsAndTheInterfacesTheFilterAnswers) {
  Filter f;
  HWND a = CreateWindowHandle(), b = CreateWindowHandle(), c = CreateWindowHandle();
  EXPECT_EQ(f->RegisterWindow(a, 1, 1), S_OK);
  EXPECT_EQ(f->RegisterWindow(b, 2, 1), S_OK);
  EXPECT_EQ(f->RegisterWindow(c, 3, 1), E_OUTOFMEMORY);
  EXPECT_EQ(f->RegisterWindow(c, 3, 0), S_OK);
  EXPECT_EQ(f->RegisterWindow(a, 4, 1), S_OK);  // updated in its slot
  f->LoadPreset(1);
  EXPECT_EQ(Codes(a, 4), std::vector<int>{100});
  EXPECT_EQ(Codes(b, 2), std::vector<int>{100});
  // A window that is gone frees its slot when the next notice goes out.
  DestroyWindow(b);
  f->LoadPreset(1);
  EXPECT_EQ(Codes(a, 4), std::vector<int>{100});
  EXPECT_EQ(f->RegisterWindow(c, 3, 1), S_OK);
  EXPECT_EQ(f->RegisterWindow(a, 0, 0), S_OK);
  f->LoadPreset(1);
  EXPECT_TRUE(Codes(a, 4).empty());
  EXPECT_EQ(Codes(c, 3), std::vector<int>{100});

  for (REFIID iid : {IID_IQxTimeProp, IID_IPersistStream, IID_IStaticFilterPreset, IID_IQxTranslationInfo,
                     IID_IBaseFilter}) {
    void* p = nullptr;
    EXPECT_EQ(f->QueryInterface(iid, &p), S_OK);
    static_cast<IUnknown*>(p)->Release();
  }
  void* p = nullptr;
  EXPECT_EQ(f->QueryInterface(IID_IQxAudioTransformFloat, &p), E_NOINTERFACE);
  CLSID id;
  f->GetClassID(&id);
  EXPECT_EQ(id, CLSID_QxTime);
  int32_t v = 0;
  f->SetLicenceState(3);
  f->GetLicenceState(&v);
  EXPECT_EQ(v, 3);
  f->SetLicenceFlags(6);
  f->GetLicenceFlags(&v);
  EXPECT_EQ(v, 6);
  DestroyWindow(a);
  DestroyWindow(c);
}
