// Running files through filter chains for qxfx.
#include "tools/qxfx/file_graph.h"

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "platform/mediagraph/graph_runner.h"

namespace {
bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  if (stat(a.c_str(), &sa) != 0 || stat(b.c_str(), &sb) != 0) return false;
  return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

std::string DirOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string BaseOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The output's container follows OUT's extension when libsndfile knows it, else WAV.
int MajorFormatFor(const std::string& path) {
  size_t dot = path.rfind('.');
  if (dot == std::string::npos) return SF_FORMAT_WAV;
  std::string ext = path.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  if (ext == "wav" || ext == "wave") return SF_FORMAT_WAV;
  if (ext == "aif" || ext == "aiff" || ext == "aifc") return SF_FORMAT_AIFF;
  if (ext == "flac") return SF_FORMAT_FLAC;
  if (ext == "rf64") return SF_FORMAT_RF64;
  if (ext == "w64") return SF_FORMAT_W64;
  if (ext == "caf") return SF_FORMAT_CAF;
  if (ext == "au" || ext == "snd") return SF_FORMAT_AU;
  return SF_FORMAT_WAV;
}

int64_t FramesOf(const std::string& path) {
  SF_INFO info{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
  if (!f) return 0;
  sf_close(f);
  return info.frames;
}

std::string FormName(int format) {
  SF_FORMAT_INFO major{}, sub{};
  major.format = format & SF_FORMAT_TYPEMASK;
  sub.format = format & SF_FORMAT_SUBMASK;
  sf_command(nullptr, SFC_GET_FORMAT_INFO, &major, sizeof major);
  sf_command(nullptr, SFC_GET_FORMAT_INFO, &sub, sizeof sub);
  return std::string(major.name ? major.name : "?") + ", " + (sub.name ? sub.name : "?");
}
}  // namespace

std::string QxfxDescribe(HRESULT hr) {
  char buf[64];
  const char* what = hr == E_OUTOFMEMORY        ? "out of memory"
                     : hr == E_INVALIDARG       ? "invalid argument"
                     : hr == E_POINTER          ? "bad buffer"
                     : hr == VFW_E_TYPE_NOT_ACCEPTED || hr == VFW_E_INVALIDMEDIATYPE
                         ? "the effect does not accept this audio format"
                         : "error";
  std::snprintf(buf, sizeof buf, ": %s (0x%08X)", what, static_cast<unsigned>(hr));
  return buf;
}

bool QxfxRunFile(const std::string& in, const std::string& out, const std::vector<IBaseFilter*>& filters,
                 const QxfxRunOptions& options, QxfxRunResult* result, std::string* error) {
  if (access(in.c_str(), R_OK) != 0) {
    *error = "cannot read " + in + ": no such file or no permission";
    return false;
  }
  if (in == out || SameFile(in, out)) {
    *error = "the output " + out + " is the input; choose another output file";
    return false;
  }
  struct stat st;
  if (stat(out.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    *error = "the output " + out + " is a directory";
    return false;
  }
  std::string tmp = DirOf(out) + "/." + BaseOf(out) + ".qxfx-XXXXXX";
  std::vector<char> name(tmp.begin(), tmp.end());
  name.push_back('\0');
  int fd = mkstemp(name.data());
  if (fd < 0) {
    *error = "cannot write in " + DirOf(out) + ": no such directory or no permission";
    return false;
  }
  // mkstemp makes the file private; give it the permissions a new file normally gets.
  mode_t mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);
  close(fd);
  tmp = name.data();

  // Keep the input's encoding, in the container OUT's name asks for.
  SF_INFO info{};
  SNDFILE* probe = sf_open(in.c_str(), SFM_READ, &info);
  if (!probe) {
    unlink(tmp.c_str());
    *error = "cannot read " + in + ": " + sf_strerror(nullptr);
    return false;
  }
  sf_close(probe);
  int format = MajorFormatFor(out) | (info.format & SF_FORMAT_SUBMASK);
  SF_INFO check{};
  check.samplerate = info.samplerate;
  check.channels = info.channels;
  check.format = format;
  if (!sf_format_check(&check)) format = SF_FORMAT_WAV | (info.format & SF_FORMAT_SUBMASK);

  std::string runError;
  HRESULT hr = CGraphRunner::ProcessFile(in, tmp, filters, static_cast<LONG>(options.blockFrames), &runError, format);
  if (FAILED(hr)) {
    unlink(tmp.c_str());
    *error = runError.empty() ? "processing failed" + QxfxDescribe(hr) : runError;
    return false;
  }
  if (std::rename(tmp.c_str(), out.c_str()) != 0) {
    unlink(tmp.c_str());
    *error = "cannot create " + out;
    return false;
  }
  result->framesIn = FramesOf(in);
  result->framesOut = FramesOf(out);
  return true;
}

bool QxfxReadInfo(const std::string& path, QxfxFileInfo* info, std::string* error) {
  SF_INFO sfi{};
  SNDFILE* f = sf_open(path.c_str(), SFM_READ, &sfi);
  if (!f) {
    *error = "cannot read " + path + ": " + sf_strerror(nullptr);
    return false;
  }
  info->form = FormName(sfi.format);
  info->channels = sfi.channels;
  info->rate = sfi.samplerate;
  info->frames = sfi.frames;
  std::vector<double> buf(4096 * static_cast<size_t>(sfi.channels));
  sf_count_t n;
  double peak = 0.0;
  while ((n = sf_readf_double(f, buf.data(), 4096)) > 0)
    for (sf_count_t i = 0; i < n * sfi.channels; ++i) peak = std::max(peak, std::fabs(buf[i]));
  info->peak = peak;
  sf_close(f);
  return true;
}
