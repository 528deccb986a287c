// Conversions between the kernel's _qxwaveformat record and the platform's WAVEFORMATEX and
// WAVEFORMATEXTENSIBLE forms, and the sample-type tables they share.
#include "kernel/services/qx_waveformat.h"

#include <algorithm>
#include <cstring>

#include "platform/com/task_mem.h"

namespace {

struct SampleTypeRow {
  QXSAMPLETYPE type;
  WORD tag;
  WORD bits;
  WORD bytes;
};
constexpr SampleTypeRow kSampleTypes[] = {
    {QXSAMPLETYPE_PCM8, WAVE_FORMAT_PCM, 8, 1},
    {QXSAMPLETYPE_PCM16, WAVE_FORMAT_PCM, 16, 2},
    {QXSAMPLETYPE_PCM24, WAVE_FORMAT_PCM, 24, 3},
    {QXSAMPLETYPE_PCM32, WAVE_FORMAT_PCM, 32, 4},
    {QXSAMPLETYPE_FLOAT32, WAVE_FORMAT_IEEE_FLOAT, 32, 4},
    {QXSAMPLETYPE_FLOAT64, WAVE_FORMAT_IEEE_FLOAT, 64, 8},
    {QXSAMPLETYPE_FE00_32, QX_WAVE_FORMAT_FE00, 32, 4},
    {QXSAMPLETYPE_FE01_8, QX_WAVE_FORMAT_FE01, 8, 1},
    {QXSAMPLETYPE_FE02_16, QX_WAVE_FORMAT_FE02, 16, 2},
    {QXSAMPLETYPE_FE02_24, QX_WAVE_FORMAT_FE02, 24, 3},
    {QXSAMPLETYPE_FE02_32, QX_WAVE_FORMAT_FE02, 32, 4},
};

const SampleTypeRow* FindType(QXSAMPLETYPE type) {
  for (const auto& row : kSampleTypes)
    if (row.type == type) return &row;
  return nullptr;
}

// An extensible header is only read when the format says it carries one.
bool HasExtensibleHeader(const WAVEFORMATEX* f) {
  return f->wFormatTag == WAVE_FORMAT_EXTENSIBLE && f->cbSize >= QX_WFEXT_EXTRA_BYTES;
}

GUID SubFormatOf(const WAVEFORMATEX* f) {
  GUID g;
  std::memcpy(&g, reinterpret_cast<const BYTE*>(f) + offsetof(WAVEFORMATEXTENSIBLE, SubFormat), sizeof g);
  return g;
}

WORD ValidBitsOf(const WAVEFORMATEX* f) {
  WORD v;
  std::memcpy(&v, reinterpret_cast<const BYTE*>(f) + offsetof(WAVEFORMATEXTENSIBLE, Samples), sizeof v);
  return v;
}

// Bytes 2..15 of the standard base identifier XXXXXXXX-0000-0010-8000-00AA00389B71.
bool HasBaseIdentifier(const GUID& g) {
  return std::memcmp(reinterpret_cast<const BYTE*>(&g) + 2,
                     reinterpret_cast<const BYTE*>(&KSDATAFORMAT_SUBTYPE_PCM) + 2, 14) == 0;
}

GUID SubFormatForTag(WORD tag) {
  GUID g = KSDATAFORMAT_SUBTYPE_PCM;
  g.Data1 = tag;
  return g;
}

bool IsNonDefaultMask(DWORD mask, WORD channels) {
  return mask != 0 && mask != QxAudio_DefaultChannelMask(channels);
}

DWORD ExtraRoom(DWORD size) {
  return size > QXWAVEFORMAT_HEADER_BYTES ? std::min(size - QXWAVEFORMAT_HEADER_BYTES, QXWAVEFORMAT_MAX_EXTRA)
                                          : 0;
}

void ClearRecord(_qxwaveformat* r, DWORD size) {
  std::memset(static_cast<void*>(r), 0, QXWAVEFORMAT_HEADER_BYTES + ExtraRoom(size));
}

void WriteExtensible(WAVEFORMATEX* buffer, WORD subTag, WORD channels, DWORD rate, WORD bits,
                     WORD blockAlign, DWORD avgBytes, DWORD mask) {
  WAVEFORMATEXTENSIBLE x{};
  x.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
  x.Format.nChannels = channels;
  x.Format.nSamplesPerSec = rate;
  x.Format.nAvgBytesPerSec = avgBytes;
  x.Format.nBlockAlign = blockAlign;
  x.Format.wBitsPerSample = bits;
  x.Format.cbSize = QX_WFEXT_EXTRA_BYTES;
  x.Samples.wValidBitsPerSample = bits;
  x.dwChannelMask = mask;
  x.SubFormat = SubFormatForTag(subTag);
  std::memcpy(static_cast<void*>(buffer), &x, sizeof x);
}

}  // namespace

DWORD QxAudio_DefaultChannelMask(WORD channels) {
  return channels >= 32 ? 0xFFFFFFFFu : (DWORD{1} << channels) - 1;
}

DWORD QxAudio_WfxBytes(const WAVEFORMATEX* format) {
  return format ? QX_WFX_BYTES + format->cbSize : 0;
}

QXSAMPLETYPE QxAudio_GetSampleType2(WORD tag, WORD bits) {
  switch (tag) {
    case WAVE_FORMAT_PCM:
    case QX_WAVE_FORMAT_FE01:
      switch (bits) {
        case 8: return tag == WAVE_FORMAT_PCM ? QXSAMPLETYPE_PCM8 : QXSAMPLETYPE_FE01_8;
        case 16: return QXSAMPLETYPE_PCM16;
        case 20:
        case 24: return QXSAMPLETYPE_PCM24;
        case 32: return QXSAMPLETYPE_PCM32;
      }
      break;
    case WAVE_FORMAT_IEEE_FLOAT:
      if (bits == 32) return QXSAMPLETYPE_FLOAT32;
      if (bits == 64) return QXSAMPLETYPE_FLOAT64;
      break;
    case QX_WAVE_FORMAT_FE00:
      if (bits == 24 || bits == 32) return QXSAMPLETYPE_FE00_32;
      break;
    case QX_WAVE_FORMAT_FE02:
      switch (bits) {
        case 8: return QXSAMPLETYPE_PCM8;
        case 16: return QXSAMPLETYPE_FE02_16;
        case 24: return QXSAMPLETYPE_FE02_24;
        case 32: return QXSAMPLETYPE_FE02_32;
      }
      break;
    case QX_WAVE_FORMAT_FE03:
      if (bits == 16) return QXSAMPLETYPE_FE03_16;
      if (bits == 24) return QXSAMPLETYPE_FE03_24;
      break;
  }
  return QXSAMPLETYPE_NONE;
}

// An extensible format is read by its subformat whatever its extra size says: hosts that leave
// the size at 0 still hand over the whole extensible record.
QXSAMPLETYPE QxAudio_GetSampleType(const WAVEFORMATEX* format) {
  if (!format) return QXSAMPLETYPE_NONE;
  if (format->wFormatTag != WAVE_FORMAT_EXTENSIBLE)
    return QxAudio_GetSampleType2(format->wFormatTag, format->wBitsPerSample);
  const GUID sub = SubFormatOf(format);
  if (!HasBaseIdentifier(sub)) return QXSAMPLETYPE_NONE;
  QXSAMPLETYPE t = QxAudio_GetSampleType2(static_cast<WORD>(sub.Data1 & 0xFFFF), format->wBitsPerSample);
  if (t == QXSAMPLETYPE_PCM32 && ValidBitsOf(format) == 24) t = QXSAMPLETYPE_FE00_32;
  return t;
}

QXSAMPLETYPE QxAudio_GetSampleTypeOfBlock(const void* block, size_t bytes) {
  if (!block || bytes < QX_WFX_BYTES - 2) return QXSAMPLETYPE_NONE;
  WAVEFORMATEXTENSIBLE x{};
  std::memcpy(&x, block, std::min(bytes, sizeof x));
  return QxAudio_GetSampleType(&x.Format);
}

WORD QxAudio_FormatTagFromSampleType(QXSAMPLETYPE type) {
  const SampleTypeRow* r = FindType(type);
  return r ? r->tag : 0;
}
WORD QxAudio_BitsFromSampleType(QXSAMPLETYPE type) {
  const SampleTypeRow* r = FindType(type);
  return r ? r->bits : 0;
}
WORD QxAudio_BytesFromSampleType(QXSAMPLETYPE type) {
  const SampleTypeRow* r = FindType(type);
  return r ? r->bytes : 0;
}

WORD QxAudio_GetWaveFormatTag(const WAVEFORMATEX* format) {
  if (!format) return 0;
  if (format->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    const GUID sub = SubFormatOf(format);
    if (HasBaseIdentifier(sub)) return static_cast<WORD>(sub.Data1 & 0xFFFF);
  }
  return format->wFormatTag;
}

bool QxAudio_IsCompressed(const WAVEFORMATEX* format) {
  return QxAudio_GetSampleType(format) == QXSAMPLETYPE_NONE;
}

bool QxAudio_FixBadWfx(WAVEFORMATEX* format) {
  if (!format) return false;
  const WORD tag = QxAudio_GetWaveFormatTag(format);
  if (tag != WAVE_FORMAT_PCM && tag != WAVE_FORMAT_IEEE_FLOAT) return false;
  if (format->nChannels == 0 || format->wBitsPerSample == 0) return false;
  bool changed = false;
  const DWORD align = DWORD{format->nChannels} * ((format->wBitsPerSample + 7u) / 8u);
  if (align <= 0xFFFF && format->nBlockAlign != align) {
    format->nBlockAlign = static_cast<WORD>(align);
    changed = true;
  }
  const DWORD avg = format->nSamplesPerSec * format->nBlockAlign;
  if (format->nAvgBytesPerSec != avg) {
    format->nAvgBytesPerSec = avg;
    changed = true;
  }
  if (format->wFormatTag != WAVE_FORMAT_EXTENSIBLE) {
    if (format->cbSize != 0) {
      format->cbSize = 0;
      changed = true;
    }
  } else {
    const WORD valid = ValidBitsOf(format);
    if (valid == 0 || valid > format->wBitsPerSample) {
      const WORD bits = format->wBitsPerSample;
      std::memcpy(reinterpret_cast<BYTE*>(format) + offsetof(WAVEFORMATEXTENSIBLE, Samples), &bits, sizeof bits);
      changed = true;
    }
  }
  return changed;
}

void QxAudio_InitWfx(WAVEFORMATEX* format, WORD tag, WORD channels, DWORD rate, WORD bits) {
  if (!format) return;
  format->wFormatTag = tag;
  format->nChannels = channels;
  format->nSamplesPerSec = rate;
  format->nBlockAlign = static_cast<WORD>(channels * ((bits + 7u) / 8u));
  format->nAvgBytesPerSec = rate * format->nBlockAlign;
  format->wBitsPerSample = bits;
  format->cbSize = 0;
}

DWORD QxAudio_InitWfxFlex(WAVEFORMATEX* format, WORD tag, DWORD rate, WORD bits, WORD channels,
                          DWORD mask, DWORD size) {
  if (!format || size < QX_WFX_BYTES) return 0;
  if (IsNonDefaultMask(mask, channels) && size >= QX_WFEXT_BYTES) {
    const WORD align = static_cast<WORD>(channels * ((bits + 7u) / 8u));
    WriteExtensible(format, tag, channels, rate, bits, align, rate * align, mask);
    return QX_WFEXT_BYTES;
  }
  QxAudio_InitWfx(format, tag, channels, rate, bits);
  return QX_WFX_BYTES;
}

// --- _qxwaveformat members -------------------------------------------------------------------

void _qxwaveformat::Init(DWORD rate, QXSAMPLETYPE type, WORD channels, DWORD mask, DWORD size) {
  ClearRecord(this, size);
  Size = 32;
  SampleType = type;
  SamplesPerSec = rate;
  Channels = channels;
  ChannelMask = mask;
  UpdateBlockAlign();
}

void _qxwaveformat::Init(DWORD size, const WAVEFORMATEX* f) {
  ClearRecord(this, size);
  Size = size < 33 ? 32 : size;
  if (!f) {
    Size = 32;
    return;
  }
  SamplesPerSec = f->nSamplesPerSec;
  Channels = f->nChannels;
  BlockAlign = f->nBlockAlign;
  AvgBytesPerSec = f->nAvgBytesPerSec;
  SampleType = QxAudio_GetSampleType(f);

  if (f->wFormatTag == WAVE_FORMAT_PCM) {
    WAVEFORMATEX fixed;
    std::memcpy(&fixed, f, sizeof fixed);
    QxAudio_FixBadWfx(&fixed);
    BlockAlign = fixed.nBlockAlign;
  }

  if (f->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    std::memcpy(&ChannelMask, reinterpret_cast<const BYTE*>(f) + offsetof(WAVEFORMATEXTENSIBLE, dwChannelMask),
                sizeof ChannelMask);
    Flags |= QXWF_MASK_FROM_EXT;
    // A zero subformat with consistent numbers is a host that forgot to fill it in. The test
    // multiplies channels by bits, not bytes, and reads 32 bits as float: both are kept.
    if (SampleType == QXSAMPLETYPE_NONE) {
      const GUID sub = SubFormatOf(f);
      const bool sizeOk = f->cbSize == 0 || f->cbSize == QX_WFEXT_EXTRA_BYTES;
      if (sub == GUID_NULL && sizeOk && DWORD{f->nChannels} * f->wBitsPerSample == f->nBlockAlign &&
          f->nSamplesPerSec * f->nBlockAlign == f->nAvgBytesPerSec) {
        switch (f->wBitsPerSample) {
          case 8: SampleType = QXSAMPLETYPE_PCM8; break;
          case 16: SampleType = QXSAMPLETYPE_PCM16; break;
          case 24: SampleType = QXSAMPLETYPE_PCM24; break;
          case 32: SampleType = QXSAMPLETYPE_FLOAT32; break;
          case 64: SampleType = QXSAMPLETYPE_FLOAT64; break;
          default: break;
        }
      }
    }
  }

  if (SampleType == QXSAMPLETYPE_NONE) {
    wFormatTag = QxAudio_GetWaveFormatTag(f);
    wBitsPerSample = f->wBitsPerSample;
    Flags |= QXWF_TAG_VALID;
    const BYTE* src = nullptr;
    DWORD n = 0;
    if (f->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
      if (f->cbSize > QX_WFEXT_EXTRA_BYTES) {
        src = reinterpret_cast<const BYTE*>(f) + QX_WFEXT_BYTES;
        n = f->cbSize - QX_WFEXT_EXTRA_BYTES;
      }
    } else if (f->wFormatTag != WAVE_FORMAT_PCM && f->wFormatTag != WAVE_FORMAT_IEEE_FLOAT) {
      src = reinterpret_cast<const BYTE*>(f) + QX_WFX_BYTES;
      n = f->cbSize;
    }
    n = std::min(n, ExtraRoom(size));
    if (n) std::memcpy(Extra, src, n);
    ExtraSize = static_cast<WORD>(n);
  }
  Size = 32 + (size > 33 ? ExtraSize : 0);
}

// The plain form keeps whatever the values say; a tag with no sample type becomes a compressed
// record with flag 0x8, as any other plain format would.
void _qxwaveformat::InitAsWfx(WORD tag, WORD channels, DWORD rate, WORD bits, DWORD size) {
  WAVEFORMATEX f;
  QxAudio_InitWfx(&f, tag, channels, rate, bits);
  Init(size, &f);
}

void _qxwaveformat::UpdateBlockAlign() {
  if (SampleType == QXSAMPLETYPE_NONE) return;
  BlockAlign = static_cast<WORD>(QxAudio_BytesFromSampleType(SampleType) * Channels);
  AvgBytesPerSec = SamplesPerSec * BlockAlign;
}

WORD _qxwaveformat::FormatTag() const {
  return (Flags & QXWF_TAG_VALID) ? wFormatTag : QxAudio_FormatTagFromSampleType(SampleType);
}

WORD _qxwaveformat::BitsPerSample() const {
  return (Flags & QXWF_TAG_VALID) ? wBitsPerSample : QxAudio_BitsFromSampleType(SampleType);
}

WORD _qxwaveformat::BytesPerSample() const {
  return (Flags & QXWF_TAG_VALID) ? static_cast<WORD>((wBitsPerSample + 7u) / 8u)
                                  : QxAudio_BytesFromSampleType(SampleType);
}

bool _qxwaveformat::operator==(const _qxwaveformat& o) const {
  auto mask = [](const _qxwaveformat& r) {
    return r.ChannelMask ? r.ChannelMask : QxAudio_DefaultChannelMask(r.Channels);
  };
  if (SampleType != o.SampleType || SamplesPerSec != o.SamplesPerSec || Channels != o.Channels ||
      BlockAlign != o.BlockAlign || mask(*this) != mask(o))
    return false;
  if (!IsCompressed()) return true;
  return FormatTag() == o.FormatTag() && BitsPerSample() == o.BitsPerSample() &&
         AvgBytesPerSec == o.AvgBytesPerSec && ExtraSize == o.ExtraSize &&
         std::memcmp(Extra, o.Extra, std::min<DWORD>(ExtraSize, QXWAVEFORMAT_MAX_EXTRA)) == 0;
}

bool _qxwaveformat::operator==(const WAVEFORMATEX& format) const {
  _qxwaveformat other;
  other.Init(sizeof other, &format);
  return *this == other;
}

// --- copies ----------------------------------------------------------------------------------

// A buffer too small for the extensible form gets the plain one, whatever `dest` asked.
// The plain form of a record without flag 0x8 goes through QxAudio_InitWfxFlex with a zero mask:
// the form is already chosen here, and plain means plain.
DWORD QxAudio_GeneralCopyWfx(WAVEFORMATEX* buffer, DWORD size, const _qxwaveformat* r,
                             QXWAVEFORMAT_COPY_DEST dest) {
  if (!buffer || !r || size < QX_WFX_BYTES) return 0;
  DWORD mask = dest == QXWFCOPY_PLAIN_NOMASK ? 0 : r->ChannelMask;
  const bool nonDefault = IsNonDefaultMask(mask, r->Channels);
  bool ext;
  switch (dest) {
    case QXWFCOPY_PLAIN:
    case QXWFCOPY_PLAIN_NOMASK: ext = false; break;
    case QXWFCOPY_EXT_MULTICHANNEL: ext = r->Channels > 2; break;
    case QXWFCOPY_EXTENSIBLE: ext = true; break;
    case QXWFCOPY_AUTO:
    default: ext = (r->Flags & QXWF_MASK_FROM_EXT) || nonDefault; break;
  }
  const bool room = size >= QX_WFEXT_BYTES;
  if (!mask) mask = QxAudio_DefaultChannelMask(r->Channels);

  if (!(r->Flags & QXWF_TAG_VALID)) {
    const WORD tag = QxAudio_FormatTagFromSampleType(r->SampleType);
    const WORD bits = QxAudio_BitsFromSampleType(r->SampleType);
    if (ext && room) {
      const WORD align = static_cast<WORD>((bits / 8u) * r->Channels);
      WriteExtensible(buffer, tag, r->Channels, r->SamplesPerSec, bits, align, align * r->SamplesPerSec, mask);
      return QX_WFEXT_BYTES;
    }
    return QxAudio_InitWfxFlex(buffer, tag, r->SamplesPerSec, bits, r->Channels, 0, size);
  }

  // Stored as given: the form only decides the header; the extra data follows it.
  DWORD offset;
  if ((ext || nonDefault) && room) {
    WriteExtensible(buffer, r->wFormatTag, r->Channels, r->SamplesPerSec, r->wBitsPerSample, r->BlockAlign,
                    r->AvgBytesPerSec, mask);
    offset = QX_WFEXT_BYTES;
  } else {
    buffer->wFormatTag = r->wFormatTag;
    buffer->nChannels = r->Channels;
    buffer->nSamplesPerSec = r->SamplesPerSec;
    buffer->nAvgBytesPerSec = r->AvgBytesPerSec;
    buffer->nBlockAlign = r->BlockAlign;
    buffer->wBitsPerSample = r->wBitsPerSample;
    buffer->cbSize = 0;
    // PCM and float records place their extra data over the extra size field itself; that
    // placement is part of the established output and is kept.
    offset = (r->wFormatTag == WAVE_FORMAT_PCM || r->wFormatTag == WAVE_FORMAT_IEEE_FLOAT) ? 16 : QX_WFX_BYTES;
  }
  const DWORD n = std::min<DWORD>({r->ExtraSize, QXWAVEFORMAT_MAX_EXTRA, size - offset});
  BYTE* bytes = reinterpret_cast<BYTE*>(buffer);
  if (n) std::memcpy(bytes + offset, r->Extra, n);
  WORD cb;
  std::memcpy(&cb, bytes + 16, sizeof cb);
  cb = static_cast<WORD>(cb + n);
  std::memcpy(bytes + 16, &cb, sizeof cb);
  return std::max(offset + n, QX_WFX_BYTES);
}

DWORD QxAudio_GeneralCopyQxWaveFormat(_qxwaveformat* record, DWORD size, const WAVEFORMATEX* format) {
  if (!record || !format) return 0;
  record->Init(size, format);
  return record->Size;
}

DWORD QxAudio_GeneralCopyQxWaveFormat(_qxwaveformat* record, DWORD size, const _qxwaveformat* source) {
  if (!record || !source) return 0;
  const DWORD n = std::min<DWORD>({source->ExtraSize, QXWAVEFORMAT_MAX_EXTRA, ExtraRoom(size)});
  if (record != source) {
    std::memcpy(static_cast<void*>(record), source, QXWAVEFORMAT_HEADER_BYTES);
    if (n) std::memcpy(record->Extra, source->Extra, n);
  }
  record->ExtraSize = static_cast<WORD>(n);
  record->Size = 32 + n;
  return record->Size;
}

WAVEFORMATEX* QxAudio_AllocAndCopyWfx(const WAVEFORMATEX* format, QXWAVEFORMAT_COPY_DEST dest) {
  if (!format) return nullptr;
  const bool isExt = format->wFormatTag == WAVE_FORMAT_EXTENSIBLE;
  const bool asItStands = dest == QXWFCOPY_AUTO || (dest == QXWFCOPY_EXTENSIBLE && isExt) ||
                          ((dest == QXWFCOPY_PLAIN || dest == QXWFCOPY_PLAIN_NOMASK) && !isExt);
  if (asItStands) {
    // An extensible record is read by its subformat whatever its extra size says, so the copy
    // always has room for one (zero past the bytes the source gives).
    const DWORD bytes = QxAudio_WfxBytes(format);
    const DWORD room = isExt ? std::max<DWORD>(bytes, sizeof(WAVEFORMATEXTENSIBLE)) : bytes;
    void* p = CoTaskMemAlloc(room);
    if (!p) return nullptr;
    std::memset(p, 0, room);
    std::memcpy(p, format, bytes);
    return static_cast<WAVEFORMATEX*>(p);
  }
  // The change of form goes through a record limited to 128 bytes, as the kernel always did.
  _qxwaveformat record;
  record.Init(128, format);
  const DWORD bytes = QX_WFEXT_BYTES + record.ExtraSize;
  void* p = CoTaskMemAlloc(bytes);
  if (!p) return nullptr;
  std::memset(p, 0, bytes);
  QxAudio_GeneralCopyWfx(static_cast<WAVEFORMATEX*>(p), bytes, &record, dest);
  return static_cast<WAVEFORMATEX*>(p);
}

DWORD QxAudio_CopyWfx(WAVEFORMATEX* dst, DWORD size, const WAVEFORMATEX* src) {
  if (!dst || !src) return 0;
  const DWORD bytes = QxAudio_WfxBytes(src);
  if (bytes > size) return 0;
  std::memmove(static_cast<void*>(dst), src, bytes);
  return bytes;
}

bool QxAudio_CopyWfxToWfExt(WAVEFORMATEXTENSIBLE* dst, const WAVEFORMATEX* src) {
  if (!dst || !src) return false;
  if (src->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    if (!HasExtensibleHeader(src)) return false;
    std::memmove(static_cast<void*>(dst), src, QX_WFEXT_BYTES);
    dst->Format.cbSize = QX_WFEXT_EXTRA_BYTES;
    return true;
  }
  const bool plainPcm = src->wFormatTag == WAVE_FORMAT_PCM || src->wFormatTag == WAVE_FORMAT_IEEE_FLOAT;
  if (!plainPcm && src->cbSize != 0) return false;
  WAVEFORMATEX f;
  std::memcpy(&f, src, sizeof f);
  WriteExtensible(&dst->Format, f.wFormatTag, f.nChannels, f.nSamplesPerSec, f.wBitsPerSample, f.nBlockAlign,
                  f.nAvgBytesPerSec, QxAudio_DefaultChannelMask(f.nChannels));
  return true;
}

bool QxAudio_CopyWfExt(WAVEFORMATEXTENSIBLE* dst, const WAVEFORMATEX* src) {
  return QxAudio_CopyWfxToWfExt(dst, src);
}

bool QxAudio_CopyWfExtToWfx(WAVEFORMATEX* dst, const WAVEFORMATEX* src) {
  if (!dst || !src) return false;
  if (src->wFormatTag != WAVE_FORMAT_EXTENSIBLE) {
    std::memmove(static_cast<void*>(dst), src, QX_WFX_BYTES);
    return true;
  }
  if (!HasExtensibleHeader(src)) return false;
  const GUID sub = SubFormatOf(src);
  WORD tag;
  if (sub == KSDATAFORMAT_SUBTYPE_PCM)
    tag = WAVE_FORMAT_PCM;
  else if (sub == KSDATAFORMAT_SUBTYPE_IEEE_FLOAT)
    tag = WAVE_FORMAT_IEEE_FLOAT;
  else
    return false;
  std::memmove(static_cast<void*>(dst), src, 16);
  dst->wFormatTag = tag;
  dst->cbSize = 0;
  return true;
}

bool QxAudio_IsEqualFormat(const WAVEFORMATEX* a, const WAVEFORMATEX* b) {
  if (!a || !b) return a == b;
  _qxwaveformat ra;
  ra.Init(sizeof ra, a);
  return ra == *b;
}
