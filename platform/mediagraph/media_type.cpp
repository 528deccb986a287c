// Media type records: deep copies of the format block on the task heap, audio type construction.
// The format block is always CoTaskMemAlloc memory so plain records and CMediaType can trade it.
#include "platform/mediagraph/media_type.h"

#include <cstring>
#include <utility>

#include "platform/com/task_mem.h"

void FreeMediaType(AM_MEDIA_TYPE& mt) {
  if (mt.cbFormat != 0 || mt.pbFormat) CoTaskMemFree(mt.pbFormat);
  mt.cbFormat = 0;
  mt.pbFormat = nullptr;
  if (mt.pUnk) {
    mt.pUnk->Release();
    mt.pUnk = nullptr;
  }
}

void DeleteMediaType(AM_MEDIA_TYPE* mt) {
  if (!mt) return;
  FreeMediaType(*mt);
  CoTaskMemFree(mt);
}

HRESULT CopyMediaType(AM_MEDIA_TYPE* dst, const AM_MEDIA_TYPE* src) {
  if (!dst || !src) return E_POINTER;
  *dst = *src;
  if (src->cbFormat != 0 && src->pbFormat) {
    dst->pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(src->cbFormat));
    if (!dst->pbFormat) {
      dst->cbFormat = 0;
      dst->pUnk = nullptr;
      return E_OUTOFMEMORY;
    }
    std::memcpy(dst->pbFormat, src->pbFormat, src->cbFormat);
  } else {
    dst->cbFormat = 0;
    dst->pbFormat = nullptr;
  }
  if (dst->pUnk) dst->pUnk->AddRef();
  return S_OK;
}

AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE* src) {
  if (!src) return nullptr;
  auto* mt = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
  if (!mt) return nullptr;
  if (FAILED(CopyMediaType(mt, src))) {
    CoTaskMemFree(mt);
    return nullptr;
  }
  return mt;
}

void CMediaType::InitMediaType() {
  majortype = GUID_NULL;
  subtype = GUID_NULL;
  bFixedSizeSamples = TRUE;
  bTemporalCompression = FALSE;
  lSampleSize = 1;
  formattype = GUID_NULL;
  pUnk = nullptr;
  cbFormat = 0;
  pbFormat = nullptr;
}

CMediaType::CMediaType() : AM_MEDIA_TYPE{} { InitMediaType(); }

CMediaType::CMediaType(const GUID* majorType) : AM_MEDIA_TYPE{} {
  InitMediaType();
  if (majorType) majortype = *majorType;
}

CMediaType::CMediaType(const AM_MEDIA_TYPE& src) : AM_MEDIA_TYPE{} {
  InitMediaType();
  Set(src);
}

CMediaType::CMediaType(const CMediaType& src) : AM_MEDIA_TYPE{} {
  InitMediaType();
  Set(src);
}

CMediaType::CMediaType(CMediaType&& src) noexcept : AM_MEDIA_TYPE(static_cast<AM_MEDIA_TYPE&>(src)) {
  src.InitMediaType();
}

CMediaType::~CMediaType() { FreeMediaType(*this); }

CMediaType& CMediaType::operator=(const AM_MEDIA_TYPE& src) {
  if (&src != this) Set(src);
  return *this;
}

CMediaType& CMediaType::operator=(const CMediaType& src) {
  if (&src != this) Set(src);
  return *this;
}

CMediaType& CMediaType::operator=(CMediaType&& src) noexcept {
  if (&src != this) {
    FreeMediaType(*this);
    static_cast<AM_MEDIA_TYPE&>(*this) = static_cast<AM_MEDIA_TYPE&>(src);
    src.InitMediaType();
  }
  return *this;
}

HRESULT CMediaType::Set(const AM_MEDIA_TYPE& src) {
  if (&src == this) return S_OK;
  FreeMediaType(*this);
  HRESULT hr = CopyMediaType(this, &src);
  if (FAILED(hr)) InitMediaType();
  return hr;
}

bool CMediaType::operator==(const CMediaType& o) const {
  return majortype == o.majortype && subtype == o.subtype && formattype == o.formattype &&
         cbFormat == o.cbFormat &&
         (cbFormat == 0 || std::memcmp(pbFormat, o.pbFormat, cbFormat) == 0);
}

void CMediaType::SetSampleSize(ULONG size) {
  if (size == 0) {
    SetVariableSize();
  } else {
    bFixedSizeSamples = TRUE;
    lSampleSize = size;
  }
}

BOOL CMediaType::SetFormat(const BYTE* data, ULONG length) {
  if (length == 0 || !data) {
    ResetFormatBuffer();
    return TRUE;
  }
  BYTE* p = AllocFormatBuffer(length);
  if (!p) return FALSE;
  std::memcpy(p, data, length);
  return TRUE;
}

BYTE* CMediaType::AllocFormatBuffer(ULONG length) {
  if (length == 0) return nullptr;
  if (cbFormat >= length && pbFormat) {
    cbFormat = length;
    std::memset(pbFormat, 0, length);
    return pbFormat;
  }
  auto* p = static_cast<BYTE*>(CoTaskMemAlloc(length));
  if (!p) return nullptr;
  std::memset(p, 0, length);
  CoTaskMemFree(pbFormat);
  pbFormat = p;
  cbFormat = length;
  return p;
}

BYTE* CMediaType::ReallocFormatBuffer(ULONG length) {
  if (length == 0) return nullptr;
  if (length <= cbFormat && pbFormat) {
    cbFormat = length;
    return pbFormat;
  }
  auto* p = static_cast<BYTE*>(CoTaskMemAlloc(length));
  if (!p) return nullptr;
  std::memset(p, 0, length);
  if (pbFormat) std::memcpy(p, pbFormat, cbFormat);
  CoTaskMemFree(pbFormat);
  pbFormat = p;
  cbFormat = length;
  return p;
}

void CMediaType::ResetFormatBuffer() {
  CoTaskMemFree(pbFormat);
  pbFormat = nullptr;
  cbFormat = 0;
}

bool CMediaType::MatchesPartial(const CMediaType* partial) const {
  if (!(partial->majortype == GUID_NULL) && !(majortype == partial->majortype)) return false;
  if (!(partial->subtype == GUID_NULL) && !(subtype == partial->subtype)) return false;
  if (!(partial->formattype == GUID_NULL)) {
    if (!(formattype == partial->formattype)) return false;
    if (cbFormat != partial->cbFormat) return false;
    if (cbFormat != 0 && std::memcmp(pbFormat, partial->pbFormat, cbFormat) != 0) return false;
  }
  return true;
}

bool CMediaType::IsPartiallySpecified() const {
  return majortype == GUID_NULL || subtype == GUID_NULL || formattype == GUID_NULL;
}

HRESULT CreateAudioMediaType(const WAVEFORMATEX* wfx, CMediaType* mt) {
  if (!wfx || !mt) return E_POINTER;
  FreeMediaType(*mt);
  mt->InitMediaType();
  mt->SetType(&MEDIATYPE_Audio);
  mt->SetFormatType(&FORMAT_WaveFormatEx);
  ULONG length = sizeof(WAVEFORMATEX);
  GUID sub = GUID_NULL;
  if (wfx->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    length = sizeof(WAVEFORMATEX) + wfx->cbSize;
    if (length < sizeof(WAVEFORMATEXTENSIBLE)) return E_INVALIDARG;
    sub = reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(wfx)->SubFormat;
  } else {
    // The audio subtypes are the tag in the first field of the base identifier.
    sub = MEDIASUBTYPE_PCM;
    sub.Data1 = wfx->wFormatTag;
    // PCM and float records carry no extra bytes whatever their size field says.
    if (wfx->wFormatTag != WAVE_FORMAT_PCM && wfx->wFormatTag != WAVE_FORMAT_IEEE_FLOAT)
      length += wfx->cbSize;
  }
  mt->SetSubtype(&sub);
  mt->SetSampleSize(wfx->nBlockAlign);
  mt->SetTemporalCompression(FALSE);
  if (!mt->SetFormat(reinterpret_cast<const BYTE*>(wfx), length)) return E_OUTOFMEMORY;
  return S_OK;
}

CMediaType MakeAudioMediaType(const WAVEFORMATEX& wfx) {
  CMediaType mt;
  CreateAudioMediaType(&wfx, &mt);
  return mt;
}

CMediaType MakeAudioMediaType(const WAVEFORMATEXTENSIBLE& wfx) {
  CMediaType mt;
  WAVEFORMATEXTENSIBLE copy = wfx;
  if (copy.Format.wFormatTag == WAVE_FORMAT_EXTENSIBLE && copy.Format.cbSize < 22) copy.Format.cbSize = 22;
  CreateAudioMediaType(&copy.Format, &mt);
  return mt;
}
