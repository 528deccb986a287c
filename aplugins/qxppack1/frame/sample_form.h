// Conversion between the five interleaved sample forms an in-place engine accepts and the
// double values its DSP works in; engines are written once as templates over these traits.
#pragma once
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Adding 1.5 x 2^52 pushes the fraction bits out of the mantissa, so the low word of the sum
// is the value rounded to nearest with ties to even (valid for |v| < 2^31).
inline constexpr double QX_ROUND_MAGIC = 6755399441055744.0;

inline int32_t QxRoundNearestEven(double v) {
  const uint64_t bits = std::bit_cast<uint64_t>(v + QX_ROUND_MAGIC);
  return static_cast<int32_t>(static_cast<uint32_t>(bits));
}

// Clip written as two selects so it compiles to min/max instructions, not branches.
inline double QxClip(double v, double lo, double hi) {
  v = v > hi ? hi : v;
  return v < lo ? lo : v;
}

// Zero for any magnitude below `floor`, else v itself (a NaN included): the engines' denormal
// guard, done with a mask rather than a branch, which quiet input would make unpredictable.
inline double QxZeroBelow(double v, double floor) {
#if defined(__SSE2__)
  const __m128d x = _mm_set_sd(v);
  const __m128d magnitude = _mm_andnot_pd(_mm_set_sd(-0.0), x);
  return _mm_cvtsd_f64(_mm_and_pd(x, _mm_cmpnlt_sd(magnitude, _mm_set_sd(floor))));
#else
  return std::fabs(v) < floor ? 0.0 : v;
#endif
}

// 8-bit PCM: unsigned, offset binary around 128.
struct QxPcm8Form {
  using Sample = uint8_t;
  static constexpr uint8_t kSilenceByte = 128;
  static double Read(const Sample& s) {
    return static_cast<int8_t>(static_cast<uint8_t>(s ^ 0x80u)) * 0.0078125;
  }
  static Sample Write(double v) {
    const int32_t r = QxRoundNearestEven(QxClip(v * 128.0, -128.0, 127.0));
    return static_cast<Sample>(static_cast<uint32_t>(r) ^ 0x80u);
  }
};

struct QxPcm16Form {
  using Sample = int16_t;
  static constexpr uint8_t kSilenceByte = 0;
  static double Read(const Sample& s) { return s * 3.0517578125e-5; }
  static Sample Write(double v) {
    return static_cast<Sample>(QxRoundNearestEven(QxClip(v * 32768.0, -32768.0, 32767.0)));
  }
};

struct QxPcm32Form {
  using Sample = int32_t;
  static constexpr uint8_t kSilenceByte = 0;
  static double Read(const Sample& s) { return s * 4.656612873077393e-10; }
  static Sample Write(double v) {
    return QxRoundNearestEven(QxClip(v * 2147483648.0, -2147483648.0, 2147483647.0));
  }
};

// Float forms are never clipped: values beyond full scale pass through.
struct QxFloat32Form {
  using Sample = float;
  static constexpr uint8_t kSilenceByte = 0;
  static double Read(const Sample& s) { return static_cast<double>(s); }
  static Sample Write(double v) { return static_cast<float>(v); }
};

struct QxFloat64Form {
  using Sample = double;
  static constexpr uint8_t kSilenceByte = 0;
  static double Read(const Sample& s) { return s; }
  static Sample Write(double v) { return v; }
};

#if defined(__SSE2__)
// Two samples of one frame at a time, for stereo loops: each form's read and write as the scalar
// ones compute them, lane by lane. The generic pair goes through the scalar conversions.
template <class Form>
struct QxPairIo {
  using S = typename Form::Sample;
  static __m128d Read(const S* p) { return _mm_set_pd(Form::Read(p[1]), Form::Read(p[0])); }
  static void Write(S* p, __m128d v) {
    p[0] = Form::Write(_mm_cvtsd_f64(v));
    p[1] = Form::Write(_mm_cvtsd_f64(_mm_unpackhi_pd(v, v)));
  }
};

// QxZeroBelow on both lanes.
inline __m128d QxZeroBelowPair(__m128d v, double floor) {
  const __m128d magnitude = _mm_andnot_pd(_mm_set1_pd(-0.0), v);
  return _mm_and_pd(v, _mm_cmpnlt_pd(magnitude, _mm_set1_pd(floor)));
}

// Clip as QxClip does (the bound wins only when the value is beyond it, so a NaN passes), then
// round to nearest even by the 1.5 x 2^52 addition; the low 32 bits of each lane are the integers.
inline __m128i QxRoundClippedPair(__m128d v, double lo, double hi) {
  v = _mm_min_pd(_mm_set1_pd(hi), v);
  v = _mm_max_pd(_mm_set1_pd(lo), v);
  const __m128i bits = _mm_castpd_si128(_mm_add_pd(v, _mm_set1_pd(QX_ROUND_MAGIC)));
  return _mm_shuffle_epi32(bits, _MM_SHUFFLE(2, 0, 2, 0));
}

template <>
struct QxPairIo<QxPcm16Form> {
  static __m128d Read(const int16_t* p) {
    int32_t two;
    std::memcpy(&two, p, 4);
    const __m128i w = _mm_cvtsi32_si128(two);
    const __m128i d = _mm_srai_epi32(_mm_unpacklo_epi16(w, w), 16);
    return _mm_mul_pd(_mm_cvtepi32_pd(d), _mm_set1_pd(3.0517578125e-5));
  }
  static void Write(int16_t* p, __m128d v) {
    const __m128i r = QxRoundClippedPair(_mm_mul_pd(v, _mm_set1_pd(32768.0)), -32768.0, 32767.0);
    const int32_t two = _mm_cvtsi128_si32(_mm_packs_epi32(r, r));  // in range: no saturation
    std::memcpy(p, &two, 4);
  }
};

template <>
struct QxPairIo<QxPcm32Form> {
  static __m128d Read(const int32_t* p) {
    const __m128i d = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return _mm_mul_pd(_mm_cvtepi32_pd(d), _mm_set1_pd(4.656612873077393e-10));
  }
  static void Write(int32_t* p, __m128d v) {
    const __m128i r =
        QxRoundClippedPair(_mm_mul_pd(v, _mm_set1_pd(2147483648.0)), -2147483648.0, 2147483647.0);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), r);
  }
};

template <>
struct QxPairIo<QxFloat32Form> {
  static __m128d Read(const float* p) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  }
  static void Write(float* p, __m128d v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_castps_si128(_mm_cvtpd_ps(v)));
  }
};

template <>
struct QxPairIo<QxFloat64Form> {
  static __m128d Read(const double* p) { return _mm_loadu_pd(p); }
  static void Write(double* p, __m128d v) { _mm_storeu_pd(p, v); }
};
#endif  // __SSE2__

// The read scales are exact powers of two; the 32-bit one is written as a decimal.
static_assert(4.656612873077393e-10 == 1.0 / 2147483648.0);
static_assert(3.0517578125e-5 == 1.0 / 32768.0);
