// Output containers and encodings for qxfx.
#include "tools/qxfx/output_format.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>

namespace {
struct Name {
  const char* name;
  int code;
};
constexpr Name kContainers[] = {
    {"wav", SF_FORMAT_WAV},   {"wave", SF_FORMAT_WAV}, {"rf64", SF_FORMAT_RF64}, {"w64", SF_FORMAT_W64},
    {"aiff", SF_FORMAT_AIFF}, {"aif", SF_FORMAT_AIFF}, {"aifc", SF_FORMAT_AIFF}, {"flac", SF_FORMAT_FLAC},
    {"caf", SF_FORMAT_CAF},   {"au", SF_FORMAT_AU},    {"snd", SF_FORMAT_AU},    {"ogg", SF_FORMAT_OGG},
    {"oga", SF_FORMAT_OGG},   {"opus", SF_FORMAT_OGG}, {"mp3", SF_FORMAT_MPEG}, {"raw", SF_FORMAT_RAW},
    {"pcm", SF_FORMAT_RAW},   {"wavex", SF_FORMAT_WAVEX}};
constexpr Name kEncodings[] = {
    {"pcm8", SF_FORMAT_PCM_S8},   {"s8", SF_FORMAT_PCM_S8},      {"u8", SF_FORMAT_PCM_U8},
    {"pcm16", SF_FORMAT_PCM_16},  {"s16", SF_FORMAT_PCM_16},     {"16", SF_FORMAT_PCM_16},
    {"pcm24", SF_FORMAT_PCM_24},  {"s24", SF_FORMAT_PCM_24},     {"24", SF_FORMAT_PCM_24},
    {"pcm32", SF_FORMAT_PCM_32},  {"s32", SF_FORMAT_PCM_32},     {"float", SF_FORMAT_FLOAT},
    {"float32", SF_FORMAT_FLOAT}, {"f32", SF_FORMAT_FLOAT},      {"double", SF_FORMAT_DOUBLE},
    {"float64", SF_FORMAT_DOUBLE}, {"f64", SF_FORMAT_DOUBLE},    {"ulaw", SF_FORMAT_ULAW},
    {"alaw", SF_FORMAT_ALAW},     {"vorbis", SF_FORMAT_VORBIS},  {"opus", SF_FORMAT_OPUS},
    {"mp3", SF_FORMAT_MPEG_LAYER_III}};

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

bool Writable(int format, int channels, int rate) {
  SF_INFO check{};
  check.samplerate = rate;
  check.channels = channels;
  check.format = format;
  return sf_format_check(&check) != 0;
}
}  // namespace

bool QxfxParseOutputFormat(const std::string& text, QxfxOutputForm* out, std::string* error) {
  *out = {};
  std::string rest = Lower(text);
  size_t start = 0;
  while (start <= rest.size()) {
    size_t cut = rest.find_first_of(":,", start);
    std::string part = rest.substr(start, cut == std::string::npos ? std::string::npos : cut - start);
    bool known = false;
    for (const Name& c : kContainers)
      if (part == c.name) out->major = c.code, known = true;
    for (const Name& e : kEncodings)
      if (part == e.name) out->sub = e.code, known = true;
    // "mp3" and "opus" name a container and its encoding at once.
    if (part == "mp3") out->major = SF_FORMAT_MPEG;
    if (part == "opus") out->major = SF_FORMAT_OGG;
    if (!known) {
      *error = "--output-format: unknown container or encoding '" + part +
               "' (containers wav rf64 w64 aiff flac caf au ogg mp3 raw; encodings u8 pcm8 pcm16 pcm24 pcm32 float "
               "double ulaw alaw vorbis opus mp3; e.g. flac:pcm24 or wav:float)";
      return false;
    }
    if (cut == std::string::npos) break;
    start = cut + 1;
  }
  return true;
}

int QxfxContainerForPath(const std::string& path) {
  size_t slash = path.rfind('/');
  size_t dot = path.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return 0;
  std::string ext = Lower(path.substr(dot + 1));
  for (const Name& c : kContainers)
    if (ext == c.name && c.code != SF_FORMAT_WAVEX) return c.code;
  return 0;
}

std::string QxfxExtensionFor(int major) {
  for (const Name& c : kContainers)
    if (c.code == major) return c.code == SF_FORMAT_WAVEX ? "wav" : c.name;
  return "wav";
}

bool QxfxChooseFormat(const QxfxOutputForm& asked, const std::string& outPath, int inFormat, int channels,
                      int rate, int* format, std::string* error) {
  int major = asked.major ? asked.major : QxfxContainerForPath(outPath);
  if (!major) {
    // A name with an extension qxfx does not know is refused, never written as WAV by surprise.
    const size_t slash = outPath.rfind('/'), dot = outPath.rfind('.');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash) && dot + 1 < outPath.size()) {
      *error = "unknown output extension '" + outPath.substr(dot) +
               "' (wav rf64 w64 aiff aif flac caf au ogg opus mp3 raw); name the file so, or give --output-format";
      return false;
    }
    major = SF_FORMAT_WAV;
  }
  // The extensions that name an encoding as well as a container.
  int sub = asked.sub;
  if (!sub && !asked.major) {
    const int named = QxfxContainerForPath(outPath);
    const std::string path = Lower(outPath);
    if (named == SF_FORMAT_MPEG) sub = SF_FORMAT_MPEG_LAYER_III;
    if (path.size() > 5 && path.compare(path.size() - 5, 5, ".opus") == 0) sub = SF_FORMAT_OPUS;
  }
  if (major == SF_FORMAT_MPEG && !Writable(SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, channels, rate)) {
    *error = "this system's libsndfile cannot write MP3" +
             std::string(channels > 2 ? " with more than two channels" : "") + "; choose another format";
    return false;
  }
  if (sub) {
    if (!Writable(major | sub, channels, rate)) {
      *error = "cannot write " + QxfxFormatName(major | sub) + " with " + std::to_string(channels) +
               " channels at " + std::to_string(rate) + " Hz; choose another --output-format";
      return false;
    }
    *format = major | sub;
    return true;
  }
  // The input's encoding when the container holds it, else the nearest that keeps the most.
  const int in = inFormat & SF_FORMAT_SUBMASK;
  const bool isFloat = in == SF_FORMAT_FLOAT || in == SF_FORMAT_DOUBLE;
  const int tries[] = {in, isFloat ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_24, SF_FORMAT_PCM_24, SF_FORMAT_PCM_16,
                       SF_FORMAT_VORBIS, SF_FORMAT_OPUS, SF_FORMAT_MPEG_LAYER_III, SF_FORMAT_PCM_S8};
  for (int sub : tries)
    if (Writable(major | sub, channels, rate)) {
      *format = major | sub;
      return true;
    }
  *error = "cannot write a " + QxfxFormatName(major) + " file with " + std::to_string(channels) + " channels at " +
           std::to_string(rate) + " Hz";
  return false;
}

std::string QxfxFormatName(int format) {
  SF_FORMAT_INFO major{}, sub{};
  major.format = format & SF_FORMAT_TYPEMASK;
  sub.format = format & SF_FORMAT_SUBMASK;
  bool hasMajor = sf_command(nullptr, SFC_GET_FORMAT_INFO, &major, sizeof major) == 0 && major.name;
  bool hasSub = sub.format && sf_command(nullptr, SFC_GET_FORMAT_INFO, &sub, sizeof sub) == 0 && sub.name;
  std::string r = hasMajor ? major.name : "?";
  if (hasSub) r += std::string(", ") + sub.name;
  return r;
}
