// Fuzz target: a WAV or RF64 file as the host reads it: opened by the WAV source, its format
// record taken apart by the kernel's wave format helpers, and its audio delivered to a sink; and
// the bytes of its "fmt " chunk handed to those helpers as a record of exactly that size.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kernel/services/qx_waveformat.h"
#include "platform/com/task_mem.h"
#include "platform/mediagraph/endpoints.h"
#include "platform/mediagraph/wav_forms.h"
#include "platform/mediagraph/wav_source.h"

namespace {
std::string g_path;

// What the kernel makes of one record, whose cbSize the caller has made true to its buffer.
void TakeApart(const WAVEFORMATEX* wf) {
  QxAudio_GetSampleType(wf);
  QxAudio_GetWaveFormatTag(wf);
  QxAudio_IsCompressed(wf);
  QxAudio_WfxBytes(wf);
  for (auto dest : {QXWFCOPY_AUTO, QXWFCOPY_PLAIN, QXWFCOPY_PLAIN_NOMASK, QXWFCOPY_EXT_MULTICHANNEL,
                    QXWFCOPY_EXTENSIBLE})
    if (WAVEFORMATEX* copy = QxAudio_AllocAndCopyWfx(wf, dest)) {
      QxAudio_IsEqualFormat(wf, copy);
      CoTaskMemFree(copy);
    }
  _qxwaveformat record{};
  QxAudio_GeneralCopyQxWaveFormat(&record, sizeof record, wf);
  WAVEFORMATEXTENSIBLE ext{};
  QxAudio_CopyWfxToWfExt(&ext, wf);
  const size_t bytes = std::max<size_t>(18 + wf->cbSize, wf->wFormatTag == WAVE_FORMAT_EXTENSIBLE ? 40 : 18);
  std::vector<BYTE> fixed(reinterpret_cast<const BYTE*>(wf), reinterpret_cast<const BYTE*>(wf) + bytes);
  QxAudio_FixBadWfx(reinterpret_cast<WAVEFORMATEX*>(fixed.data()));
}

// The first "fmt " chunk of a RIFF/RF64 file, as a record with cbSize cut to what is there.
void FmtChunk(const uint8_t* data, size_t size) {
  for (size_t at = 12; at + 8 <= size;) {
    uint32_t len;
    std::memcpy(&len, data + at + 4, 4);
    if (std::memcmp(data + at, "fmt ", 4) == 0) {
      const size_t have = std::min<size_t>(len, size - at - 8);
      std::vector<BYTE> body(std::max<size_t>(have, 18), 0);
      std::memcpy(body.data(), data + at + 8, have);
      auto* wf = reinterpret_cast<WAVEFORMATEX*>(body.data());
      wf->cbSize = static_cast<WORD>(std::min<size_t>(wf->cbSize, body.size() - 18));
      // An extensible record is read by its subformat whatever its extra size says, so its
      // memory holds the whole extensible record.
      const bool extensible = wf->wFormatTag == WAVE_FORMAT_EXTENSIBLE;
      body.resize(std::max<size_t>(18 + wf->cbSize, extensible ? sizeof(WAVEFORMATEXTENSIBLE) : 0));
      TakeApart(reinterpret_cast<WAVEFORMATEX*>(body.data()));
      return;
    }
    at += 8 + static_cast<size_t>(len) + (len & 1);
  }
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* dir = std::getenv("TMPDIR");
  g_path = std::string(dir && *dir ? dir : "/tmp") + "/qx-fuzz-wav-" + std::to_string(getpid()) + ".wav";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FmtChunk(data, size);
  const int fd = open(g_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0) return 0;
  const bool written = write(fd, data, size) == static_cast<ssize_t>(size);
  close(fd);
  if (!written) return 0;
  CWavSource* source = nullptr;
  CCollectSink* sink = nullptr;
  if (SUCCEEDED(CWavSource::Create(&source)) && SUCCEEDED(CCollectSink::Create(&sink)) &&
      SUCCEEDED(source->Open(g_path))) {
    const WAVEFORMATEX* wf = source->WaveFormat();
    if (wf && source->MediaType().FormatLength() >= sizeof(WAVEFORMATEX) + wf->cbSize) TakeApart(wf);
    WavForm form;
    WORD channels = 0;
    DWORD rate = 0;
    WavFormOfType(source->MediaType(), &form, &channels, &rate);
    source->SetFramesPerBlock(256);
    if (SUCCEEDED(source->GetPin(0)->Connect(sink->GetPin(0), nullptr)) && SUCCEEDED(sink->Run(0)) &&
        SUCCEEDED(source->Run(0)))
      source->PushAll();
    source->Stop();
    sink->Stop();
    source->GetPin(0)->Disconnect();
    sink->GetPin(0)->Disconnect();
  }
  if (source) source->Release();
  if (sink) sink->Release();
  unlink(g_path.c_str());
  return 0;
}
