// Time-stretch splice engine: mode table, sizes, sample conversion, the lag search vectorised
// across lags, overlap-add, the main loop and the Time Stretch driver around it.
#include "aplugins/qxppack1/pitchtime/splice_engine.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <type_traits>

// ---------------------------------------------------------------------------------------------
// Mode table

const SpliceMode SpliceModeTable[QX_SPLICE_MODE_COUNT] = {
    {300, 11500, 15, 2, 15, 112, 2500, 300, -100, 0},
    {275, 10593, 22, 2, 20, 112, 10000, 300, -100, 0},
    {150, 8849, 15, 2, 15, 112, 1500, 300, -100, 0},
    {220, 10310, 15, 4, 15, 112, 1500, 300, -100, 0},
    {190, 10310, 15, 2, 15, 112, 1500, 300, -100, 0},
    {150, 11500, 15, 3, 10, 112, 1000, 300, -100, 0},
    {90, 19916, 15, 2, 30, 112, 2500, 300, -100, 0},
    {78, 10674, 12, 2, 10, 112, 2000, 300, -200, 0},
    {80, 10674, 12, 4, 10, 112, 2000, 300, -200, 0},
    {150, 12131, 25, 2, 30, 112, 2500, 300, -100, 0},
    {130, 11347, 25, 3, 30, 112, 2500, 300, -100, 0},
    {110, 7392, 25, 2, 30, 112, 2500, 300, -100, 0},
    {75, 9215, 10, 2, 10, 112, 1000, 300, -100, 0},
    {90, 10308, 15, 2, 12, 112, 2000, 300, -100, 0},
    {85, 11403, 15, 4, 12, 112, 2000, 300, -100, 0},
    {95, 10674, 15, 8, 12, 112, 2000, 300, -100, 0},
    {50, 11402, 5, 2, 3, 112, 1000, 300, -100, 0},
    {70, 8853, 9, 2, 8, 112, 2000, 300, -100, 0},
    {50, 10676, 7, 2, 8, 112, 1000, 300, -100, 0},
};

const char16_t* const SpliceModeText[QX_SPLICE_MODE_COUNT] = {
    u"A01. Music 1 (minimum flange, may echo)",
    u"A02. Music 2",
    u"A03. Music 3 (less echo)",
    u"A04. Music 4 (fast, good for bass)",
    u"A05. Music 5",
    u"A06. Music 6",
    u"A07. Speech 1",
    u"A08. Speech 2",
    u"A09. Speech 3 (fast)",
    u"A10. Solo instruments 1",
    u"A11. Solo instruments 2",
    u"A12. Solo instruments 3",
    u"A13. Solo instruments 4 (less echo)",
    u"A14. Solo instruments 5",
    u"A15. Solo instruments 6",
    u"A16. Solo instruments 7 (fast)",
    u"A17. Drums, unpitched (minimum echo)",
    u"A18. Drums (better for toms)",
    u"A19. Drums (tiny echo)",
};

int32_t QxSplice_ClampMode(int32_t mode) { return std::clamp(mode, 0, QX_SPLICE_MODE_COUNT - 1); }

// ---------------------------------------------------------------------------------------------
// Derived sizes

HRESULT QxSplice_ComputeSizes(int32_t mode, uint32_t sampleRate, QxSpliceSizes* sizes) {
  if (!sizes) return E_POINTER;
  const SpliceMode& row = SpliceModeTable[QxSplice_ClampMode(mode)];
  const int64_t rate = sampleRate;
  const int64_t window = rate * row.windowMs / 1000;
  if (window < 2 || window > QX_SPLICE_MAX_WINDOW) return E_FAIL;
  QxSpliceSizes s;
  s.WindowFrames = static_cast<int32_t>(window);
  s.OutputHop = s.WindowFrames / 2;
  s.FadeFrames = static_cast<int32_t>(std::min<int64_t>(s.OutputHop - 1, rate * row.fadeMs / 1000));
  s.SearchRange = static_cast<int32_t>(
      std::min<int64_t>(rate * row.searchMs / 1000, s.OutputHop - s.FadeFrames));
  int64_t stride = row.searchStride;
  // Below 32 kHz the stride shrinks with the rate so that it still spans the same time.
  if (rate < 32000) stride = std::max<int64_t>(1, stride * rate / 44100);
  s.SearchStride = static_cast<int32_t>(std::max<int64_t>(1, stride));
  s.AcceptFactor = static_cast<float>(row.acceptPercent / 100.0);
  *sizes = s;
  return S_OK;
}

int32_t QxSplice_InputHop(int32_t outputHop, int32_t windowFrames, double ratio) {
  const double hop = outputHop / ratio + 0.5;
  if (!(hop >= 1.0)) return std::min(1, windowFrames);
  if (hop >= windowFrames) return windowFrames;
  return static_cast<int32_t>(hop);
}

int32_t QxSplice_ScaledLastChunk(int32_t inputFill, double ratio, int32_t windowFrames) {
  const double chunk = inputFill * ratio;
  if (!(chunk > 0.0)) return 0;
  if (chunk >= windowFrames) return windowFrames;
  return static_cast<int32_t>(chunk);
}

// ---------------------------------------------------------------------------------------------
// Sample forms

bool QxSplice_FormIsDouble(QxSpliceForm form) {
  return form == QxSplicePcm32 || form == QxSpliceFloat64;
}

HRESULT QxSplice_FormFromWave(const WAVEFORMATEX& format, QxSpliceForm* form) {
  if (!form) return E_POINTER;
  if (format.nChannels < 1 || format.nChannels > 32 || format.nSamplesPerSec == 0) return E_FAIL;
  if (format.wFormatTag == WAVE_FORMAT_PCM) {
    switch (format.wBitsPerSample) {
      case 8: *form = QxSplicePcm8; return S_OK;
      case 16: *form = QxSplicePcm16; return S_OK;
      case 32: *form = QxSplicePcm32; return S_OK;
      default: return E_FAIL;
    }
  }
  if (format.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
    switch (format.wBitsPerSample) {
      case 32: *form = QxSpliceFloat32; return S_OK;
      case 64: *form = QxSpliceFloat64; return S_OK;
      default: return E_FAIL;
    }
  }
  return E_FAIL;
}

namespace {

// Host buffers need not be aligned for their sample type, so samples go through memcpy.
template <typename S>
inline S LoadSample(const unsigned char* p) {
  S v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <typename S>
inline void StoreSample(unsigned char* p, S v) {
  std::memcpy(p, &v, sizeof v);
}

// PCM conversion runs four float lanes or two double lanes at a time. 8 and 16-bit samples in
// float working precision are converted in floats: scaling by a power of two is exact there and
// every limit is below 2^22, so the result is the one the double computation gives. 32-bit
// samples, and any double working precision, are converted in doubles.
template <typename W>
struct Lanes;
template <>
struct Lanes<float> {
  typedef float V __attribute__((vector_size(16)));
  typedef int32_t Mask __attribute__((vector_size(16)));
  typedef int32_t Int __attribute__((vector_size(16)));
  static constexpr size_t N = 4;
  static constexpr float kRound = 12582912.0f;  // 1.5 x 2^23
};
template <>
struct Lanes<double> {
  typedef double V __attribute__((vector_size(16)));
  typedef int64_t Mask __attribute__((vector_size(16)));
  typedef int32_t Int __attribute__((vector_size(8)));
  static constexpr size_t N = 2;
  static constexpr double kRound = 6755399441055744.0;  // 1.5 x 2^52
};

template <typename T, typename S>
using PcmWork = std::conditional_t<std::is_same_v<T, float> && sizeof(S) <= 2, float, double>;

template <typename E, size_t N>
struct Pack {
  typedef E type __attribute__((vector_size(N * sizeof(E))));
};

template <typename W>
inline typename Lanes<W>::V Splat(W x) {
  typename Lanes<W>::V v;
  for (size_t i = 0; i < Lanes<W>::N; ++i) v[i] = x;
  return v;
}

// Scales, limits and rounds to nearest in the current rounding mode (ties to even); NaN gives 0.
// Within the limits adding and taking away kRound rounds exactly as lrint would.
template <typename W>
inline int32_t Quantise(W v, W scale, W lo, W hi) {
  v *= scale;
  v = v == v ? v : W(0);
  v = v < lo ? lo : v;
  v = v > hi ? hi : v;
  return static_cast<int32_t>((v + Lanes<W>::kRound) - Lanes<W>::kRound);
}

template <typename W>
inline typename Lanes<W>::Int Quantise(typename Lanes<W>::V v, typename Lanes<W>::V scale,
                                       typename Lanes<W>::V lo, typename Lanes<W>::V hi) {
  using L = Lanes<W>;
  using V = typename L::V;
  using M = typename L::Mask;
  v *= scale;
  v = (V)((M)v & (v == v));
  const M below = v < lo;
  v = (V)(((M)lo & below) | ((M)v & ~below));
  const M above = v > hi;
  v = (V)(((M)hi & above) | ((M)v & ~above));
  v = (v + L::kRound) - L::kRound;
  return __builtin_convertvector(v, typename L::Int);
}

// Writes samples of type S (int8 offset by `offset` into a byte, int16 or int32).
template <typename S, typename T>
void WritePcm(const T* src, void* dst, size_t n, double scale, double lo, double hi,
              int32_t offset) {
  using W = PcmWork<T, S>;
  using L = Lanes<W>;
  constexpr size_t N = L::N;
  auto* d = static_cast<unsigned char*>(dst);
  const W ws = static_cast<W>(scale), wl = static_cast<W>(lo), wh = static_cast<W>(hi);
  const auto vs = Splat(ws), vl = Splat(wl), vh = Splat(wh);
  size_t i = 0;
  for (; i + N <= n; i += N) {
    typename Pack<T, N>::type t;
    std::memcpy(&t, src + i, sizeof t);
    const auto q = Quantise<W>(__builtin_convertvector(t, typename L::V), vs, vl, vh) + offset;
    const auto out = __builtin_convertvector(q, typename Pack<S, N>::type);
    std::memcpy(d + i * sizeof(S), &out, sizeof out);
  }
  for (; i < n; ++i) StoreSample(d + i * sizeof(S), static_cast<S>(Quantise<W>(src[i], ws, wl, wh) + offset));
}

// Reads samples of type S, less `offset`, times `scale`.
template <typename S, typename T>
void ReadPcm(const void* src, T* dst, size_t n, double scale, int32_t offset) {
  using W = PcmWork<T, S>;
  constexpr size_t N = Lanes<W>::N;
  const auto* s = static_cast<const unsigned char*>(src);
  const W ws = static_cast<W>(scale);
  size_t i = 0;
  for (; i + N <= n; i += N) {
    typename Pack<S, N>::type raw;
    std::memcpy(&raw, s + i * sizeof(S), sizeof raw);
    const auto ints = __builtin_convertvector(raw, typename Pack<int32_t, N>::type) - offset;
    const auto w = __builtin_convertvector(ints, typename Lanes<W>::V) * ws;
    const auto t = __builtin_convertvector(w, typename Pack<T, N>::type);
    std::memcpy(dst + i, &t, sizeof t);
  }
  for (; i < n; ++i)
    dst[i] = static_cast<T>(static_cast<W>(LoadSample<S>(s + i * sizeof(S)) - offset) * ws);
}

template <typename T>
void ReadPcm8(const void* src, T* dst, size_t n) {
  ReadPcm<uint8_t>(src, dst, n, 0.0078125, 128);
}
template <typename T>
void WritePcm8(const T* src, void* dst, size_t n) {
  WritePcm<uint8_t>(src, dst, n, 128.0, -128.0, 127.0, 128);
}
template <typename T>
void ReadPcm16(const void* src, T* dst, size_t n) {
  ReadPcm<int16_t>(src, dst, n, 3.0517578125e-5, 0);
}
template <typename T>
void WritePcm16(const T* src, void* dst, size_t n) {
  WritePcm<int16_t>(src, dst, n, 32768.0, -32768.0, 32767.0, 0);
}
template <typename T>
void ReadPcm32(const void* src, T* dst, size_t n) {
  ReadPcm<int32_t>(src, dst, n, 4.656612873077393e-10, 0);
}
template <typename T>
void WritePcm32(const T* src, void* dst, size_t n) {
  WritePcm<int32_t>(src, dst, n, 2147483648.0, -2147483648.0, 2147483647.0, 0);
}
template <typename T, typename S>
void ReadFloat(const void* src, T* dst, size_t n) {
  if constexpr (sizeof(T) == sizeof(S)) {
    std::memcpy(dst, src, n * sizeof(T));
  } else {
    const auto* s = static_cast<const unsigned char*>(src);
    for (size_t i = 0; i < n; ++i) dst[i] = static_cast<T>(LoadSample<S>(s + sizeof(S) * i));
  }
}
template <typename T, typename S>
void WriteFloat(const T* src, void* dst, size_t n) {
  if constexpr (sizeof(T) == sizeof(S)) {
    std::memcpy(dst, src, n * sizeof(T));
  } else {
    auto* d = static_cast<unsigned char*>(dst);
    for (size_t i = 0; i < n; ++i) StoreSample(d + sizeof(S) * i, static_cast<S>(src[i]));
  }
}

}  // namespace

template <typename T>
QxSpliceCodec<T> QxSplice_Codec(QxSpliceForm form) {
  switch (form) {
    case QxSplicePcm8: return {&ReadPcm8<T>, &WritePcm8<T>, 1};
    case QxSplicePcm16: return {&ReadPcm16<T>, &WritePcm16<T>, 2};
    case QxSplicePcm32: return {&ReadPcm32<T>, &WritePcm32<T>, 4};
    case QxSpliceFloat32: return {&ReadFloat<T, float>, &WriteFloat<T, float>, 4};
    case QxSpliceFloat64: return {&ReadFloat<T, double>, &WriteFloat<T, double>, 8};
  }
  return {};
}
template QxSpliceCodec<float> QxSplice_Codec<float>(QxSpliceForm);
template QxSpliceCodec<double> QxSplice_Codec<double>(QxSpliceForm);

// ---------------------------------------------------------------------------------------------
// Lag search
//
// Lags and comparison offsets both step by the stride, so every frame the search touches sits at
// a multiple of it. Each channel's strided frames are first gathered into contiguous rows
// (a[i] = input frame i x stride, b[n] = output frame n x stride); the sum for lag m is then
// sum over n of (a[m + n] + b[n])^2, and neighbouring lags read neighbouring elements of a. A block
// of lags is summed at once in vector lanes, n running in order in every lane, so each lag's sum
// is formed exactly as the plain loop forms it.

namespace {

template <typename T>
struct SearchVec;
template <>
struct SearchVec<float> {
  typedef float type __attribute__((vector_size(16)));
};
template <>
struct SearchVec<double> {
  typedef double type __attribute__((vector_size(16)));
};

template <typename T>
constexpr int32_t kLanes = static_cast<int32_t>(16 / sizeof(T));
constexpr int32_t kVectorsPerBlock = 4;  // independent accumulators keep the adders busy
template <typename T>
constexpr int32_t kBlockLags = kLanes<T> * kVectorsPerBlock;

inline int32_t LagCount(int32_t searchRange, int32_t searchStride) {
  return searchRange > 0 ? (searchRange - 1) / searchStride + 1 : 0;
}

// Per channel: input row (2 x lags - 1 used, a block of zero padding), output row (lags).
template <typename T>
inline size_t InputRowLength(int32_t lags) {
  return static_cast<size_t>(2 * lags - 1 + kBlockLags<T>);
}

template <typename T>
inline typename SearchVec<T>::type LoadVec(const T* p) {
  typename SearchVec<T>::type v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The rule for 1 and 2 channels asks for strictly more than the reference, the rule for 3 and
// more for not less. Both are kept as they are.
template <bool Strict, typename T>
inline bool Accepts(const T* sums, int32_t lane, const T* ref, int32_t channels) {
  for (int32_t c = 0; c < channels; ++c) {
    const T s = sums[c * kBlockLags<T> + lane];
    if (Strict ? !(s > ref[c]) : s < ref[c]) return false;
  }
  return true;
}

template <bool Strict, typename T>
int32_t SearchRows(const T* rowsIn, const T* rowsOut, int32_t channels, int32_t lags,
                   int32_t stride, const T* ref, T* sums) {
  using V = typename SearchVec<T>::type;
  constexpr int32_t L = kLanes<T>;
  const size_t inRow = InputRowLength<T>(lags);
  T best = 0;
  int32_t bestLag = 0;
  for (int32_t m0 = 0; m0 < lags; m0 += kBlockLags<T>) {
    for (int32_t c = 0; c < channels; ++c) {
      const T* a = rowsIn + c * inRow + m0;
      const T* b = rowsOut + static_cast<size_t>(c) * lags;
      V acc0 = {}, acc1 = {}, acc2 = {}, acc3 = {};
      for (int32_t n = 0; n < lags; ++n) {
        const T bn = b[n];
        const V x0 = LoadVec(a + n) + bn;
        const V x1 = LoadVec(a + n + L) + bn;
        const V x2 = LoadVec(a + n + 2 * L) + bn;
        const V x3 = LoadVec(a + n + 3 * L) + bn;
        acc0 += x0 * x0;
        acc1 += x1 * x1;
        acc2 += x2 * x2;
        acc3 += x3 * x3;
      }
      T* out = sums + c * kBlockLags<T>;
      std::memcpy(out, &acc0, sizeof acc0);
      std::memcpy(out + L, &acc1, sizeof acc1);
      std::memcpy(out + 2 * L, &acc2, sizeof acc2);
      std::memcpy(out + 3 * L, &acc3, sizeof acc3);
    }
    const int32_t count = std::min(kBlockLags<T>, lags - m0);
    for (int32_t j = 0; j < count; ++j) {
      const int32_t lag = (m0 + j) * stride;
      if (Accepts<Strict>(sums, j, ref, channels)) return lag;
      T total = 0;
      for (int32_t c = 0; c < channels; ++c) total += sums[c * kBlockLags<T> + j];
      if (total > best) {
        best = total;
        bestLag = lag;
      }
    }
  }
  return bestLag;
}

}  // namespace

size_t QxSplice_SearchScratchSize(int32_t channels, int32_t searchRange, int32_t searchStride) {
  const int32_t lags = LagCount(searchRange, std::max(searchStride, 1));
  // Rows for the larger of the two block widths, so one size serves both precisions.
  const size_t block = static_cast<size_t>(kBlockLags<float>);
  const size_t perChannel = static_cast<size_t>(2 * lags - 1 + static_cast<int32_t>(block)) +
                            static_cast<size_t>(lags) + block + 1;
  return static_cast<size_t>(channels) * perChannel;
}

template <typename T>
int32_t QxSplice_SearchLag(const T* inputWindow, const T* outputWindow, int32_t channels,
                           int32_t searchRange, int32_t searchStride, float acceptFactor,
                           T* scratch) {
  const int32_t stride = std::max(searchStride, 1);
  const int32_t lags = LagCount(searchRange, stride);
  if (lags == 0 || channels < 1 || channels > 32) return 0;
  const size_t inRow = InputRowLength<T>(lags);
  T* rowsIn = scratch;
  T* rowsOut = rowsIn + channels * inRow;
  T* sums = rowsOut + static_cast<size_t>(channels) * lags;   // channels x kBlockLags
  T* ref = sums + static_cast<size_t>(channels) * kBlockLags<T>;  // channels
  const size_t frameStep = static_cast<size_t>(stride) * channels;
  for (int32_t c = 0; c < channels; ++c) {
    T* a = rowsIn + c * inRow;
    const T* src = inputWindow + c;
    for (int32_t i = 0; i < 2 * lags - 1; ++i) a[i] = src[i * frameStep];
    std::fill(a + 2 * lags - 1, a + inRow, T(0));
    T* b = rowsOut + static_cast<size_t>(c) * lags;
    const T* tail = outputWindow + c;
    T energy = 0;
    for (int32_t n = 0; n < lags; ++n) {
      b[n] = tail[n * frameStep];
      energy += b[n] * b[n];
    }
    ref[c] = energy * static_cast<T>(acceptFactor);
  }
  return channels <= 2 ? SearchRows<true>(rowsIn, rowsOut, channels, lags, stride, ref, sums)
                       : SearchRows<false>(rowsIn, rowsOut, channels, lags, stride, ref, sums);
}
template int32_t QxSplice_SearchLag<float>(const float*, const float*, int32_t, int32_t, int32_t,
                                          float, float*);
template int32_t QxSplice_SearchLag<double>(const double*, const double*, int32_t, int32_t,
                                           int32_t, float, double*);

// ---------------------------------------------------------------------------------------------
// The splicer

namespace {
// 0.0 is all zero bits in both precisions.
template <typename T>
inline void ZeroFrom(T* begin, T* end) {
  if (end > begin) std::memset(begin, 0, static_cast<size_t>(end - begin) * sizeof(T));
}
}  // namespace

template <typename T>
HRESULT CQxSpliceCore<T>::Rebuild(int32_t mode, uint32_t sampleRate, int32_t channels,
                                  double ratio) {
  QxSpliceSizes sizes;
  HRESULT hr = channels >= 1 && channels <= 32 ? QxSplice_ComputeSizes(mode, sampleRate, &sizes)
                                               : E_FAIL;
  if (FAILED(hr)) {
    Free();
    return hr;
  }
  const size_t windowSamples = static_cast<size_t>(sizes.WindowFrames) * channels;
  const size_t scratchSamples =
      QxSplice_SearchScratchSize(channels, sizes.SearchRange, sizes.SearchStride);
  // Same sizes as before: the buffers are only zeroed, which spares the streaming thread an
  // allocation at every discontinuity.
  if (!Allocated() || windowSamples != m_windowSamples || sizes.WindowFrames != WindowFrames ||
      scratchSamples != m_scratchSamples) {
    Free();
    InputWindow.reset(new (std::nothrow) T[windowSamples]());
    OutputWindow.reset(new (std::nothrow) T[windowSamples]());
    FadeTable.reset(new (std::nothrow) T[sizes.WindowFrames]());
    m_scratch.reset(new (std::nothrow) T[scratchSamples]());
    if (!InputWindow || !OutputWindow || !FadeTable || !m_scratch) {
      Free();
      return E_OUTOFMEMORY;
    }
    m_windowSamples = windowSamples;
    m_scratchSamples = scratchSamples;
  } else {
    ZeroFrom(InputWindow.get(), InputWindow.get() + windowSamples);
    ZeroFrom(OutputWindow.get(), OutputWindow.get() + windowSamples);
  }
  static_cast<QxSpliceSizes&>(*this) = sizes;
  Mode = QxSplice_ClampMode(mode);
  SampleRate = sampleRate;
  Channels = channels;
  BuildFadeTable();
  SetRatio(ratio);
  InputFill = 0;
  OutputPos = 0;
  OutputPending = false;
  OutputChunk = OutputHop;
  return S_OK;
}

template <typename T>
void CQxSpliceCore<T>::SetRatio(double ratio) {
  Ratio = ratio;
  InputHop = QxSplice_InputHop(OutputHop, WindowFrames, ratio);
  RefillFrames = WindowFrames - InputHop;
}

template <typename T>
void CQxSpliceCore<T>::Free() {
  InputWindow.reset();
  OutputWindow.reset();
  FadeTable.reset();
  m_scratch.reset();
  m_windowSamples = 0;
  m_scratchSamples = 0;
  static_cast<QxSpliceSizes&>(*this) = QxSpliceSizes{};
  InputHop = RefillFrames = 0;
  InputFill = OutputPos = OutputChunk = 0;
  OutputPending = false;
}

template <typename T>
void CQxSpliceCore<T>::BuildFadeTable() {
  T* fade = FadeTable.get();
  std::fill(fade, fade + WindowFrames, T(1));
  if (FadeFrames >= 2) {
    for (int32_t i = 0; i < FadeFrames; ++i) {
      const T v = static_cast<T>(i) / static_cast<T>(FadeFrames);
      fade[i] = v;
      fade[OutputHop + FadeFrames - i] = v;
    }
    std::fill(fade + OutputHop + FadeFrames + 1, fade + WindowFrames, T(0));
  }
}

template <typename T>
void CQxSpliceCore<T>::OverlapAdd(int32_t lag) {
  const size_t ch = static_cast<size_t>(Channels);
  const T* src = InputWindow.get() + lag * ch;
  T* out = OutputWindow.get();
  const T* fade = FadeTable.get();
  const size_t fadeEnd = FadeFrames * ch;
  const size_t hopEnd = OutputHop * ch;
  if (FirstSplice) {
    // No tail to fade into yet: the fade-in goes in at full gain.
    if (ch == 1) {
      for (size_t i = 0; i < fadeEnd; ++i) out[i] = src[i];
    } else {
      for (size_t i = 0; i < fadeEnd; ++i) out[i] += src[i];
    }
    FirstSplice = false;
  } else if (ch == 1) {
    for (size_t i = 0; i < fadeEnd; ++i) out[i] += src[i] * fade[i];
  } else {
    for (int32_t f = 0; f < FadeFrames; ++f)
      for (size_t c = 0; c < ch; ++c) out[f * ch + c] += src[f * ch + c] * fade[f];
  }
  std::memcpy(out + fadeEnd, src + fadeEnd, (hopEnd - fadeEnd) * sizeof(T));
  if (ch == 1) {
    for (int32_t f = OutputHop; f < OutputHop + FadeFrames; ++f) out[f] += src[f] * fade[f];
  } else {
    for (int32_t f = OutputHop; f < OutputHop + FadeFrames; ++f)
      for (size_t c = 0; c < ch; ++c) out[f * ch + c] += src[f * ch + c] * fade[f];
  }
}

template <typename T>
void CQxSpliceCore<T>::AdvanceAfterChunk() {
  const size_t ch = static_cast<size_t>(Channels);
  OutputPos = 0;
  if (!Flushing) InputFill = RefillFrames;
  OutputPending = false;
  T* in = InputWindow.get();
  std::memmove(in, in + InputHop * ch, (WindowFrames - InputHop) * ch * sizeof(T));
  // Keep the faded tail of the last splice at the front; the next splice fades into it.
  T* out = OutputWindow.get();
  std::memmove(out, out + OutputHop * ch, FadeFrames * ch * sizeof(T));
  ZeroFrom(out + FadeFrames * ch, out + WindowFrames * ch);
}

template <typename T>
int32_t CQxSpliceCore<T>::Splice(const QxSpliceSource<T>& in, const QxSpliceSink<T>& out) {
  InputConsumed = 0;
  OutputProduced = 0;
  if (!Allocated()) return 1;
  const int32_t inFrames = std::max(in.Frames, 0);
  const int32_t outFrames = std::max(out.Frames, 0);
  if (inFrames == 0 && !OutputPending && TailDone) return 1;
  const size_t ch = static_cast<size_t>(Channels);
  for (;;) {
    if (OutputPending) {
      const int32_t n = std::min(outFrames - OutputProduced, OutputChunk - OutputPos);
      if (n > 0) {
        out.Write(OutputWindow.get() + OutputPos * ch,
                  static_cast<unsigned char*>(out.Data) + OutputProduced * out.FrameBytes, n * ch);
        OutputPos += n;
        OutputProduced += n;
      }
      if (OutputPos < OutputChunk) break;  // the caller's block is full
      AdvanceAfterChunk();
    }
    // A flush that has used up the window leaves InputFill negative; nothing is read then.
    if (InputFill >= 0) {
      const int32_t n = std::min(inFrames - InputConsumed, WindowFrames - InputFill);
      if (n > 0) {
        in.Read(static_cast<const unsigned char*>(in.Data) + InputConsumed * in.FrameBytes,
                InputWindow.get() + InputFill * ch, n * ch);
        InputFill += n;
        InputConsumed += n;
      }
    }
    if (Flushing) {
      if (InputFill < OutputHop) {
        if (TailDone) break;
        TailDone = true;
        if (InputFill <= 0) break;
        ZeroFrom(InputWindow.get() + InputFill * ch, InputWindow.get() + WindowFrames * ch);
        OutputChunk = LastChunk == QxSpliceLastChunk::Scaled
                          ? QxSplice_ScaledLastChunk(InputFill, Ratio, WindowFrames)
                          : InputFill;
      }
      InputFill -= InputHop;
    }
    if (InputFill != WindowFrames && !Flushing) break;  // more input is needed
    const int32_t lag = QxSplice_SearchLag(InputWindow.get(), OutputWindow.get(), Channels,
                                           SearchRange, SearchStride, AcceptFactor, m_scratch.get());
    OverlapAdd(lag);
    OutputPending = true;
  }
  return 0;
}

template class CQxSpliceCore<float>;
template class CQxSpliceCore<double>;

// ---------------------------------------------------------------------------------------------
// Parameters

void CQxSpliceParamStore::SetParams(const QxSpliceParams& params) {
  std::lock_guard<std::mutex> lock(m_lock);
  m_params = params;
  m_changed = true;
  m_rebuild = true;
}

void CQxSpliceParamStore::SetMode(int32_t mode) {
  std::lock_guard<std::mutex> lock(m_lock);
  if (m_params.Mode == mode) return;
  m_params.Mode = mode;
  m_changed = true;
  m_rebuild = true;
}

void CQxSpliceParamStore::SetRatio(double ratio) {
  std::lock_guard<std::mutex> lock(m_lock);
  if (m_params.Ratio == ratio) return;
  m_params.Ratio = ratio;
  m_changed = true;
}

QxSpliceParams CQxSpliceParamStore::Params() const {
  std::lock_guard<std::mutex> lock(m_lock);
  return m_params;
}

void CQxSpliceParamStore::Snapshot(QxSpliceSnapshot* snapshot) {
  std::lock_guard<std::mutex> lock(m_lock);
  snapshot->Params = m_params;
  snapshot->Changed = m_changed;
  snapshot->Rebuild = m_rebuild;
  m_changed = false;
  m_rebuild = false;
}

// ---------------------------------------------------------------------------------------------
// The Time Stretch driver

CQxSpliceEngine::CQxSpliceEngine(IQxSpliceParamSource* params) : m_source(params) {}

const QxSpliceSizes& CQxSpliceEngine::Sizes() const {
  return UsesDouble() ? static_cast<const QxSpliceSizes&>(m_core64)
                      : static_cast<const QxSpliceSizes&>(m_core32);
}

bool CQxSpliceEngine::TakeSnapshot() {
  if (!m_source) return false;
  QxSpliceSnapshot snap;
  m_source->Snapshot(&snap);
  m_params = snap.Params;
  if (snap.Rebuild) m_rebuildPending = true;  // kept until a rebuild has succeeded
  return snap.Changed;
}

template <typename T>
HRESULT CQxSpliceEngine::Configure(CQxSpliceCore<T>& core) {
  if (m_rebuildPending || !m_configured) {
    const HRESULT hr = core.Rebuild(m_params.Mode, m_sampleRate, m_channels, m_params.Ratio);
    if (FAILED(hr)) {
      m_configured = false;
      return hr;
    }
    m_rebuildPending = false;
    m_configured = true;
    return S_OK;
  }
  core.SetRatio(m_params.Ratio);
  return S_OK;
}

template <typename T>
HRESULT CQxSpliceEngine::FullInit(CQxSpliceCore<T>& core) {
  m_rebuildPending = true;
  const HRESULT hr = Configure(core);
  core.FirstSplice = true;
  core.TailDone = false;
  core.Flushing = false;
  m_workDone = false;
  return hr;
}

template <typename T>
HRESULT CQxSpliceEngine::Run(CQxSpliceCore<T>& core, int32_t flag, const void* input,
                             int32_t inCap, void* output, int32_t outCap, int32_t* consumed,
                             int32_t* produced) {
  const bool changed = TakeSnapshot();
  if (flag == SpliceFlush) {
    // A flush configures nothing; the change it read is not carried over.
    if (!core.Allocated()) return S_FALSE;  // nothing is buffered
    core.Flushing = true;
    m_workDone = true;
  } else {
    HRESULT hr = S_OK;
    // A run that follows a flush starts afresh whatever the flag says: the flush has used up the
    // window and left its counters behind.
    if ((flag == SpliceNewRun && m_workDone) || core.Flushing)
      hr = FullInit(core);
    else if (changed || !m_configured)
      hr = Configure(core);
    if (FAILED(hr)) return hr;
  }
  const QxSpliceCodec<T> codec = QxSplice_Codec<T>(m_form);
  const size_t frameBytes = static_cast<size_t>(codec.SampleBytes) * m_channels;
  const QxSpliceSource<T> src{input, inCap, frameBytes, codec.Read};
  const QxSpliceSink<T> dst{output, outCap, frameBytes, codec.Write};
  const int32_t result = core.Splice(src, dst);
  *consumed = core.InputConsumed;
  *produced = core.OutputProduced;
  if (core.InputConsumed > 0 || core.OutputProduced > 0) m_workDone = true;
  return result == 1 ? S_FALSE : S_OK;
}

template <QxSpliceForm F>
HRESULT CQxSpliceEngine::ProcessAs(int32_t flag, const void* input, int32_t inCap, void* output,
                                   int32_t outCap, int32_t* consumed, int32_t* produced) {
  if constexpr (F == QxSplicePcm32 || F == QxSpliceFloat64)
    return Run(m_core64, flag, input, inCap, output, outCap, consumed, produced);
  else
    return Run(m_core32, flag, input, inCap, output, outCap, consumed, produced);
}

HRESULT CQxSpliceEngine::Prepare(const WAVEFORMATEX& format) {
  QxSpliceForm form;
  if (FAILED(QxSplice_FormFromWave(format, &form))) return E_FAIL;
  static constexpr ProcessFn kEntries[] = {
      &CQxSpliceEngine::ProcessAs<QxSplicePcm8>,    &CQxSpliceEngine::ProcessAs<QxSplicePcm16>,
      &CQxSpliceEngine::ProcessAs<QxSplicePcm32>,   &CQxSpliceEngine::ProcessAs<QxSpliceFloat32>,
      &CQxSpliceEngine::ProcessAs<QxSpliceFloat64>,
  };
  // Only the active precision keeps buffers.
  if (QxSplice_FormIsDouble(form))
    m_core32.Free();
  else
    m_core64.Free();
  m_form = form;
  m_process = kEntries[form];
  m_sampleRate = format.nSamplesPerSec;
  m_channels = format.nChannels;
  m_prepared = true;
  m_configured = false;
  TakeSnapshot();
  return QxSplice_FormIsDouble(form) ? FullInit(m_core64) : FullInit(m_core32);
}

HRESULT CQxSpliceEngine::Process(int32_t flag, const void* input, int32_t* inFrames, void* output,
                                 int32_t* outFrames) {
  const int32_t inCap = inFrames ? std::max(*inFrames, 0) : 0;
  const int32_t outCap = outFrames ? std::max(*outFrames, 0) : 0;
  int32_t consumed = 0, produced = 0;
  HRESULT hr;
  if (!m_prepared)
    hr = E_FAIL;
  else if (flag < SpliceNewRun || flag > SpliceFlush)
    hr = E_INVALIDARG;
  else if ((inCap > 0 && !input) || (outCap > 0 && !output))
    hr = E_POINTER;
  else
    hr = (this->*m_process)(flag, input, inCap, output, outCap, &consumed, &produced);
  if (inFrames) *inFrames = consumed;
  if (outFrames) *outFrames = produced;
  return hr;
}

void CQxSpliceEngine::Release() {
  m_core32.Free();
  m_core64.Free();
  m_prepared = false;
  m_configured = false;
  m_rebuildPending = true;
  m_workDone = false;
  m_process = nullptr;
}
