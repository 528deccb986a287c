// IStream (with ISequentialStream's two slots first) and a growable in-memory stream,
// which is what persistence is saved to and loaded from outside a host's document store.
#pragma once
#include <vector>

#include "platform/com/unknown.h"

inline constexpr IID IID_ISequentialStream = MakeGuid("0C733A30-2A1C-11CE-ADE5-00AA0044773D");
inline constexpr IID IID_IStream = MakeGuid("0000000C-0000-0000-C000-000000000046");

enum STREAM_SEEK : DWORD { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 };

struct ISequentialStream : IUnknown {
  virtual HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
  virtual HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
};

struct IStream : ISequentialStream {
  virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT CopyTo(IStream* to, ULARGE_INTEGER cb, ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) = 0;
  virtual HRESULT Stat(void* statstg, DWORD flags) = 0;
  virtual HRESULT Clone(IStream** out) = 0;
};

// Reads past the end return S_FALSE with a short count, as a file stream does.
class CMemoryStream final : public CUnknown, public IStream {
 public:
  CMemoryStream() : CUnknown("memory stream", nullptr) {}
  explicit CMemoryStream(std::vector<BYTE> bytes) : CUnknown("memory stream", nullptr), data_(std::move(bytes)) {}
  // A new stream with one reference held by the caller.
  static CMemoryStream* Create(std::vector<BYTE> bytes = {});

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) override;
  HRESULT SetSize(ULARGE_INTEGER size) override;
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT Commit(DWORD) override { return S_OK; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT Stat(void*, DWORD) override { return E_NOTIMPL; }
  HRESULT Clone(IStream**) override { return E_NOTIMPL; }

  const std::vector<BYTE>& Bytes() const { return data_; }
  // Test aid: every write fails once the stream holds this many bytes.
  void FailWritesAfter(size_t bytes) { writeLimit_ = bytes; }

 private:
  std::vector<BYTE> data_;
  size_t pos_ = 0;
  size_t writeLimit_ = static_cast<size_t>(-1);
};
