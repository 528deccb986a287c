// In-memory IStream.
#include "platform/com/stream.h"

#include <algorithm>
#include <cstring>

CMemoryStream* CMemoryStream::Create(std::vector<BYTE> bytes) {
  auto* s = new CMemoryStream(std::move(bytes));
  s->NonDelegatingAddRef();
  return s;
}

HRESULT CMemoryStream::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IStream || riid == IID_ISequentialStream) return GetInterface(static_cast<IStream*>(this), ppv);
  return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CMemoryStream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
  if (!pv && cb) return E_POINTER;
  size_t avail = pos_ < data_.size() ? data_.size() - pos_ : 0;
  size_t n = std::min<size_t>(cb, avail);
  if (n) std::memcpy(pv, data_.data() + pos_, n);
  pos_ += n;
  if (pcbRead) *pcbRead = static_cast<ULONG>(n);
  return n == cb ? S_OK : S_FALSE;
}

HRESULT CMemoryStream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
  if (!pv && cb) return E_POINTER;
  if (pcbWritten) *pcbWritten = 0;
  if (data_.size() >= writeLimit_ || pos_ + cb > writeLimit_) return STG_E_WRITEFAULT;
  if (pos_ + cb > data_.size()) data_.resize(pos_ + cb);
  if (cb) std::memcpy(data_.data() + pos_, pv, cb);
  pos_ += cb;
  if (pcbWritten) *pcbWritten = cb;
  return S_OK;
}

HRESULT CMemoryStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) {
  int64_t base = origin == STREAM_SEEK_SET ? 0
                 : origin == STREAM_SEEK_CUR ? static_cast<int64_t>(pos_)
                 : origin == STREAM_SEEK_END ? static_cast<int64_t>(data_.size())
                                             : -1;
  if (base < 0) return STG_E_INVALIDFUNCTION;
  int64_t p = base + move.QuadPart;
  if (p < 0) return STG_E_INVALIDFUNCTION;
  pos_ = static_cast<size_t>(p);
  if (newPos) newPos->QuadPart = static_cast<ULONGLONG>(p);
  return S_OK;
}

HRESULT CMemoryStream::SetSize(ULARGE_INTEGER size) {
  data_.resize(static_cast<size_t>(size.QuadPart));
  return S_OK;
}
