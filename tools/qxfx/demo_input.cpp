// The built-in demo input: eight seconds of plucked notes, panned left and right, with gaps
// between phrases so that echoes and tails are easy to hear and to see.
#include "tools/qxfx/file_graph.h"

#include <sndfile.h>

#include <cmath>
#include <vector>

bool QxfxWriteDemoInput(const std::string& path, std::string* error) {
  const int rate = 44100, channels = 2, seconds = 8;
  const double pi = 3.14159265358979323846;
  std::vector<double> mix(static_cast<size_t>(rate) * seconds * channels, 0.0);
  // A short phrase every two seconds: four notes of an arpeggio, an eighth of a second apart.
  const double notes[4] = {220.0, 277.18, 329.63, 440.0};
  for (int phrase = 0; phrase < seconds / 2; ++phrase) {
    for (int n = 0; n < 4; ++n) {
      const size_t start = static_cast<size_t>((phrase * 2.0 + n * 0.125) * rate);
      const double pan = (n % 2) ? 0.8 : 0.2;
      const double f = notes[n] * (phrase % 2 ? 1.5 : 1.0);
      for (int i = 0; i < rate / 2 && start + i < mix.size() / channels; ++i) {
        const double t = static_cast<double>(i) / rate;
        const double v = 0.3 * std::exp(-t * 9.0) * (std::sin(2 * pi * f * t) + 0.3 * std::sin(4 * pi * f * t));
        mix[(start + i) * channels] += v * (1.0 - pan);
        mix[(start + i) * channels + 1] += v * pan;
      }
    }
  }
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!f) {
    *error = "cannot write " + path + ": " + sf_strerror(nullptr);
    return false;
  }
  sf_command(f, SFC_SET_NORM_DOUBLE, nullptr, SF_TRUE);
  sf_count_t frames = static_cast<sf_count_t>(mix.size() / channels);
  bool ok = sf_writef_double(f, mix.data(), frames) == frames;
  sf_close(f);
  if (!ok) *error = "cannot write " + path;
  return ok;
}
