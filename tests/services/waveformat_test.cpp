// Tests of the wave format record: sample-type tables, reading plain and extensible formats,
// the copy-destination forms and the reduction to the plain form the effects stream in.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kernel/services/qx_waveformat.h"
#include "platform/com/task_mem.h"

namespace {

WAVEFORMATEX Plain(WORD tag, WORD ch, DWORD rate, WORD bits) {
  WAVEFORMATEX f;
  QxAudio_InitWfx(&f, tag, ch, rate, bits);
  return f;
}

WAVEFORMATEXTENSIBLE Ext(const GUID& sub, WORD ch, DWORD rate, WORD bits, WORD valid, DWORD mask) {
  WAVEFORMATEXTENSIBLE x{};
  x.Format = Plain(WAVE_FORMAT_EXTENSIBLE, ch, rate, bits);
  x.Format.cbSize = 22;
  x.Samples.wValidBitsPerSample = valid;
  x.dwChannelMask = mask;
  x.SubFormat = sub;
  return x;
}

const GUID kUnknownSub = MakeGuid("12345678-9ABC-DEF0-1234-56789ABCDEF0");

// An extensible format followed by `extra` bytes of its own data.
std::vector<BYTE> ExtWithExtra(const GUID& sub, std::vector<BYTE> extra) {
  WAVEFORMATEXTENSIBLE x = Ext(sub, 2, 44100, 16, 16, 3);
  x.Format.cbSize = static_cast<WORD>(22 + extra.size());
  std::vector<BYTE> bytes(sizeof x + extra.size());
  std::memcpy(bytes.data(), &x, sizeof x);
  if (!extra.empty()) std::memcpy(bytes.data() + sizeof x, extra.data(), extra.size());
  return bytes;
}

const WAVEFORMATEX* AsWfx(const std::vector<BYTE>& b) { return reinterpret_cast<const WAVEFORMATEX*>(b.data()); }
const WAVEFORMATEX* AsWfx(const WAVEFORMATEXTENSIBLE& x) { return &x.Format; }

}  // namespace

TEST(SampleType, FromTagAndBits) {
  struct Row { WORD tag, bits; uint32_t type; };
  const Row rows[] = {{1, 8, 0x10},       {0xFE01, 8, 0x31},    {1, 16, 0x11},      {0xFE01, 16, 0x11},
                      {1, 20, 0x12},      {0xFE01, 24, 0x12},   {1, 32, 0x13},      {3, 32, 0x20},
                      {3, 64, 0x21},      {3, 16, 0},           {0xFE00, 24, 0x30}, {0xFE00, 32, 0x30},
                      {0xFE00, 16, 0},    {0xFE02, 8, 0x10},    {0xFE02, 16, 0x40}, {0xFE02, 24, 0x41},
                      {0xFE02, 32, 0x42}, {0xFE03, 16, 0x80},   {0xFE03, 24, 0x81}, {0xFE03, 32, 0},
                      {1, 12, 0},         {2, 4, 0},            {0xFFFE, 16, 0}};
  for (const Row& r : rows)
    EXPECT_EQ(QxAudio_GetSampleType2(r.tag, r.bits), r.type) << std::hex << r.tag << " " << std::dec << r.bits;
}

TEST(WaveFormatRecord, TwentyBitPcmReadsAsTwentyFour) {
  WAVEFORMATEX f = Plain(WAVE_FORMAT_PCM, 2, 48000, 20);
  f.nBlockAlign = 5;  // wrong on purpose: the record corrects the block alignment
  EXPECT_EQ(QxAudio_GetSampleType(&f), QXSAMPLETYPE_PCM24);
  _qxwaveformat r;
  r.Init(sizeof r, &f);
  EXPECT_EQ(r.SampleType, QXSAMPLETYPE_PCM24);
  EXPECT_EQ(r.BitsPerSample(), 24);
  EXPECT_EQ(r.BytesPerSample(), 3);
  EXPECT_EQ(r.FormatTag(), WAVE_FORMAT_PCM);
  EXPECT_EQ(r.BlockAlign, 6);
  EXPECT_EQ(r.Flags, 0u);
  EXPECT_EQ(r.Size, 32u);
  EXPECT_FALSE(r.IsCompressed());
}

TEST(WaveFormatRecord, Extensible24In32IsPrivateType) {
  const WAVEFORMATEXTENSIBLE x = Ext(KSDATAFORMAT_SUBTYPE_PCM, 6, 96000, 32, 24, 0x3F);
  EXPECT_EQ(QxAudio_GetSampleType(AsWfx(x)), QXSAMPLETYPE_FE00_32);
  _qxwaveformat r;
  r.Init(sizeof r, AsWfx(x));
  EXPECT_EQ(r.SampleType, QXSAMPLETYPE_FE00_32);
  EXPECT_EQ(r.FormatTag(), 0xFE00);
  EXPECT_EQ(r.BitsPerSample(), 32);
  EXPECT_EQ(r.ChannelMask, 0x3Fu);
  EXPECT_EQ(r.Flags, QXWF_MASK_FROM_EXT);
}

TEST(WaveFormatRecord, ExtensibleIsReadByItsSubformatWhateverItsExtraSize) {
  for (WORD extra : {0, 10, 21, 22}) {
    WAVEFORMATEXTENSIBLE x = Ext(KSDATAFORMAT_SUBTYPE_PCM, 2, 44100, 16, 16, 3);
    x.Format.cbSize = extra;
    EXPECT_EQ(QxAudio_GetSampleType(AsWfx(x)), QXSAMPLETYPE_PCM16) << extra;
    _qxwaveformat r;
    r.Init(sizeof r, AsWfx(x));
    EXPECT_EQ(r.SampleType, QXSAMPLETYPE_PCM16) << extra;
    EXPECT_EQ(r.ChannelMask, 3u);
    EXPECT_EQ(r.ExtraSize, 0);
  }
  // A block of known length is read as far as it goes and never past its end (the copies below
  // are exactly that long, so an overread shows under the address sanitizer).
  WAVEFORMATEXTENSIBLE x = Ext(KSDATAFORMAT_SUBTYPE_IEEE_FLOAT, 2, 44100, 32, 32, 3);
  x.Format.cbSize = 0;
  const WAVEFORMATEX plain = Plain(WAVE_FORMAT_PCM, 1, 8000, 16);
  struct Case {
    const void* from;
    size_t bytes;
    QXSAMPLETYPE type;
  } cases[] = {{&x, 40, QXSAMPLETYPE_FLOAT32}, {&x, 39, QXSAMPLETYPE_NONE}, {&x, 18, QXSAMPLETYPE_NONE},
               {&plain, 16, QXSAMPLETYPE_PCM16}, {&plain, 15, QXSAMPLETYPE_NONE}};
  for (const Case& c : cases) {
    std::vector<BYTE> block(static_cast<const BYTE*>(c.from), static_cast<const BYTE*>(c.from) + c.bytes);
    EXPECT_EQ(QxAudio_GetSampleTypeOfBlock(block.data(), block.size()), c.type) << c.bytes;
  }
}

TEST(WaveFormatRecord, UnknownSubformatKeepsExtraAsCompressed) {
  const auto bytes = ExtWithExtra(kUnknownSub, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(QxAudio_GetSampleType(AsWfx(bytes)), QXSAMPLETYPE_NONE);
  EXPECT_TRUE(QxAudio_IsCompressed(AsWfx(bytes)));
  _qxwaveformat r;
  r.Init(sizeof r, AsWfx(bytes));
  EXPECT_TRUE(r.IsCompressed());
  EXPECT_EQ(r.Flags, QXWF_TAG_VALID | QXWF_MASK_FROM_EXT);
  EXPECT_EQ(r.FormatTag(), WAVE_FORMAT_EXTENSIBLE);
  EXPECT_EQ(r.BitsPerSample(), 16);
  ASSERT_EQ(r.ExtraSize, 6);
  EXPECT_EQ(r.Size, 38u);
  EXPECT_EQ(std::memcmp(r.Extra, bytes.data() + 40, 6), 0);

  // The record's room limits the copy; a record with no room past 33 bytes counts none.
  r.Init(QXWAVEFORMAT_HEADER_BYTES + 4, AsWfx(bytes));
  EXPECT_EQ(r.ExtraSize, 4);
  EXPECT_EQ(r.Size, 36u);
  r.Init(20, AsWfx(bytes));
  EXPECT_EQ(r.ExtraSize, 0);
  EXPECT_EQ(r.Size, 32u);
}

TEST(WaveFormatRecord, CompressedPlainAndZeroSubformat) {
  // A plain compressed format: its own tag, extra data behind the 18 bytes.
  std::vector<BYTE> adpcm(18 + 4);
  WAVEFORMATEX f = Plain(2, 1, 22050, 4);
  f.cbSize = 4;
  std::memcpy(adpcm.data(), &f, 18);
  const BYTE tail[4] = {9, 8, 7, 6};
  std::memcpy(adpcm.data() + 18, tail, 4);
  _qxwaveformat r;
  r.Init(sizeof r, AsWfx(adpcm));
  EXPECT_EQ(r.FormatTag(), 2);
  EXPECT_EQ(r.ExtraSize, 4);
  EXPECT_EQ(r.Flags, QXWF_TAG_VALID);

  // A zero subformat with channels x bits as the block alignment is inferred from the bits;
  // 32 bits reads as float. The correct byte-based alignment is not recognised.
  WAVEFORMATEXTENSIBLE z = Ext(GUID_NULL, 2, 8000, 16, 16, 3);
  z.Format.nBlockAlign = 32;
  z.Format.nAvgBytesPerSec = 8000 * 32;
  EXPECT_EQ((r.Init(sizeof r, AsWfx(z)), r.SampleType), QXSAMPLETYPE_PCM16);
  z.Format.wBitsPerSample = 32;
  z.Format.nBlockAlign = 64;
  z.Format.nAvgBytesPerSec = 8000 * 64;
  EXPECT_EQ((r.Init(sizeof r, AsWfx(z)), r.SampleType), QXSAMPLETYPE_FLOAT32);
  z = Ext(GUID_NULL, 2, 8000, 16, 16, 3);
  EXPECT_EQ((r.Init(sizeof r, AsWfx(z)), r.SampleType), QXSAMPLETYPE_NONE);
}

TEST(WaveFormatRecord, InitFromTypeAndEquality) {
  _qxwaveformat a;
  a.Init(48000, QXSAMPLETYPE_FLOAT64, 3, 0, sizeof a);
  EXPECT_EQ(a.BlockAlign, 24);
  EXPECT_EQ(a.AvgBytesPerSec, 48000u * 24);
  a.Channels = 4;
  a.UpdateBlockAlign();
  EXPECT_EQ(a.BlockAlign, 32);

  // Equal to its plain and extensible forms; the mask 0 is the default layout.
  _qxwaveformat s;
  s.Init(44100, QXSAMPLETYPE_PCM16, 2, 0, sizeof s);
  EXPECT_TRUE(s == Plain(WAVE_FORMAT_PCM, 2, 44100, 16));
  EXPECT_TRUE(s == Ext(KSDATAFORMAT_SUBTYPE_PCM, 2, 44100, 16, 16, 3).Format);
  EXPECT_FALSE(s == Ext(KSDATAFORMAT_SUBTYPE_PCM, 2, 44100, 16, 16, 0x600).Format);
  EXPECT_FALSE(s == Plain(WAVE_FORMAT_PCM, 2, 48000, 16));
  _qxwaveformat t;
  t.InitAsWfx(WAVE_FORMAT_PCM, 2, 44100, 16, sizeof t);
  EXPECT_TRUE(s == t);
  const WAVEFORMATEXTENSIBLE x = Ext(KSDATAFORMAT_SUBTYPE_PCM, 2, 44100, 16, 16, 3);
  const WAVEFORMATEX p = Plain(WAVE_FORMAT_PCM, 2, 44100, 16);
  EXPECT_TRUE(QxAudio_IsEqualFormat(&p, AsWfx(x)));
  const auto c1 = ExtWithExtra(kUnknownSub, {1, 2});
  const auto c2 = ExtWithExtra(kUnknownSub, {1, 3});
  EXPECT_TRUE(QxAudio_IsEqualFormat(AsWfx(c1), AsWfx(c1)));
  EXPECT_FALSE(QxAudio_IsEqualFormat(AsWfx(c1), AsWfx(c2)));
}

TEST(WaveFormatCopy, DestinationForms) {
  alignas(8) BYTE buf[64];
  auto* out = reinterpret_cast<WAVEFORMATEX*>(buf);
  auto* outExt = reinterpret_cast<WAVEFORMATEXTENSIBLE*>(buf);

  _qxwaveformat r;
  r.Init(44100, QXSAMPLETYPE_PCM16, 2, 0, sizeof r);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_AUTO), 18u);
  EXPECT_EQ(out->wFormatTag, WAVE_FORMAT_PCM);
  EXPECT_EQ(out->cbSize, 0);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_EXT_MULTICHANNEL), 18u);
  ASSERT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_EXTENSIBLE), 40u);
  EXPECT_EQ(out->wFormatTag, WAVE_FORMAT_EXTENSIBLE);
  EXPECT_EQ(out->cbSize, 22);
  EXPECT_EQ(outExt->Samples.wValidBitsPerSample, 16);
  EXPECT_EQ(outExt->dwChannelMask, 3u);  // the default mask stands in for 0

  // A record that came from an extensible format, or whose mask is not the default, stays
  // extensible where the buffer has room; the plain forms ignore that.
  r.ChannelMask = 0x30;
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_AUTO), 40u);
  EXPECT_EQ(outExt->dwChannelMask, 0x30u);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, 39, &r, QXWFCOPY_AUTO), 18u);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_PLAIN), 18u);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_PLAIN_NOMASK), 18u);
  r.ChannelMask = 3;
  r.Flags = QXWF_MASK_FROM_EXT;
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_AUTO), 40u);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, 17, &r, QXWFCOPY_AUTO), 0u);

  r.Init(48000, QXSAMPLETYPE_FLOAT32, 6, 0, sizeof r);
  ASSERT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_EXT_MULTICHANNEL), 40u);
  EXPECT_EQ(outExt->dwChannelMask, 0x3Fu);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, 30, &r, QXWFCOPY_EXTENSIBLE), 18u);  // no room: plain
}

TEST(WaveFormatCopy, StoredTagCarriesExtraData) {
  alignas(8) BYTE buf[80] = {};
  auto* out = reinterpret_cast<WAVEFORMATEX*>(buf);
  auto* outExt = reinterpret_cast<WAVEFORMATEXTENSIBLE*>(buf);
  std::vector<BYTE> adpcm(22);
  WAVEFORMATEX f = Plain(2, 2, 22050, 4);
  f.nBlockAlign = 512;
  f.cbSize = 4;
  std::memcpy(adpcm.data(), &f, 18);
  adpcm[18] = 0xA1, adpcm[19] = 0xA2, adpcm[20] = 0xA3, adpcm[21] = 0xA4;
  _qxwaveformat r;
  r.Init(sizeof r, AsWfx(adpcm));

  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_PLAIN), 22u);
  EXPECT_EQ(std::memcmp(buf, adpcm.data(), 22), 0);
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, 20, &r, QXWFCOPY_PLAIN), 20u);  // extra cut to the room
  EXPECT_EQ(out->cbSize, 2);

  ASSERT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_EXTENSIBLE), 44u);
  EXPECT_EQ(out->cbSize, 26);
  EXPECT_EQ(out->nBlockAlign, 512);
  EXPECT_EQ(outExt->SubFormat.Data1, 2u);
  EXPECT_EQ(buf[40], 0xA1);
  EXPECT_EQ(buf[43], 0xA4);

  // A PCM tag stored with flag 0x8 writes its extra data from byte 16, over the size field.
  r.InitAsWfx(WAVE_FORMAT_PCM, 1, 8000, 12, sizeof r);
  ASSERT_EQ(r.Flags, QXWF_TAG_VALID);
  r.Extra[0] = 0x01, r.Extra[1] = 0x02, r.Extra[2] = 0x03;
  r.ExtraSize = 3;
  EXPECT_EQ(QxAudio_GeneralCopyWfx(out, sizeof buf, &r, QXWFCOPY_PLAIN), 19u);
  EXPECT_EQ(out->cbSize, 0x0201 + 3);
  EXPECT_EQ(buf[18], 0x03);
}

TEST(WaveFormatCopy, RecordRoundTripsThroughEveryType) {
  const QXSAMPLETYPE types[] = {QXSAMPLETYPE_PCM8,    QXSAMPLETYPE_PCM16,   QXSAMPLETYPE_PCM24,
                                QXSAMPLETYPE_PCM32,   QXSAMPLETYPE_FLOAT32, QXSAMPLETYPE_FLOAT64,
                                QXSAMPLETYPE_FE00_32, QXSAMPLETYPE_FE02_16, QXSAMPLETYPE_FE02_32};
  alignas(8) BYTE buf[40];
  auto* out = reinterpret_cast<WAVEFORMATEX*>(buf);
  for (QXSAMPLETYPE t : types)
    for (int dest = 0; dest <= 4; ++dest) {
      _qxwaveformat a, b;
      a.Init(44100, t, 5, 0x37, sizeof a);
      ASSERT_NE(QxAudio_GeneralCopyWfx(out, sizeof buf, &a, static_cast<QXWAVEFORMAT_COPY_DEST>(dest)), 0u);
      b.Init(sizeof b, out);
      EXPECT_EQ(b.SampleType, t) << std::hex << t << " dest " << dest;
      EXPECT_EQ(b.BlockAlign, a.BlockAlign);
      EXPECT_EQ(b.AvgBytesPerSec, a.AvgBytesPerSec);
      EXPECT_EQ(b.ChannelMask, out->wFormatTag == WAVE_FORMAT_EXTENSIBLE ? 0x37u : 0u);
    }
}

TEST(WaveFormatCopy, AllocAndCopy) {
  const auto c = ExtWithExtra(kUnknownSub, {5, 6, 7});
  WAVEFORMATEX* same = QxAudio_AllocAndCopyWfx(AsWfx(c), QXWFCOPY_AUTO);
  ASSERT_NE(same, nullptr);
  EXPECT_EQ(std::memcmp(same, c.data(), c.size()), 0);
  CoTaskMemFree(same);

  const WAVEFORMATEXTENSIBLE x = Ext(KSDATAFORMAT_SUBTYPE_IEEE_FLOAT, 2, 48000, 32, 32, 3);
  WAVEFORMATEX* plain = QxAudio_AllocAndCopyWfx(AsWfx(x), QXWFCOPY_PLAIN);
  ASSERT_NE(plain, nullptr);
  const WAVEFORMATEX expect = Plain(WAVE_FORMAT_IEEE_FLOAT, 2, 48000, 32);
  EXPECT_EQ(std::memcmp(plain, &expect, 18), 0);
  CoTaskMemFree(plain);

  // A short extensible record: its copy keeps only the bytes it has, yet reading it stays inside
  // the copy (AddressSanitizer would see the subformat read past a bare 18-byte block).
  WAVEFORMATEXTENSIBLE s = Ext(KSDATAFORMAT_SUBTYPE_PCM, 1, 8000, 16, 16, 4);
  s.Format.cbSize = 0;
  WAVEFORMATEX* shortCopy = QxAudio_AllocAndCopyWfx(&s.Format, QXWFCOPY_AUTO);
  ASSERT_NE(shortCopy, nullptr);
  EXPECT_EQ(QxAudio_GetSampleType(shortCopy), QXSAMPLETYPE_NONE);
  CoTaskMemFree(shortCopy);
}

TEST(WaveFormatCopy, ExtensibleToPlainReduction) {
  // Plain: all 18 bytes as they stand, the size field included.
  WAVEFORMATEX dst;
  std::memset(&dst, 0xCD, sizeof dst);
  WAVEFORMATEX p = Plain(WAVE_FORMAT_PCM, 2, 44100, 16);
  p.cbSize = 7;
  EXPECT_TRUE(QxAudio_CopyWfExtToWfx(&dst, &p));
  EXPECT_EQ(std::memcmp(&dst, &p, 18), 0);

  // Extensible PCM and float: first 16 bytes, then the plain tag and a zero size.
  for (const GUID* sub : {&KSDATAFORMAT_SUBTYPE_PCM, &KSDATAFORMAT_SUBTYPE_IEEE_FLOAT}) {
    const WAVEFORMATEXTENSIBLE x = Ext(*sub, 4, 96000, 32, 24, 0x33);
    std::memset(&dst, 0xCD, sizeof dst);
    EXPECT_TRUE(QxAudio_CopyWfExtToWfx(&dst, AsWfx(x)));
    EXPECT_EQ(dst.wFormatTag, sub == &KSDATAFORMAT_SUBTYPE_PCM ? WAVE_FORMAT_PCM : WAVE_FORMAT_IEEE_FLOAT);
    EXPECT_EQ(std::memcmp(reinterpret_cast<BYTE*>(&dst) + 2, reinterpret_cast<const BYTE*>(&x) + 2, 14), 0);
    EXPECT_EQ(dst.cbSize, 0);
  }

  // Any other subformat, or an extensible header too short to hold one: untouched.
  std::memset(&dst, 0xCD, sizeof dst);
  WAVEFORMATEXTENSIBLE u = Ext(kUnknownSub, 2, 44100, 16, 16, 3);
  EXPECT_FALSE(QxAudio_CopyWfExtToWfx(&dst, AsWfx(u)));
  u = Ext(KSDATAFORMAT_SUBTYPE_PCM, 2, 44100, 16, 16, 3);
  u.Format.cbSize = 0;
  EXPECT_FALSE(QxAudio_CopyWfExtToWfx(&dst, AsWfx(u)));
  for (size_t i = 0; i < sizeof dst; ++i) EXPECT_EQ(reinterpret_cast<BYTE*>(&dst)[i], 0xCD);
}

TEST(WaveFormatCopy, PlainToExtensibleAndCopies) {
  WAVEFORMATEXTENSIBLE x;
  const WAVEFORMATEX f = Plain(WAVE_FORMAT_IEEE_FLOAT, 3, 48000, 64);
  ASSERT_TRUE(QxAudio_CopyWfxToWfExt(&x, &f));
  EXPECT_TRUE(x.SubFormat == KSDATAFORMAT_SUBTYPE_IEEE_FLOAT);
  EXPECT_EQ(x.dwChannelMask, 7u);
  EXPECT_EQ(x.Samples.wValidBitsPerSample, 64);
  EXPECT_EQ(QxAudio_GetSampleType(&x.Format), QXSAMPLETYPE_FLOAT64);
  EXPECT_TRUE(QxAudio_CopyWfExt(&x, &f));

  std::vector<BYTE> adpcm(20);
  WAVEFORMATEX a = Plain(2, 1, 8000, 4);
  a.cbSize = 2;
  std::memcpy(adpcm.data(), &a, 18);
  EXPECT_FALSE(QxAudio_CopyWfxToWfExt(&x, AsWfx(adpcm)));

  alignas(8) BYTE small[19];
  EXPECT_EQ(QxAudio_CopyWfx(reinterpret_cast<WAVEFORMATEX*>(small), sizeof small, AsWfx(adpcm)), 0u);
  alignas(8) BYTE room[20];
  EXPECT_EQ(QxAudio_CopyWfx(reinterpret_cast<WAVEFORMATEX*>(room), sizeof room, AsWfx(adpcm)), 20u);
  EXPECT_EQ(QxAudio_GetWaveFormatTag(AsWfx(Ext(kUnknownSub, 1, 8000, 8, 8, 1))), WAVE_FORMAT_EXTENSIBLE);
  EXPECT_EQ(QxAudio_GetWaveFormatTag(AsWfx(Ext(KSDATAFORMAT_SUBTYPE_IEEE_FLOAT, 1, 8000, 32, 32, 1))),
            WAVE_FORMAT_IEEE_FLOAT);
}

TEST(WaveFormatCopy, FixBadWfx) {
  WAVEFORMATEX f = Plain(WAVE_FORMAT_PCM, 2, 44100, 16);
  EXPECT_FALSE(QxAudio_FixBadWfx(&f));
  f.nBlockAlign = 3;
  f.nAvgBytesPerSec = 1;
  f.cbSize = 22;
  EXPECT_TRUE(QxAudio_FixBadWfx(&f));
  EXPECT_EQ(f.nBlockAlign, 4);
  EXPECT_EQ(f.nAvgBytesPerSec, 176400u);
  EXPECT_EQ(f.cbSize, 0);

  WAVEFORMATEXTENSIBLE x = Ext(KSDATAFORMAT_SUBTYPE_PCM, 2, 44100, 24, 0, 3);
  EXPECT_TRUE(QxAudio_FixBadWfx(&x.Format));
  EXPECT_EQ(x.Samples.wValidBitsPerSample, 24);
  EXPECT_EQ(x.Format.cbSize, 22);

  WAVEFORMATEX c = Plain(2, 1, 8000, 4);
  c.nBlockAlign = 256;
  EXPECT_FALSE(QxAudio_FixBadWfx(&c));
  EXPECT_EQ(c.nBlockAlign, 256);
}
