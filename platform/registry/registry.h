// A file-backed stand-in for the system registry, with the platform's calls, handles and error codes.
// Every change is a locked read-modify-replace of one text file, so concurrent processes lose nothing.
//
// The file is $QX_REGISTRY_FILE, else $XDG_CONFIG_HOME/qxppack1/registry, else
// ~/.config/qxppack1/registry, looked up again at every call. A missing file is an empty registry.
// A file that fails its end-marker check (truncated, damaged, edited) makes every call fail with
// ERROR_REGISTRY_CORRUPT and is never rewritten; QxRegistry_LastError() says why and where.
//
// Differences from the platform worth knowing: a handle names its key by path, so a key deleted and
// created again is the same key to an open handle; REG_SZ values read back with their terminator
// whether or not it was stored; names compare case-insensitively for ASCII, Latin-1, Greek and
// Cyrillic letters.
#pragma once
#include <cstdint>
#include <string>

#include "platform/com/types.h"

struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
using REGSAM = DWORD;
using LSTATUS = LONG;
using LPDWORD = DWORD*;
using LPBYTE = BYTE*;

#ifndef QX_FILETIME_DEFINED
#define QX_FILETIME_DEFINED
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};
#endif

#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000000u)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000002u)))

// Result codes, with the platform's values.
inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_BAD_PATHNAME = 161;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_NO_MORE_ITEMS = 259;
inline constexpr LONG ERROR_REGISTRY_CORRUPT = 1015;
inline constexpr LONG ERROR_REGISTRY_IO_FAILED = 1016;
inline constexpr LONG ERROR_KEY_DELETED = 1018;

// Value types. REG_SZ and REG_EXPAND_SZ are text; REG_DWORD is 4 bytes; others are kept as bytes.
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;

// Access rights that are checked: querying, setting, creating subkeys and enumerating.
inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr REGSAM KEY_NOTIFY = 0x0010;
inline constexpr REGSAM KEY_WOW64_64KEY = 0x0100;
inline constexpr REGSAM KEY_WOW64_32KEY = 0x0200;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
inline constexpr REGSAM MAXIMUM_ALLOWED = 0x02000000;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// Creates the key and any missing keys above it, or opens it. `disposition` may be null.
LONG RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR className, DWORD options, REGSAM sam,
                     const void* securityAttributes, PHKEY result, LPDWORD disposition);
LONG RegCreateKeyW(HKEY key, LPCWSTR subKey, PHKEY result);  // full access
LONG RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM sam, PHKEY result);
LONG RegOpenKeyW(HKEY key, LPCWSTR subKey, PHKEY result);  // full access
LONG RegCloseKey(HKEY key);
// Deletes a key that has no subkeys (ERROR_ACCESS_DENIED otherwise); an empty `subKey` names
// `key` itself. A root cannot be deleted.
LONG RegDeleteKeyW(HKEY key, LPCWSTR subKey);
// Deletes `subKey` with everything below it; with a null or empty `subKey`, the values and
// subkeys of `key` but not the key itself. One transaction.
LONG RegDeleteTreeW(HKEY key, LPCWSTR subKey);
// A null or empty name is the key's default value.
LONG RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data, DWORD cbData);
// With `data` null and `cbData` given, answers the size. A buffer too small gives ERROR_MORE_DATA
// with the size needed in *cbData.
LONG RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD cbData);
LONG RegDeleteValueW(HKEY key, LPCWSTR valueName);
// Subkeys in case-insensitive name order. *cchName: in, the buffer in characters; out, the name's
// length without terminator (or the size needed with ERROR_MORE_DATA).
LONG RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD cchName, LPDWORD reserved, LPWSTR className,
                   LPDWORD cchClass, FILETIME* lastWriteTime);

// Holds the file's lock from Begin to End, so that other processes see the calls between as one
// change and wait for it (up to a minute) rather than meet it half done. Begin waits likewise; on
// success End must follow, on the same thread. Batches nest.
LONG QxRegistry_BeginBatch();
void QxRegistry_EndBatch();

// The message of the last failing call on this thread ("" if none failed yet), fit to show a user.
const char* QxRegistry_LastError();
// The code of that failure.
LONG QxRegistry_LastErrorCode();
// The file the calls use now; empty if no location can be worked out.
std::string QxRegistry_FilePath();
