// CWavSink: a sink filter that writes every delivered frame, in order, to an audio file through
// libsndfile, in the form of its connection (or a form the host asks for), counting frames.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/mediagraph/endpoints.h"

inline constexpr CLSID CLSID_QxWavSink = MakeGuid("6E0C1A52-7B3D-4C1E-9A1F-51D0A6C2E104");

class CWavSink : public CSinkFilter {
 public:
  explicit CWavSink(HRESULT* hr);
  ~CWavSink() override;
  // A new sink with one reference, which the caller releases.
  static HRESULT Create(CWavSink** out);

  // Where to write. `sfFormat` is a libsndfile format code: 0 means a WAV file in the form of the
  // connection; a major type alone takes the connection's encoding; an encoding of its own is
  // used as given (24-bit PCM is written from the top 24 bits of the 32-bit samples).
  HRESULT SetOutput(const std::string& path, int sfFormat = 0);
  // Text fields written into the file (libsndfile's SF_STR_ codes: title, artist, comment ...).
  void SetStrings(std::vector<std::pair<int, std::string>> strings) { m_strings = std::move(strings); }
  // Writes to an open descriptor that cannot seek (a pipe) instead of a path: AU as libsndfile
  // writes it to pipes, WAV with the "length unknown" sizes that streaming readers take.
  void SetOutputPipe(int fd) { m_pipe = fd; }
  // An RF64 file that stays below 4 GiB is written as plain WAV.
  void SetRf64AutoDowngrade(bool on) { m_autoDowngrade = on; }

  // The file is created when the filter leaves Stopped and closed when it stops again.
  HRESULT Pause() override;
  HRESULT Stop() override;

  // Audio PCM 8/16/32 or float 32/64, plain or extensible.
  HRESULT CheckMediaType(const CMediaType* mt) override;
  HRESULT OnReceive(IMediaSample* sample) override;
  HRESULT OnEndOfStream() override;

  LONGLONG FramesWritten() const { return m_frames; }
  // Samples written at either end of the file's whole-number range (what rounding clipped), counted
  // as they pass when the file stores the form's own samples (16 or 32-bit PCM); -1 otherwise, and
  // the caller reads the file back.
  LONGLONG FullScaleSamples() const { return m_countFullScale ? m_fullScale : -1; }
  bool EndOfStreamSeen() const { return m_eos; }
  const std::string& LastError() const { return m_error; }

 private:
  HRESULT OpenFile();
  void CloseFile();
  HRESULT Fail(HRESULT hr, std::string text);

  std::string m_path;
  int m_requestedFormat = 0;
  std::vector<std::pair<int, std::string>> m_strings;
  bool m_autoDowngrade = false;
  void* OpenPipe(void* sfInfo);  // SNDFILE* for an SF_INFO*
  int m_pipe = -1;
  std::unique_ptr<struct CWavSinkPipe> m_pipeWriter;
  int64_t m_pipeWritten = 0;  // bytes sent down the pipe
  void* m_file = nullptr;  // SNDFILE*
  int m_form = 0;
  WORD m_channels = 0;
  WORD m_blockAlign = 0;
  LONGLONG m_frames = 0;
  bool m_countFullScale = false;
  LONGLONG m_fullScale = 0;
  bool m_eos = false;
  std::vector<short> m_shortScratch;
  std::string m_error;
};
