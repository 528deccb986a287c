// The platform's audio format records: the plain 18-byte WAVEFORMATEX and the extensible form,
// packed as they are stored, with the standard subformat identifiers.
#pragma once
#include "platform/com/guid.h"
#include "platform/com/types.h"

inline constexpr WORD WAVE_FORMAT_PCM = 1;
inline constexpr WORD WAVE_FORMAT_IEEE_FLOAT = 3;
inline constexpr WORD WAVE_FORMAT_EXTENSIBLE = 0xFFFE;

#pragma pack(push, 1)
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;
  WORD wBitsPerSample;
  WORD cbSize;
};
struct WAVEFORMATEXTENSIBLE {
  WAVEFORMATEX Format;
  union {
    WORD wValidBitsPerSample;
    WORD wSamplesPerBlock;
    WORD wReserved;
  } Samples;
  DWORD dwChannelMask;
  GUID SubFormat;
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 18);
static_assert(sizeof(WAVEFORMATEXTENSIBLE) == 40);

inline constexpr GUID KSDATAFORMAT_SUBTYPE_PCM = MakeGuid("00000001-0000-0010-8000-00AA00389B71");
inline constexpr GUID KSDATAFORMAT_SUBTYPE_IEEE_FLOAT = MakeGuid("00000003-0000-0010-8000-00AA00389B71");
