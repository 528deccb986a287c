// Language strings: the language handle HQXLANG__, numbered resource strings with their cache,
// the kernel's 18-column catalogue, the rule that tells a text key from a literal, and the stored
// language choice.
#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "kernel/services/qx_resources.h"
#include "platform/com/hresult.h"
#include "platform/com/types.h"

inline constexpr int QXLANG_COLUMNS = 18;
inline constexpr WORD QXLANG_MARKER = 0xFFFE;
// QxLang_Open into a slot that already holds a handle.
inline constexpr HRESULT QXLANG_S_ALREADY_OPEN = 0x4E001;
// Size of the buffer a numbered string is loaded through before it is cached.
inline constexpr int QXLANG_LOAD_CHARS = 1024;

// A catalogue entry. Everywhere else it is named by the address of its marker, passed as text:
// a 4-byte-aligned pointer whose first unit is 0xFFFE. A slot below 0x10000 holds a resource
// string number, replaced in place by the text at first use, so entries must not be const objects.
struct QXLANGENTRY {
  WORD marker;    // QXLANG_MARKER
  WORD count;     // QXLANG_COLUMNS
  DWORD reserved;
  const WCHAR* text[QXLANG_COLUMNS];  // in the order of g_QxLangColumnLcids
  const WCHAR* end;                   // nullptr
};
static_assert(sizeof(QXLANGENTRY) == 8 + 19 * sizeof(void*));
static_assert(alignof(QXLANGENTRY) >= 4);

// The LCID of each catalogue column, column 1 first.
extern const LCID g_QxLangColumnLcids[QXLANG_COLUMNS];

// The entry as the text key every string argument accepts.
inline const WCHAR* QxLangKey(const QXLANGENTRY& e) { return reinterpret_cast<const WCHAR*>(&e); }
// A resource string number as a text key.
inline const WCHAR* QxLangKey(UINT number) { return MAKEINTRESOURCEW(number); }

struct QxLangCacheItem {
  UINT key;
  std::unique_ptr<WCHAR[]> text;
};

// One open language. Fields keep the kernel's names; those read by other threads while a language
// changes are atomic.
struct HQXLANG__ {
  HMODULE baseInstance = nullptr;      // English fallback
  std::mutex stringCacheLock;          // also guards the temporary buffer's offset
  bool stringCacheLockInitialised = false;
  DWORD tempChars = 0;                 // at least 0x800; 0x2000 when 0 was asked
  WCHAR* tempBuffer = nullptr;         // tempChars units, zero-filled at open
  DWORD tempOffset = 0;                // next free unit of the temporary ring
  std::atomic<int32_t> useLangInstance{0};
  std::atomic<HMODULE> langInstance{nullptr};
  std::atomic<DWORD> lcid{0};
  std::atomic<int32_t> catalogueSlot{0};  // 1-based; below 1: not worked out yet
  std::vector<QxLangCacheItem> stringCache;  // sorted by key
  HMODULE loadedSatellite = nullptr;   // the satellite QxLang_Open loaded, freed at close
};

// Opens a language for `module`: loads the satellite beside it (module path with the extension
// replaced by "LNG") when there is one; otherwise the module serves as its own language module.
// E_POINTER, E_OUTOFMEMORY, or QXLANG_S_ALREADY_OPEN if *out is not null. *out is set only on success.
HRESULT QxLang_Open(HQXLANG__** out, HMODULE module, DWORD lcid, DWORD tempChars);
// Frees the satellite loaded at open, the buffer, the cache and the handle. Catalogue slots that
// were resolved through it go back to their numbers. Null is accepted.
void QxLang_Close(HQXLANG__* handle);

// The kernel's own handle, used by all effects. The module's start-up opens it, its unload closes it.
HRESULT QxLang_OpenKernelHandle(HMODULE module, DWORD lcid, DWORD tempChars);
void QxLang_CloseKernelHandle();
HQXLANG__* QxLang_GetKernelHandle();

// Switches `handle` and the kernel's handle to `lcid` (0 means 0x409), clearing their caches when it
// changes. Answers 0 if either handle is missing, 1 otherwise.
int QxLang_UpdateKernelLCID(HQXLANG__* handle, DWORD lcid);
void QxLang_ChangeLangInst(HQXLANG__* handle, HMODULE instance);
// Records the handle's LCID as this thread's locale (QxLang_GetThreadLocale); the platform's
// locale and MUI calls have no counterpart here.
void QxLang_UpdateThreadLocale(HQXLANG__* handle);
LCID QxLang_GetThreadLocale();
// What the last language change asked of the process layout: 1 right-to-left, 0 left-to-right.
DWORD QxLang_GetProcessDefaultLayout();
DWORD QxLang_GetLCID(HQXLANG__* handle);
HMODULE QxLang_InstFromLang(HQXLANG__* handle);
bool QxLang_IsLCIDEnglish(DWORD lcid);
DWORD QxLang_GetConditionedLCID(DWORD lcid);
// The user's interface language, from LC_ALL, LC_MESSAGES or LANG ("de_DE.UTF-8" gives 0x407);
// 0x409 when none is set or the language is not known.
LANGID QxLang_GetUserDefaultUILanguage();
// "zh-CN", "de-DE", "es-ES", "fr-FR", "ja-JP", "pl-PL" or "ru-RU" answering 0, else "en-US"
// answering 1; cut to `size` units with the terminator, nothing written when size < 1.
int QxLang_GetLangllCC(HQXLANG__* handle, WCHAR* text, int size);

// A numbered string through the cache; the shared empty text when there is none. The pointer
// stays valid until the next language change.
const WCHAR* QxGetString(HQXLANG__* handle, UINT key);
// A catalogue entry's text in the handle's language column (English when none matches).
const WCHAR* QxGetString(HQXLANG__* handle, const WCHAR* const* entry);
const WCHAR* QxGetString(HQXLANG__* handle, const QXLANGENTRY* entry);
// Null gives null; below 0x10000 a numbered string; a catalogue entry its text; a literal itself.
const WCHAR* QxGetStringSmart(HQXLANG__* handle, const WCHAR* text);
// Loads a numbered string into `buffer` (satellite language first, then English); a leading "^*"
// is removed. Answers its length, 0 when there is none.
int QxLoadString(HQXLANG__* handle, UINT key, WCHAR* buffer, int size);
int QxLoadString(HQXLANG__* handle, const WCHAR* const* entry, WCHAR* buffer, int size);
// True for a catalogue entry: not null, at or above 0x10000, 4-byte aligned, first unit 0xFFFE.
bool IsQXLANGSTRINGID(HQXLANG__* handle, const WCHAR* text);

// The language abbreviation: at most 3 letters, "ENU" for null or empty. It is set at start-up;
// QxGetLangID is not meant to race with QxSetLangID.
void QxSetLangID(const WCHAR* abbreviation);
const WCHAR* QxGetLangID();

// The stored language choice: value "ULangID" of "Software\Corvane\<application>\Lang", or of
// "...\<application>\<major>.<minor>\Lang" when the packed version's top byte is not 0 and the
// version is not ignored; current user first, then local machine. Load: S_OK with the low 16 bits
// in *outLcid, S_FALSE (nothing written) when no value is stored, a failure if the registry fails.
HRESULT QxLang_LoadUserLCIDMetric(const WCHAR* application, DWORD packedVersion, DWORD* outLcid,
                                  BOOL ignoreVersion);
// Save: writes the value for the current user.
HRESULT QxLang_SaveUserLCIDMetric(const WCHAR* application, DWORD packedVersion, DWORD lcid, BOOL ignoreVersion);
