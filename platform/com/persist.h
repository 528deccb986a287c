// IPersist and IPersistStream: how an object names its class and saves itself to a stream.
#pragma once
#include "platform/com/stream.h"

inline constexpr IID IID_IPersist = MakeGuid("0000010C-0000-0000-C000-000000000046");
inline constexpr IID IID_IPersistStream = MakeGuid("00000109-0000-0000-C000-000000000046");

struct IPersist : IUnknown {
  virtual HRESULT GetClassID(CLSID* clsid) = 0;
};

struct IPersistStream : IPersist {
  // S_OK when there are unsaved changes, S_FALSE otherwise.
  virtual HRESULT IsDirty() = 0;
  virtual HRESULT Load(IStream* stream) = 0;
  virtual HRESULT Save(IStream* stream, BOOL clearDirty) = 0;
  virtual HRESULT GetSizeMax(ULARGE_INTEGER* size) = 0;
};
