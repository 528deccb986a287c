// Fuzz target: an effect's persistent state loaded from arbitrary bytes, saved back, and then a
// short run through a graph with its end-of-stream tail.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_rig.h"
#include "platform/com/persist.h"
#include "platform/com/stream.h"

namespace {
// Time Stretch and Pitch Shift trust their page to keep the length and the ratio where a user can
// set them; a loaded record outside that would make the run last for ever, so the run starts from
// what a page could have set. (The loaded record itself is left to Load as it is.)
void HoldToWhatAPageSets(CUnknown* object) {
  ComPtr<IQxTimeProp> time;
  ComPtr<IQxPitchsProp> pitch;
  object->NonDelegatingQueryInterface(IID_IQxTimeProp, time.PutVoid());
  object->NonDelegatingQueryInterface(IID_IQxPitchsProp, pitch.PutVoid());
  if (time) {
    TimeParams t{};
    time->GetParams(&t);
    time->SetParams(&t);  // clamps
  }
  if (pitch) {
    PitchParams p{};
    pitch->GetParams(&p);
    const double lowest = std::pow(2.0, -QX_PITCHS_MAX_SEMITONES / 12.0), highest = 1.0 / lowest;
    if (!(p.Ratio >= lowest && p.Ratio <= highest)) p.Ratio = 1.0;
    pitch->SetParams(&p);
  }
}
}  // namespace

// Input: one byte choosing the effect, one byte choosing the stream's form, then the state.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  CUnknown* object = QxFuzzMakeEffect(data[0]);
  if (!object) return 0;
  ComPtr<IPersistStream> persist;
  ComPtr<IBaseFilter> filter;
  object->NonDelegatingQueryInterface(IID_IPersistStream, persist.PutVoid());
  object->NonDelegatingQueryInterface(IID_IBaseFilter, filter.PutVoid());
  if (persist) {
    ComPtr<IStream> in(CMemoryStream::Create(std::vector<BYTE>(data + 2, data + size)), false);
    persist->Load(in.Get());
    ComPtr<IStream> out(CMemoryStream::Create(), false);
    persist->Save(out.Get(), TRUE);
  }
  HoldToWhatAPageSets(object);
  if (filter) QxFuzzRun(filter.Get(), data[1]);
  persist.Reset();
  filter.Reset();
  object->NonDelegatingRelease();
  return 0;
}
