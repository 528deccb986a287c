// Media type records of the graph: the AM_MEDIA_TYPE layout, the audio identifiers, and CMediaType,
// which owns its format block and deep-copies it.
#pragma once
#include "platform/com/guid.h"
#include "platform/com/types.h"
#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"

inline constexpr GUID MEDIATYPE_Audio = MakeGuid("73647561-0000-0010-8000-00AA00389B71");
inline constexpr GUID MEDIASUBTYPE_PCM = MakeGuid("00000001-0000-0010-8000-00AA00389B71");
inline constexpr GUID MEDIASUBTYPE_IEEE_FLOAT = MakeGuid("00000003-0000-0010-8000-00AA00389B71");
inline constexpr GUID FORMAT_WaveFormatEx = MakeGuid("05589F81-C356-11CE-BF01-00AA0055595A");

struct AM_MEDIA_TYPE {
  GUID majortype;
  GUID subtype;
  BOOL bFixedSizeSamples;
  BOOL bTemporalCompression;
  ULONG lSampleSize;
  GUID formattype;
  IUnknown* pUnk;
  ULONG cbFormat;
  BYTE* pbFormat;
};

// Releases what a plain record holds (format block from CoTaskMemAlloc, pUnk) and clears it.
void FreeMediaType(AM_MEDIA_TYPE& mt);
// Frees a record made by CreateMediaType, with its format block.
void DeleteMediaType(AM_MEDIA_TYPE* mt);
// Deep copy into a record on the task heap; null on failure or a null source.
AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE* src);
// Deep copy into an existing record (whose old contents are not freed).
HRESULT CopyMediaType(AM_MEDIA_TYPE* dst, const AM_MEDIA_TYPE* src);

class CMediaType : public AM_MEDIA_TYPE {
 public:
  CMediaType();
  explicit CMediaType(const GUID* majorType);
  CMediaType(const AM_MEDIA_TYPE& src);  // NOLINT: implicit like the platform's class
  CMediaType(const CMediaType& src);
  CMediaType(CMediaType&& src) noexcept;
  ~CMediaType();

  CMediaType& operator=(const AM_MEDIA_TYPE& src);
  CMediaType& operator=(const CMediaType& src);
  CMediaType& operator=(CMediaType&& src) noexcept;
  bool operator==(const CMediaType& o) const;
  bool operator!=(const CMediaType& o) const { return !(*this == o); }

  // Copies `src` into this object; fails with E_OUTOFMEMORY and leaves this one empty.
  HRESULT Set(const AM_MEDIA_TYPE& src);
  bool IsValid() const { return !(majortype == GUID_NULL); }

  const GUID* Type() const { return &majortype; }
  void SetType(const GUID* t) { majortype = *t; }
  const GUID* Subtype() const { return &subtype; }
  void SetSubtype(const GUID* t) { subtype = *t; }
  const GUID* FormatType() const { return &formattype; }
  void SetFormatType(const GUID* t) { formattype = *t; }

  bool IsFixedSize() const { return bFixedSizeSamples != FALSE; }
  bool IsTemporalCompressed() const { return bTemporalCompression != FALSE; }
  ULONG GetSampleSize() const { return bFixedSizeSamples ? lSampleSize : 0; }
  void SetSampleSize(ULONG size);
  void SetVariableSize() { bFixedSizeSamples = FALSE; }
  void SetTemporalCompression(BOOL c) { bTemporalCompression = c; }

  BYTE* Format() const { return pbFormat; }
  ULONG FormatLength() const { return cbFormat; }
  // Replaces the format block with a copy of `data`; false when memory runs out.
  BOOL SetFormat(const BYTE* data, ULONG length);
  // Gives a zeroed block of `length` bytes, reusing the present one when it is large enough.
  BYTE* AllocFormatBuffer(ULONG length);
  BYTE* ReallocFormatBuffer(ULONG length);
  void ResetFormatBuffer();
  void InitMediaType();

  // True when this type fits `partial`, whose GUID_NULL fields are wildcards.
  bool MatchesPartial(const CMediaType* partial) const;
  bool IsPartiallySpecified() const;
};

// Builds an audio type around a copy of the format record: subtype from the tag (or the extensible
// SubFormat), fixed-size samples of one block. The extensible form is recognised by its tag and
// copied as 18 + cbSize bytes (at least the 40 of the record).
HRESULT CreateAudioMediaType(const WAVEFORMATEX* wfx, CMediaType* mt);
CMediaType MakeAudioMediaType(const WAVEFORMATEX& wfx);
CMediaType MakeAudioMediaType(const WAVEFORMATEXTENSIBLE& wfx);
