// Interfaces every in-place effect shares: the direct float door for hosts without a graph, and the
// optional tail-request flag a host may put on its samples.
#pragma once
#include "platform/com/unknown.h"

inline constexpr IID IID_IQxSampleTailFlag = MakeGuid("447DA113-4AC8-4833-849A-2BA285E1E52B");
inline constexpr IID IID_IQxAudioTransformFloat = MakeGuid("8568D2A1-2A86-11D3-9E94-00C04F68BE44");

struct IQxSampleTailFlag : IUnknown {
  // Nonzero: this sample is one of the host's tail-pulling samples.
  virtual int32_t GetTailRequest() = 0;
};

struct IQxAudioTransformFloat : IUnknown {
  virtual HRESULT Prepare(uint16_t channels, uint32_t sampleRate) = 0;
  // Rewrites the interleaved buffer in place; 1 when the tail has ended, else 0.
  virtual int32_t Process(float* buffer, uint32_t frames, int32_t tailRequest) = 0;
  virtual int32_t RenderTail(float* buffer, uint32_t* frames) = 0;
  virtual HRESULT Finish() = 0;
  virtual int32_t AlwaysOne() = 0;
  virtual HRESULT Reset(int32_t clearAll) = 0;
};

inline constexpr IID IID_IStaticFilterPreset = MakeGuid("36A22460-0CC9-11D0-8574-00A0C9053912");
inline constexpr IID IID_IQxTranslationInfo = MakeGuid("9E43494C-2217-425F-B36A-762C9D4EE58A");

// Named, read-only parameter sets compiled into the module.
struct IStaticFilterPreset : IUnknown {
  virtual HRESULT GetPresetCount(LONG* count) = 0;
  // Copies the row's name in the present language; the buffer must hold it.
  virtual HRESULT GetPresetName(LONG index, WCHAR* text) = 0;
  virtual HRESULT LoadPreset(LONG index) = 0;
};

struct IQxTranslationInfo : IUnknown {
  virtual HRESULT SetLanguage(DWORD lcid) = 0;
};
