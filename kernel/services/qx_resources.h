// Module handles and numbered string tables, standing in for the platform's resource section:
// tables are registered by code (or read from a satellite "LNG" file) and found with the platform's
// block rule, so FindResourceExW, LoadResource, LockResource, SizeofResource and LoadStringW work.
//
// A string table is stored as the resource compiler lays it out: block number id/16 + 1 holds 16
// length-prefixed strings (a WORD count of UTF-16 units, then the units). Each non-empty string
// counts and carries its own terminator, so a pointer into a block is usable as text.
//
// Satellite file format (UTF-8 text):
//   QXLNG 1                  first line
//   # comment                lines starting with '#' or ';', and blank lines, are skipped
//   [0407]                   the language (hex LANGID) of the lines that follow
//   3000=Einfaches Echo      string number (decimal, 0..65535) '=' text to the end of the line
// In the text, \\ \n \r \t and \uXXXX (four hex digits) are escapes; everything else is taken as it
// stands, spaces included.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/com/hresult.h"
#include "platform/com/types.h"

#ifndef QX_HMODULE_DEFINED
#define QX_HMODULE_DEFINED
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
#endif
struct HRSRC__;
using HRSRC = HRSRC__*;
using HGLOBAL = void*;
using LANGID = WORD;
using LCID = DWORD;

#define MAKEINTRESOURCEW(i) (reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(static_cast<WORD>(i))))
#define IS_INTRESOURCE(p) ((reinterpret_cast<uintptr_t>(p) >> 16) == 0)
#define RT_STRING MAKEINTRESOURCEW(6)

inline constexpr WORD LANG_NEUTRAL = 0x00;
inline constexpr WORD LANG_ENGLISH = 0x09;
inline constexpr LANGID QX_LANGID_ENGLISH_US = 0x0409;
constexpr WORD MAKELANGID(WORD primary, WORD sub) { return static_cast<WORD>((sub << 10) | primary); }
constexpr WORD PRIMARYLANGID(WORD lang) { return lang & 0x3FF; }
constexpr WORD SUBLANGID(WORD lang) { return lang >> 10; }
constexpr LANGID LANGIDFROMLCID(LCID lcid) { return static_cast<LANGID>(lcid & 0xFFFF); }

// One numbered string of a table a module defines.
struct QxStringTableEntry {
  UINT id;  // 0..65535
  const WCHAR* text;
};

// A module with no resources yet; `path` is its file (the satellite is looked for beside it).
HMODULE QxResources_CreateModule(const char* path);
// Adds or replaces strings in one language of a module. Pointers handed out earlier stay valid
// until the module is freed. E_INVALIDARG for a bad module or an id above 65535.
HRESULT QxResources_AddStringTable(HMODULE module, LANGID lang, const QxStringTableEntry* entries, size_t count);
// Reads a satellite file into a new module; nullptr if the file is missing or malformed.
HMODULE QxResources_LoadDataFile(const char* path);
// Frees a module and its tables; null and unknown handles are ignored.
void QxResources_FreeModule(HMODULE module);
// The path the module was created with, "" for an unknown handle.
const char* QxResources_GetModulePath(HMODULE module);

// Exact language match; LANG_NEUTRAL (0) searches neutral, then 0x409, then any language the
// module has the block in. Only RT_STRING with a number as name is known.
HRSRC FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language);
HGLOBAL LoadResource(HMODULE module, HRSRC resource);
void* LockResource(HGLOBAL data);
DWORD SizeofResource(HMODULE module, HRSRC resource);
// The string in the module's neutral language, else 0x409, else any: copied up to `bufferMax` - 1
// units and terminated; answers the units copied (the stored terminator is not counted). With
// `bufferMax` 0, `buffer` receives a pointer to the stored text (as LPWSTR*) and the full length
// is answered.
int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int bufferMax);

// Steps to string `id` in a string block and gives its units and count (count includes a stored
// terminator); false if the block is too short to hold it.
bool QxResources_StringInBlock(const void* block, DWORD blockBytes, UINT id, const WCHAR** text, WORD* count);
