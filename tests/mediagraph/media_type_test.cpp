// Tests of CMediaType: deep copies of the format block, partial matching, and the audio type
// built from plain and extensible wave formats.
#include <gtest/gtest.h>

#include "platform/mediagraph/media_type.h"
#include "tests/mediagraph/test_graph.h"

TEST(MediaType, CopyAndAssignOwnIndependentFormatBlocks) {
  WAVEFORMATEX w = TestWfx(WAVE_FORMAT_PCM, 2, 16);
  CMediaType a = MakeAudioMediaType(w);
  CMediaType b(a);
  CMediaType c;
  c = a;
  ASSERT_EQ(a.FormatLength(), sizeof(WAVEFORMATEX));
  EXPECT_NE(a.Format(), b.Format());
  EXPECT_NE(a.Format(), c.Format());
  EXPECT_TRUE(a == b && a == c);
  reinterpret_cast<WAVEFORMATEX*>(b.Format())->nChannels = 6;
  EXPECT_FALSE(a == b);
  EXPECT_EQ(reinterpret_cast<WAVEFORMATEX*>(a.Format())->nChannels, 2);
  c = c;  // self-assignment keeps the block
  EXPECT_TRUE(a == c);

  CMediaType moved(std::move(c));
  EXPECT_EQ(c.Format(), nullptr);
  EXPECT_TRUE(moved == a);
}

TEST(MediaType, AudioTypeFromPlainAndExtensibleForms) {
  CMediaType f = MakeAudioMediaType(TestWfx(WAVE_FORMAT_IEEE_FLOAT, 1, 64));
  EXPECT_TRUE(f.majortype == MEDIATYPE_Audio);
  EXPECT_TRUE(f.subtype == MEDIASUBTYPE_IEEE_FLOAT);
  EXPECT_TRUE(f.formattype == FORMAT_WaveFormatEx);
  EXPECT_FALSE(f.IsTemporalCompressed());
  EXPECT_EQ(f.GetSampleSize(), 8u);

  WAVEFORMATEXTENSIBLE x{};
  x.Format = TestWfx(WAVE_FORMAT_EXTENSIBLE, 6, 32);
  x.Format.cbSize = 22;
  x.Samples.wValidBitsPerSample = 24;
  x.dwChannelMask = 0x3F;
  x.SubFormat = KSDATAFORMAT_SUBTYPE_PCM;
  CMediaType e = MakeAudioMediaType(x);
  EXPECT_TRUE(e.subtype == MEDIASUBTYPE_PCM);
  ASSERT_EQ(e.FormatLength(), sizeof(WAVEFORMATEXTENSIBLE));
  auto* back = reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(e.Format());
  EXPECT_EQ(back->dwChannelMask, 0x3Fu);
  EXPECT_EQ(back->Samples.wValidBitsPerSample, 24);
}

TEST(MediaType, PartialTypesMatchOnTheirSetFieldsOnly) {
  CMediaType full = MakeAudioMediaType(TestWfx(WAVE_FORMAT_PCM, 2, 16));
  CMediaType audioOnly(&MEDIATYPE_Audio);
  EXPECT_TRUE(audioOnly.IsPartiallySpecified());
  EXPECT_FALSE(full.IsPartiallySpecified());
  EXPECT_TRUE(full.MatchesPartial(&audioOnly));
  CMediaType floatOnly(&MEDIATYPE_Audio);
  floatOnly.SetSubtype(&MEDIASUBTYPE_IEEE_FLOAT);
  EXPECT_FALSE(full.MatchesPartial(&floatOnly));
}

TEST(MediaType, PlainRecordHelpersRoundTrip) {
  CMediaType src = MakeAudioMediaType(TestWfx(WAVE_FORMAT_PCM, 3, 8));
  AM_MEDIA_TYPE* heap = CreateMediaType(&src);
  ASSERT_NE(heap, nullptr);
  EXPECT_NE(heap->pbFormat, src.pbFormat);
  CMediaType back(*heap);
  EXPECT_TRUE(back == src);
  DeleteMediaType(heap);
}
