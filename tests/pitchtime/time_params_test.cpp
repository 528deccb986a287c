// Time Stretch's parameters without a stream: clamps and change flags of the setters, what the
// engine's snapshot sees, the older persistent form with its scaled values, and the windows.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "aplugins/qxppack1/pitchtime/time_filter.h"
#include "platform/com/stream.h"
#include "tests/support/effect_rig.h"

namespace {
constexpr GUID kCurrentTag = MakeGuid("5FF5B4A4-858F-11D0-AEBC-00A0C9053912");
constexpr GUID kOlderTag = MakeGuid("5FF5B4A3-858F-11D0-AEBC-00A0C9053912");

struct Filter {
  CQxTime* f = NewEffect<CQxTime>();
  ~Filter() { f->NonDelegatingRelease(); }
  CQxTime* operator->() { return f; }
};

std::vector<BYTE> Blob(uint32_t size, const GUID& tag, const TimeParams& p) { return PersistFrame(tag, size, &p, 32); }
HRESULT LoadBytes(CQxTime* f, std::vector<BYTE> bytes) { return ::LoadBytes(static_cast<IPersistStream*>(f), bytes); }

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

TEST(TimeParams, EachFilterHasItsOwnInstanceNumber) {
  Filter f;
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
  EXPECT_TRUE(s.Changed && s.Rebuild);  // the constructor's preset
  f->SetDirty(false);
  f->Snapshot(&s);
  EXPECT_FALSE(s.Changed || s.Rebuild);

  // Same values: nothing moves.
  for (HRESULT hr : {f->SetFinalLength(10000.0), f->SetMode(0), f->SetInitialTempo(12000),
                     f->SetInitialTime(2646000.0), f->SetInputFormat(0)})
    EXPECT_EQ(hr, S_OK);
  EXPECT_FALSE(f->ChangedFlag());
  EXPECT_EQ(f->IsDirty(), S_FALSE);

  // A length change reaches the engine as a new ratio, without a rebuild. NaN keeps the value;
  // infinity (a typed tempo of 0 on the page) is the top.
  auto length = [&] {
    double d;
    f->GetFinalLength(&d);
    return d;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(f->SetFinalLength(90000.0), S_OK);
  EXPECT_EQ(length(), 50000.0);
  EXPECT_EQ(f->IsDirty(), S_OK);
  f->Snapshot(&s);
  EXPECT_TRUE(s.Changed && !s.Rebuild);
  EXPECT_EQ(s.Params.Ratio, 5.0);
  for (auto [in, out] : {std::pair{1.0, 5000.0}, std::pair{nan, 5000.0}, std::pair{inf, 50000.0}}) {
    f->SetFinalLength(in);
    EXPECT_EQ(length(), out) << in;
  }
  f->Snapshot(&s);
  EXPECT_EQ(f->SetMode(7), S_OK);
  f->Snapshot(&s);
  EXPECT_TRUE(s.Changed && s.Rebuild);
  EXPECT_EQ(s.Params.Mode, 7);

  // Fields the audio never sees still make the record changed and dirty.
  f->SetDirty(false);
  EXPECT_EQ(f->SetInitialTempo(70000), S_OK);
  f->SetInitialTime(1e9);
  f->SetInputFormat(2);
  EXPECT_TRUE(f->ChangedFlag());
  EXPECT_FALSE(f->RebuildFlag());
  EXPECT_EQ(f->IsDirty(), S_OK);
  TimeParams p;
  f->GetParams(&p);
  EXPECT_EQ(p.InitialTempo, 50000u);
  EXPECT_EQ(p.InitialTime, 7.938e8);
  EXPECT_EQ(p.InputFormat, 2);
  f->SetInitialTime(-5.0);
  f->GetParams(&p);
  EXPECT_EQ(p.InitialTime, 0.0);
  EXPECT_EQ(f->GetMode(nullptr), E_POINTER);
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
  EXPECT_TRUE(f->RebuildFlag());  // every parameter was replaced
  // An older value that scales out of range is clamped on the way in.
  EXPECT_EQ(LoadBytes(f.f, Blob(52, kOlderTag, Record(6000.0, 0, 6000))), S_OK);
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 50000.0);
  EXPECT_EQ(p.InitialTempo, 50000u);
  // So is a current record's.
  EXPECT_EQ(LoadBytes(f.f, Blob(52, kCurrentTag, Record(60000.0))), S_OK);
  f->GetParams(&p);
  EXPECT_EQ(p.FinalLength, 50000.0);
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

  // The frame's interfaces are every effect's (the frame and language tests); this one has no float door.
  for (REFIID iid : {IID_IQxTimeProp, IID_IBaseFilter}) {
    void* p = nullptr;
    EXPECT_EQ(f->QueryInterface(iid, &p), S_OK);
    static_cast<IUnknown*>(p)->Release();
  }
  void* p = nullptr;
  EXPECT_EQ(f->QueryInterface(IID_IQxAudioTransformFloat, &p), E_NOINTERFACE);
  CLSID id;
  f->GetClassID(&id);
  EXPECT_EQ(id, CLSID_QxTime);
  DestroyWindow(a);
  DestroyWindow(c);
}
