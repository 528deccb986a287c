// Status codes with the values a component host expects; HRESULT is a signed 32-bit word.
// Success codes are >= 0, failures have the top bit set.
#pragma once
#include <cstdint>

using HRESULT = int32_t;

constexpr HRESULT MakeHr(uint32_t v) { return static_cast<HRESULT>(v); }
constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }
constexpr HRESULT HRESULT_FROM_WIN32(uint32_t err) {
  return err == 0 || static_cast<HRESULT>(err) < 0 ? static_cast<HRESULT>(err)
                                                     : MakeHr((err & 0xFFFFu) | 0x80070000u);
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = MakeHr(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = MakeHr(0x80004002);
inline constexpr HRESULT E_POINTER = MakeHr(0x80004003);
inline constexpr HRESULT E_ABORT = MakeHr(0x80004004);
inline constexpr HRESULT E_FAIL = MakeHr(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = MakeHr(0x8000FFFF);
inline constexpr HRESULT E_ACCESSDENIED = MakeHr(0x80070005);
inline constexpr HRESULT E_HANDLE = MakeHr(0x80070006);
inline constexpr HRESULT E_OUTOFMEMORY = MakeHr(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = MakeHr(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = MakeHr(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = MakeHr(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = MakeHr(0x80040154);
inline constexpr HRESULT STG_E_READFAULT = MakeHr(0x8003001E);
inline constexpr HRESULT STG_E_WRITEFAULT = MakeHr(0x8003001D);
inline constexpr HRESULT STG_E_INVALIDFUNCTION = MakeHr(0x80030001);

// Media-graph status codes.
inline constexpr HRESULT VFW_E_INVALIDMEDIATYPE = MakeHr(0x80040200);
inline constexpr HRESULT VFW_E_ALREADY_CONNECTED = MakeHr(0x80040204);
inline constexpr HRESULT VFW_E_NO_ACCEPTABLE_TYPES = MakeHr(0x80040207);
inline constexpr HRESULT VFW_E_NOT_CONNECTED = MakeHr(0x80040209);
inline constexpr HRESULT VFW_E_NO_ALLOCATOR = MakeHr(0x8004020A);
inline constexpr HRESULT VFW_E_RUNTIME_ERROR = MakeHr(0x8004020B);
inline constexpr HRESULT VFW_E_BUFFER_OVERFLOW = MakeHr(0x8004020D);
inline constexpr HRESULT VFW_E_NOT_COMMITTED = MakeHr(0x80040211);
inline constexpr HRESULT VFW_E_SIZENOTSET = MakeHr(0x80040212);
inline constexpr HRESULT VFW_E_NOT_STOPPED = MakeHr(0x80040224);
inline constexpr HRESULT VFW_E_WRONG_STATE = MakeHr(0x80040227);
inline constexpr HRESULT VFW_E_TYPE_NOT_ACCEPTED = MakeHr(0x8004022A);
inline constexpr HRESULT VFW_E_SAMPLE_TIME_NOT_SET = MakeHr(0x80040249);
inline constexpr HRESULT VFW_S_NO_MORE_ITEMS = MakeHr(0x00040103);
