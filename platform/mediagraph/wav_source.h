// CWavSource: a source filter that reads an audio file with libsndfile block by block and
// pushes it into the graph on the caller's thread, with time stamps and a final end of stream.
#pragma once
#include <string>
#include <vector>

#include "platform/mediagraph/base_filter.h"

inline constexpr CLSID CLSID_QxWavSource = MakeGuid("6E0C1A52-7B3D-4C1E-9A1F-51D0A6C2E103");

class CWavSource;

class CWavSourcePin : public CBaseOutputPin {
 public:
  CWavSourcePin(CWavSource* filter, CCritSec* lock, HRESULT* hr);
  HRESULT CheckMediaType(const CMediaType* mt) override;
  HRESULT GetMediaType(int position, CMediaType* mt) override;
  HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* props) override;

 private:
  CWavSource* m_pSource;
};

// The file's samples are offered in the form they are stored: 8, 16 or 32-bit PCM, 32 or 64-bit
// float; 24-bit PCM comes as 32-bit PCM (the 24 bits in the top of each word), and encodings that
// are not plain PCM or float come as 16-bit PCM (companded) or 32-bit float (anything else).
// One or two channels give the plain WAVEFORMATEX, more give WAVE_FORMAT_EXTENSIBLE.
// Instead of a file the source can read interleaved frames the host hands it (OpenMemory, Feed):
// the same blocks, buffers, times and flags, so an array and a file of it run alike.
class CWavSource : public CBaseFilter {
 public:
  explicit CWavSource(HRESULT* hr);
  ~CWavSource() override;
  // A new source with one reference, which the caller releases.
  static HRESULT Create(CWavSource** out);

  int GetPinCount() override { return 1; }
  CBasePin* GetPin(int n) override { return n == 0 ? &m_Pin : nullptr; }
  CBaseOutputPin* OutputPin() { return &m_Pin; }

  // Opens the file and fixes the media type; only while unconnected.
  HRESULT Open(const std::string& path);
  // Files without a header: the libsndfile format (SF_FORMAT_RAW | an encoding), rate and channel
  // count that the next Open reads them in; format 0 again for files with a header.
  void SetRawForm(int sfFormat, int rate, int channels) {
    m_rawFormat = sfFormat;
    m_rawRate = rate;
    m_rawChannels = channels;
  }
  void Close();
  // Memory instead of a file: samples of `form` (a WavForm), nothing to read until Feed.
  HRESULT OpenMemory(int form, WORD channels, DWORD rate);
  // The next frames to deliver, interleaved; kept by pointer until they are pushed (PushBlock
  // reports done when they are used up). Positions and times run on across feeds.
  HRESULT Feed(const void* frames, LONGLONG count);
  // Frames per delivered sample (default 1024); set before connecting, it sizes the buffers.
  HRESULT SetFramesPerBlock(LONG frames);
  LONG FramesPerBlock() const { return m_framesPerBlock; }

  // Reads and delivers one block. *done becomes true at the end of the file (nothing delivered).
  HRESULT PushBlock(bool* done);
  // Delivers the rest of the file and then the end of stream; stops at the first failure.
  HRESULT PushAll();
  // Starts again from the first frame; the next block is a discontinuity.
  HRESULT Rewind();

  bool IsOpen() const { return m_file || m_memory; }
  const CMediaType& MediaType() const { return m_Type; }
  const WAVEFORMATEX* WaveFormat() const { return reinterpret_cast<const WAVEFORMATEX*>(m_Type.Format()); }
  // libsndfile's format code of the file (major type and encoding).
  int FileFormat() const { return m_fileFormat; }
  LONGLONG TotalFrames() const { return m_totalFrames; }
  LONGLONG FramesDelivered() const { return m_position; }
  const std::string& LastError() const { return m_error; }

 protected:
  friend class CWavSourcePin;
  HRESULT Fail(HRESULT hr, std::string text);

  CCritSec m_Lock;
  CWavSourcePin m_Pin;
  CMediaType m_Type;
  void* m_file = nullptr;  // SNDFILE*
  bool m_memory = false;   // frames come from Feed, not m_file
  const BYTE* m_fed = nullptr;
  LONGLONG m_fedLeft = 0;
  int m_fileFormat = 0;
  int m_readKind = 0;      // which libsndfile read call fills a block
  LONGLONG m_totalFrames = 0;
  int m_rawFormat = 0, m_rawRate = 0, m_rawChannels = 0;
  LONGLONG m_position = 0;
  LONG m_framesPerBlock = 1024;
  std::vector<short> m_shortScratch;  // 8-bit files are read as 16-bit and narrowed
  std::string m_error;
};
