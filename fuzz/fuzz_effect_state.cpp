// Fuzz target: an effect's persistent state loaded from arbitrary bytes, saved back, and then a
// short run through a graph with its end-of-stream tail.
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_rig.h"
#include "platform/com/persist.h"
#include "platform/com/stream.h"

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
  if (filter) QxFuzzRun(filter.Get(), data[1]);
  persist.Reset();
  filter.Reset();
  object->NonDelegatingRelease();
  return 0;
}
