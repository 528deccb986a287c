// Mapping between libsndfile encodings, the graph's sample forms and audio media types.
// 24-bit data rides in 32-bit words because the effects take no packed 24-bit form.
#include "platform/mediagraph/wav_forms.h"

#include <sndfile.h>

#include <cstring>

WavForm WavFormOfFile(int sfFormat) {
  switch (sfFormat & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      return WavForm::Pcm8;
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
    case SF_FORMAT_IMA_ADPCM:
    case SF_FORMAT_MS_ADPCM:
    case SF_FORMAT_GSM610:
    case SF_FORMAT_DWVW_12:
    case SF_FORMAT_DWVW_16:
    case SF_FORMAT_DPCM_8:
    case SF_FORMAT_DPCM_16:
    case SF_FORMAT_ALAC_16:
      return WavForm::Pcm16;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_DWVW_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
      return WavForm::Pcm24In32;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
      return WavForm::Pcm32;
    case SF_FORMAT_DOUBLE:
      return WavForm::Float64;
    default:
      return WavForm::Float32;
  }
}

int SfSubtypeOfForm(WavForm form) {
  switch (form) {
    case WavForm::Pcm8: return SF_FORMAT_PCM_U8;
    case WavForm::Pcm16: return SF_FORMAT_PCM_16;
    case WavForm::Pcm24In32: return SF_FORMAT_PCM_24;
    case WavForm::Pcm32: return SF_FORMAT_PCM_32;
    case WavForm::Float32: return SF_FORMAT_FLOAT;
    case WavForm::Float64: return SF_FORMAT_DOUBLE;
  }
  return SF_FORMAT_PCM_16;
}

namespace {
DWORD DefaultChannelMask(WORD channels) {
  static const DWORD masks[9] = {0, 0x4, 0x3, 0x7, 0x33, 0x37, 0x3F, 0x13F, 0x63F};
  return channels <= 8 ? masks[channels] : 0;
}
}  // namespace

HRESULT MakeWavFormType(WavForm form, WORD channels, DWORD rate, CMediaType* mt) {
  if (!mt) return E_POINTER;
  if (channels == 0) return E_INVALIDARG;
  WORD bits = 16, valid = 16, tag = WAVE_FORMAT_PCM;
  switch (form) {
    case WavForm::Pcm8: bits = valid = 8; break;
    case WavForm::Pcm16: bits = valid = 16; break;
    case WavForm::Pcm24In32: bits = 32; valid = 24; break;
    case WavForm::Pcm32: bits = valid = 32; break;
    case WavForm::Float32: bits = valid = 32; tag = WAVE_FORMAT_IEEE_FLOAT; break;
    case WavForm::Float64: bits = valid = 64; tag = WAVE_FORMAT_IEEE_FLOAT; break;
  }
  WAVEFORMATEXTENSIBLE x{};
  x.Format.wFormatTag = tag;
  x.Format.nChannels = channels;
  x.Format.nSamplesPerSec = rate;
  x.Format.wBitsPerSample = bits;
  x.Format.nBlockAlign = static_cast<WORD>(channels * (bits / 8));
  x.Format.nAvgBytesPerSec = rate * x.Format.nBlockAlign;
  if (channels <= 2) return CreateAudioMediaType(&x.Format, mt);
  x.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  x.Format.cbSize = 22;
  x.Samples.wValidBitsPerSample = valid;
  x.dwChannelMask = DefaultChannelMask(channels);
  x.SubFormat = tag == WAVE_FORMAT_PCM ? KSDATAFORMAT_SUBTYPE_PCM : KSDATAFORMAT_SUBTYPE_IEEE_FLOAT;
  return CreateAudioMediaType(&x.Format, mt);
}

HRESULT WavFormOfType(const CMediaType& mt, WavForm* form, WORD* channels, DWORD* rate) {
  if (!(mt.majortype == MEDIATYPE_Audio) || !(mt.formattype == FORMAT_WaveFormatEx) ||
      mt.FormatLength() < 16 || !mt.Format())
    return E_INVALIDARG;
  WAVEFORMATEX w{};
  std::memcpy(&w, mt.Format(), mt.FormatLength() < sizeof w ? mt.FormatLength() : sizeof w);
  WORD tag = w.wFormatTag;
  WORD valid = w.wBitsPerSample;
  if (tag == WAVE_FORMAT_EXTENSIBLE) {
    if (mt.FormatLength() < sizeof(WAVEFORMATEXTENSIBLE)) return E_INVALIDARG;
    WAVEFORMATEXTENSIBLE x;
    std::memcpy(&x, mt.Format(), sizeof x);
    if (x.SubFormat == KSDATAFORMAT_SUBTYPE_PCM) tag = WAVE_FORMAT_PCM;
    else if (x.SubFormat == KSDATAFORMAT_SUBTYPE_IEEE_FLOAT) tag = WAVE_FORMAT_IEEE_FLOAT;
    else return E_INVALIDARG;
    if (x.Samples.wValidBitsPerSample != 0) valid = x.Samples.wValidBitsPerSample;
  }
  if (w.nChannels == 0 || w.nBlockAlign != w.nChannels * (w.wBitsPerSample / 8)) return E_INVALIDARG;
  WavForm f;
  if (tag == WAVE_FORMAT_PCM && w.wBitsPerSample == 8) f = WavForm::Pcm8;
  else if (tag == WAVE_FORMAT_PCM && w.wBitsPerSample == 16) f = WavForm::Pcm16;
  else if (tag == WAVE_FORMAT_PCM && w.wBitsPerSample == 32) f = valid == 24 ? WavForm::Pcm24In32 : WavForm::Pcm32;
  else if (tag == WAVE_FORMAT_IEEE_FLOAT && w.wBitsPerSample == 32) f = WavForm::Float32;
  else if (tag == WAVE_FORMAT_IEEE_FLOAT && w.wBitsPerSample == 64) f = WavForm::Float64;
  else return E_INVALIDARG;
  if (form) *form = f;
  if (channels) *channels = w.nChannels;
  if (rate) *rate = w.nSamplesPerSec;
  return S_OK;
}
