// A host outside the project, as the README shows it: makes Reverb by its class identifier, runs a
// stereo click through the float door, renders the tail, and shows a parameter as value text.
// Built against an installed prefix with `pkg-config --cflags --libs qxppack1` alone.
#include <qxppack1.h>

#include <cstdio>
#include <string>
#include <vector>

int main() {
  IClassFactory* factory = nullptr;
  if (FAILED(DllGetClassObject(CLSID_QxReverb, IID_IClassFactory, reinterpret_cast<void**>(&factory)))) return 1;
  IQxAudioTransformFloat* reverb = nullptr;
  const HRESULT hr = factory->CreateInstance(nullptr, IID_IQxAudioTransformFloat, reinterpret_cast<void**>(&reverb));
  factory->Release();
  if (FAILED(hr)) return 2;

  IQxReverbProp2* prop = nullptr;
  int32_t decay = 0;
  if (SUCCEEDED(reverb->QueryInterface(IID_IQxReverbProp2, reinterpret_cast<void**>(&prop)))) {
    prop->GetDecayTime(&decay);  // tenths of a second
    prop->Release();
  }
  const std::u16string decayText = QxGetLabeledStringFixed(decay, 1, 0, u" s");

  const uint32_t rate = 44100, frames = 4410;  // 0.1 s blocks, stereo interleaved
  std::vector<float> buffer(frames * 2, 0.0f);
  buffer[0] = buffer[1] = 1.0f;
  if (FAILED(reverb->Prepare(2, rate))) return 3;
  reverb->Process(buffer.data(), frames, 0);

  // After the input ends, the tail comes out until the effect says it has ended.
  double energy = 0;
  uint32_t tailFrames = 0;
  for (int32_t ended = 0; ended == 0 && tailFrames < 60 * rate;) {
    uint32_t n = frames;
    ended = reverb->RenderTail(buffer.data(), &n);
    for (uint32_t i = 0; i < n * 2; ++i) energy += double(buffer[i]) * buffer[i];
    tailFrames += n;
  }
  reverb->Finish();
  reverb->Release();

  std::printf("decay %s, tail %u frames, energy %.6g\n", std::string(decayText.begin(), decayText.end()).c_str(),
              tailFrames, energy);
  return tailFrames > 0 && energy > 0 ? 0 : 4;
}
