// The effects' shared audio type check: the format block is read in full before its fields are
// trusted, and an extensible form is resolved to the plain tag its subformat names.
#include "aplugins/qxppack1/frame/audio_format_check.h"

#include <cstring>

bool QxCheckAudioType(const CMediaType* mt, QxAudioForm* form) {
  if (!mt || !(mt->majortype == MEDIATYPE_Audio) || mt->bTemporalCompression) return false;
  if (mt->cbFormat < 16 || !mt->pbFormat) return false;
  WAVEFORMATEX wf{};
  std::memcpy(&wf, mt->pbFormat, mt->cbFormat < sizeof wf ? mt->cbFormat : sizeof wf);
  if (wf.nChannels < 1 || wf.nChannels > 32) return false;
  WORD tag = wf.wFormatTag;
  if (tag == WAVE_FORMAT_EXTENSIBLE) {
    if (mt->cbFormat < sizeof(WAVEFORMATEXTENSIBLE) || wf.cbSize < 22) return false;
    WAVEFORMATEXTENSIBLE ext;
    std::memcpy(&ext, mt->pbFormat, sizeof ext);
    if (ext.SubFormat == KSDATAFORMAT_SUBTYPE_PCM)
      tag = WAVE_FORMAT_PCM;
    else if (ext.SubFormat == KSDATAFORMAT_SUBTYPE_IEEE_FLOAT)
      tag = WAVE_FORMAT_IEEE_FLOAT;
    else
      return false;
  }
  const WORD bits = wf.wBitsPerSample;
  if (!((tag == WAVE_FORMAT_PCM && (bits == 8 || bits == 16 || bits == 32)) ||
        (tag == WAVE_FORMAT_IEEE_FLOAT && (bits == 32 || bits == 64))))
    return false;
  if (form) *form = {tag, wf.nChannels, wf.nSamplesPerSec, bits};
  return true;
}

WAVEFORMATEX QxPlainFormat(const QxAudioForm& f) {
  WAVEFORMATEX w{};
  w.wFormatTag = f.tag;
  w.nChannels = f.channels;
  w.nSamplesPerSec = f.rate;
  w.wBitsPerSample = f.bits;
  w.nBlockAlign = static_cast<WORD>(f.bits / 8 * f.channels);
  w.nAvgBytesPerSec = f.rate * w.nBlockAlign;
  w.cbSize = 0;
  return w;
}
