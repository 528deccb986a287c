// The kernel's own audio format record, _qxwaveformat, which names a sample layout with one
// QXSAMPLETYPE value, and the conversions between it and WAVEFORMATEX / WAVEFORMATEXTENSIBLE.
#pragma once
#include <cstddef>

#include "platform/com/hresult.h"
#include "platform/com/types.h"
#include "platform/com/wave_format.h"

// One value says tag, container bits and bytes of an uncompressed sample layout; 0 is anything
// compressed or unknown. The values are stored in records and must not change.
enum QXSAMPLETYPE : uint32_t {
  QXSAMPLETYPE_NONE = 0x00,
  QXSAMPLETYPE_PCM8 = 0x10,
  QXSAMPLETYPE_PCM16 = 0x11,
  QXSAMPLETYPE_PCM24 = 0x12,
  QXSAMPLETYPE_PCM32 = 0x13,
  QXSAMPLETYPE_FLOAT32 = 0x20,
  QXSAMPLETYPE_FLOAT64 = 0x21,
  QXSAMPLETYPE_FE00_32 = 0x30,  // private tag 0xFE00; also 24 valid bits in a 32-bit container
  QXSAMPLETYPE_FE01_8 = 0x31,
  QXSAMPLETYPE_FE02_16 = 0x40,
  QXSAMPLETYPE_FE02_24 = 0x41,
  QXSAMPLETYPE_FE02_32 = 0x42,
  // Produced for tag 0xFE03 but known to no size table: tag, bits and bytes read as 0.
  QXSAMPLETYPE_FE03_16 = 0x80,
  QXSAMPLETYPE_FE03_24 = 0x81,
};

inline constexpr WORD QX_WAVE_FORMAT_FE00 = 0xFE00;
inline constexpr WORD QX_WAVE_FORMAT_FE01 = 0xFE01;
inline constexpr WORD QX_WAVE_FORMAT_FE02 = 0xFE02;
inline constexpr WORD QX_WAVE_FORMAT_FE03 = 0xFE03;

// _qxwaveformat::Flags
inline constexpr DWORD QXWF_TAG_VALID = 0x8;        // wFormatTag and wBitsPerSample hold the format
inline constexpr DWORD QXWF_MASK_FROM_EXT = 0x10;   // ChannelMask came from an extensible format

// Bytes of extra data a record can carry, and what an extensible format adds to the plain header.
inline constexpr DWORD QXWAVEFORMAT_MAX_EXTRA = 1024;
inline constexpr WORD QX_WFEXT_EXTRA_BYTES = 22;
inline constexpr DWORD QX_WFX_BYTES = sizeof(WAVEFORMATEX);           // 18
inline constexpr DWORD QX_WFEXT_BYTES = sizeof(WAVEFORMATEXTENSIBLE);  // 40

// Which form a copy into a WAVEFORMATEX buffer writes.
enum QXWAVEFORMAT_COPY_DEST : int {
  QXWFCOPY_AUTO = 0,            // extensible only when the record needs it and the buffer has room
  QXWFCOPY_PLAIN = 1,           // plain
  QXWFCOPY_PLAIN_NOMASK = 2,    // plain, the channel mask dropped
  QXWFCOPY_EXT_MULTICHANNEL = 3,  // extensible above 2 channels, otherwise plain
  QXWFCOPY_EXTENSIBLE = 4,      // extensible
};

// The record. It is variable-sized: a caller may hold it in less memory than sizeof, down to the
// header (QXWAVEFORMAT_HEADER_BYTES), and passes that size to Init so Extra is never overrun.
// The stored tag and bits for compressed formats are named wFormatTag and wBitsPerSample because
// FormatTag() and BitsPerSample() are the members that answer for every kind of record.
// Size counts 32 plus ExtraSize, not the 34-byte header: that is the record's established meaning.
struct _qxwaveformat {
  DWORD Size;
  QXSAMPLETYPE SampleType;
  DWORD SamplesPerSec;
  WORD Channels;
  WORD BlockAlign;
  DWORD ChannelMask;
  DWORD Flags;
  WORD wFormatTag;      // valid with QXWF_TAG_VALID
  WORD wBitsPerSample;  // valid with QXWF_TAG_VALID
  DWORD AvgBytesPerSec;
  WORD ExtraSize;
  BYTE Extra[QXWAVEFORMAT_MAX_EXTRA];

  // Clears the record and describes an uncompressed layout; block alignment and byte rate follow
  // from the type. `size` is the room the caller has for the record.
  void Init(DWORD samplesPerSec, QXSAMPLETYPE type, WORD channels, DWORD channelMask, DWORD size);
  // Reads a plain or extensible format (an extensible one arrives as a WAVEFORMATEX* whose bytes
  // go on as a WAVEFORMATEXTENSIBLE). Extra data is copied only as far as `size` leaves room.
  void Init(DWORD size, const WAVEFORMATEX* format);
  // Same as Init from the plain format that QxAudio_InitWfx builds from these values.
  void InitAsWfx(WORD formatTag, WORD channels, DWORD samplesPerSec, WORD bitsPerSample, DWORD size);
  void UpdateBlockAlign();
  WORD FormatTag() const;
  WORD BitsPerSample() const;
  WORD BytesPerSample() const;
  bool IsCompressed() const { return SampleType == QXSAMPLETYPE_NONE; }

  // Same format: type, rate, channels, block alignment and speaker layout (a zero mask counts as
  // the default one), and for compressed formats tag, bits, byte rate and extra data as well.
  // Where the format came from (flag 0x10) does not matter.
  bool operator==(const _qxwaveformat& other) const;
  bool operator==(const WAVEFORMATEX& format) const;
};
inline constexpr DWORD QXWAVEFORMAT_HEADER_BYTES = offsetof(_qxwaveformat, Extra);  // 34
static_assert(offsetof(_qxwaveformat, SampleType) == 4);
static_assert(offsetof(_qxwaveformat, Channels) == 12);
static_assert(offsetof(_qxwaveformat, ChannelMask) == 16);
static_assert(offsetof(_qxwaveformat, wFormatTag) == 24);
static_assert(offsetof(_qxwaveformat, AvgBytesPerSec) == 28);
static_assert(offsetof(_qxwaveformat, ExtraSize) == 32);
static_assert(QXWAVEFORMAT_HEADER_BYTES == 34);

// (1 << channels) - 1; all 32 bits from 32 channels on.
DWORD QxAudio_DefaultChannelMask(WORD channels);
// Bytes a format occupies: 18 plus its extra size.
DWORD QxAudio_WfxBytes(const WAVEFORMATEX* format);

// An extensible format (tag 0xFFFE) is read by its subformat whatever its extra size: the pointer
// must reach a whole extensible record. A block of known length that may be shorter goes through
// QxAudio_GetSampleTypeOfBlock, which reads it as far as it goes (missing bytes read as 0).
QXSAMPLETYPE QxAudio_GetSampleType(const WAVEFORMATEX* format);
QXSAMPLETYPE QxAudio_GetSampleTypeOfBlock(const void* block, size_t bytes);
QXSAMPLETYPE QxAudio_GetSampleType2(WORD formatTag, WORD bitsPerSample);
WORD QxAudio_FormatTagFromSampleType(QXSAMPLETYPE type);
WORD QxAudio_BitsFromSampleType(QXSAMPLETYPE type);
WORD QxAudio_BytesFromSampleType(QXSAMPLETYPE type);

// A copy in CoTaskMemAlloc memory in the requested form; nullptr on failure. The caller frees it
// with CoTaskMemFree.
WAVEFORMATEX* QxAudio_AllocAndCopyWfx(const WAVEFORMATEX* format, QXWAVEFORMAT_COPY_DEST dest);
// Writes the record into `buffer` of `size` bytes in the form `dest` asks for. Answers the bytes
// written, 0 when the buffer cannot hold even the plain header.
DWORD QxAudio_GeneralCopyWfx(WAVEFORMATEX* buffer, DWORD size, const _qxwaveformat* record,
                             QXWAVEFORMAT_COPY_DEST dest);
// Fills a record of `size` bytes from a format (as _qxwaveformat::Init) or from another record
// (extra data cut to the room). Answer: the record's Size field, 0 on a bad argument.
DWORD QxAudio_GeneralCopyQxWaveFormat(_qxwaveformat* record, DWORD size, const WAVEFORMATEX* format);
DWORD QxAudio_GeneralCopyQxWaveFormat(_qxwaveformat* record, DWORD size, const _qxwaveformat* source);
// Copies a format with its extra data when it fits in `size` bytes; answers the bytes copied,
// 0 (nothing written) when it does not fit.
DWORD QxAudio_CopyWfx(WAVEFORMATEX* dst, DWORD size, const WAVEFORMATEX* src);
// Writes the extensible form of `src`: an extensible source is copied (its extra size set to 22),
// a plain one converted as QxAudio_CopyWfxToWfExt does. false, with `dst` untouched, if neither works.
bool QxAudio_CopyWfExt(WAVEFORMATEXTENSIBLE* dst, const WAVEFORMATEX* src);
// Reduces a format to the plain form the effects stream in: a plain source is copied as it stands,
// all 18 bytes; of an extensible one the first 16 bytes are copied, the tag becomes 1 or 3 by the
// SubFormat and the extra size 0. Any other SubFormat (or an extensible source too short to carry
// one) leaves `dst` untouched. Answers whether `dst` was written.
bool QxAudio_CopyWfExtToWfx(WAVEFORMATEX* dst, const WAVEFORMATEX* src);
// Widens a plain format with no extra data (or PCM / float, whose extra size is ignored) to the
// extensible form: the tag moves into the SubFormat, valid bits are the bits, the mask is the
// default one. An extensible source is copied. false, with `dst` untouched, for formats that carry
// extra data.
bool QxAudio_CopyWfxToWfExt(WAVEFORMATEXTENSIBLE* dst, const WAVEFORMATEX* src);
bool QxAudio_IsCompressed(const WAVEFORMATEX* format);
// The tag that names the coding: the SubFormat's tag for an extensible format with the standard
// base identifier, otherwise the format's own tag.
WORD QxAudio_GetWaveFormatTag(const WAVEFORMATEX* format);
// The plain form: block alignment channels x whole bytes per sample, byte rate from it, extra size 0.
void QxAudio_InitWfx(WAVEFORMATEX* format, WORD formatTag, WORD channels, DWORD samplesPerSec,
                     WORD bitsPerSample);
// The plain form, or the extensible one when the mask is neither 0 nor the default for the
// channel count and `size` has room for it. Answers the bytes written (18 or 40), 0 if size < 18.
DWORD QxAudio_InitWfxFlex(WAVEFORMATEX* format, WORD formatTag, DWORD samplesPerSec,
                          WORD bitsPerSample, WORD channels, DWORD channelMask, DWORD size);
// Same format by the record's rules, whatever form either arrives in.
bool QxAudio_IsEqualFormat(const WAVEFORMATEX* a, const WAVEFORMATEX* b);
// Corrects what hosts commonly get wrong in PCM and float formats (plain, or extensible with the
// standard SubFormat): block alignment becomes channels x whole bytes per sample, the byte rate
// rate x block alignment, a plain format's extra size 0, and the valid bits of an extensible one
// no more than its bits (0 means all of them). Formats with no channels or bits are left alone.
// Answers whether anything changed.
bool QxAudio_FixBadWfx(WAVEFORMATEX* format);
