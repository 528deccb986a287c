// Fixed-width stand-ins for the platform's basic integer, text and time types.
// Sizes follow the 64-bit Windows data model (LONG and ULONG are 32 bits).
#pragma once
#include <cstddef>
#include <cstdint>

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using UINT = uint32_t;
using ULONG = uint32_t;
using LONG = int32_t;
using BOOL = int32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using WCHAR = char16_t;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPVOID = void*;
using REFERENCE_TIME = int64_t;  // 100-nanosecond units

// A window handle: opaque, never dereferenced. Control interfaces carry it without needing the
// window layer.
struct HWND__;
using HWND = HWND__*;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};
