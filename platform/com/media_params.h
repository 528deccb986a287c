// Media-parameter interfaces: a host reads an effect's parameters as floats with ranges and texts,
// sets them, and gives them time envelopes; a UI hears of changes through a callback.
#pragma once
#include "platform/com/unknown.h"

using MP_DATA = float;
using MP_TIMEDATA = DWORD;
using MP_CAPS = DWORD;
using MP_FLAGS = DWORD;

enum MP_TYPE : int32_t { MPT_INT = 0, MPT_FLOAT = 1, MPT_BOOL = 2, MPT_ENUM = 3, MPT_MAX = 4 };
enum MP_CURVE_TYPE : int32_t {
  MP_CURVE_JUMP = 1,
  MP_CURVE_LINEAR = 2,
  MP_CURVE_SQUARE = 4,
  MP_CURVE_INVSQUARE = 8,
  MP_CURVE_SINE = 16,
};

struct MP_PARAMINFO {
  MP_TYPE mpType;
  MP_CAPS mopCaps;
  MP_DATA mpdMinValue;
  MP_DATA mpdMaxValue;
  MP_DATA mpdNeutralValue;
  WCHAR szUnitText[32];
  WCHAR szLabel[32];
};

struct MP_ENVELOPE_SEGMENT {
  REFERENCE_TIME rtStart;
  REFERENCE_TIME rtEnd;
  MP_DATA valStart;
  MP_DATA valEnd;
  MP_CURVE_TYPE iCurve;
  MP_FLAGS flags;
};

inline constexpr DWORD DWORD_ALLPARAMS = 0xFFFFFFFFu;
inline constexpr GUID GUID_TIME_REFERENCE = MakeGuid("93AD712B-DAA0-4FFE-BC81-B0CE500FCDD9");

inline constexpr IID IID_IMediaParamInfo = MakeGuid("6D6CBB60-A223-44AA-842F-A2F06750BE6D");
inline constexpr IID IID_IMediaParams = MakeGuid("6D6CBB61-A223-44AA-842F-A2F06750BE6E");
inline constexpr IID IID_IMediaParamsSetUICallback = MakeGuid("F5011136-C416-48B9-8C35-E7C5F9AA6FDF");
// This system's own identifier for the UI callback a host hands over.
inline constexpr IID IID_IMediaParamsUICallback = MakeGuid("3E5F1C8A-6D2B-4F7E-9A41-0C7B2D94E6A1");

struct IMediaParamInfo : IUnknown {
  virtual HRESULT GetParamCount(DWORD* count) = 0;
  virtual HRESULT GetParamInfo(DWORD index, MP_PARAMINFO* info) = 0;
  // One CoTaskMemAlloc block: label, unit, enum names, each zero-ended, then a final zero.
  virtual HRESULT GetParamText(DWORD index, WCHAR** text) = 0;
  virtual HRESULT GetNumTimeFormats(DWORD* count) = 0;
  virtual HRESULT GetSupportedTimeFormat(DWORD index, GUID* format) = 0;
  virtual HRESULT GetCurrentTimeFormat(GUID* format, MP_TIMEDATA* data) = 0;
};

struct IMediaParams : IUnknown {
  virtual HRESULT GetParam(DWORD index, MP_DATA* value) = 0;
  virtual HRESULT SetParam(DWORD index, MP_DATA value) = 0;
  virtual HRESULT AddEnvelope(DWORD index, DWORD count, MP_ENVELOPE_SEGMENT* segments) = 0;
  virtual HRESULT FlushEnvelope(DWORD index, REFERENCE_TIME start, REFERENCE_TIME end) = 0;
  virtual HRESULT SetTimeFormat(GUID format, MP_TIMEDATA data) = 0;
};

struct IMediaParamsUICallback : IUnknown {
  virtual HRESULT ParamsBeginCapture(DWORD count, DWORD* indices) = 0;
  virtual HRESULT ParamsChanged(DWORD count, DWORD* indices, MP_DATA* values) = 0;
  virtual HRESULT ParamsEndCapture(DWORD count, DWORD* indices) = 0;
};

struct IMediaParamsSetUICallback : IUnknown {
  virtual HRESULT SetUICallback(IMediaParamsUICallback* callback) = 0;
};
