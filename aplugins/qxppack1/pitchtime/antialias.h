// Pitch Shift's anti-alias filter: an eighth-order Chebyshev low-pass designed on the fly by the
// bilinear transform from fixed prototype poles, run as a direct form II per channel in doubles.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/pitchtime/resampler.h"
#include "aplugins/qxppack1/pitchtime/splice_engine.h"
#include "platform/com/hresult.h"

// ---------------------------------------------------------------------------------------------
// Complex helpers, in the polar style the design uses

struct QxComplex {
  double re = 0.0;
  double im = 0.0;
};

QxComplex QxComplex_Add(QxComplex a, QxComplex b);
QxComplex QxComplex_Sub(QxComplex a, QxComplex b);
QxComplex QxComplex_Mul(QxComplex a, QxComplex b);
QxComplex QxComplex_Scale(QxComplex a, double k);
// sqrt(re^2 + im^2).
double QxComplex_Abs(QxComplex a);
// Magnitudes divided, angle the difference of the two atan2 results; when the real part of
// either operand is exactly 0 the angle is taken as 0.
QxComplex QxComplex_Div(QxComplex a, QxComplex b);
// Fourth root of the squared magnitude at half the angle; the angle is 0 when the real part is 0.
QxComplex QxComplex_Sqrt(QxComplex a);
// e^re at the angle im.
QxComplex QxComplex_Exp(QxComplex a);

// ---------------------------------------------------------------------------------------------
// Design

inline constexpr int32_t QX_ANTIALIAS_ORDER = 8;
inline constexpr int32_t QX_ANTIALIAS_MAX_CHANNELS = 32;
inline constexpr int32_t QX_BILINEAR_MAX_ORDER = 64;

// The upper-half poles of a 0.1 dB Chebyshev type I low-pass of order 8 with its cut-off at
// 1 rad/s; each stands for itself and its conjugate.
extern const QxComplex QxAntiAlias_PrototypePoles[QX_ANTIALIAS_ORDER / 2];

// Turns s-plane poles, zeros and a gain into polynomials in z^-1 with period `period`.
// `numerator` and `denominator` receive max(poleCount, zeroCount) + 1 coefficients, index k
// holding the factor of z^-k; the denominator's coefficients 1 to poleCount come out negated so
// that a running filter only adds. Counts above QX_BILINEAR_MAX_ORDER, negative counts or missing
// arrays give E_INVALIDARG and leave the outputs untouched.
HRESULT BilinearDesign(const QxComplex* poles, int32_t poleCount, const QxComplex* zeros,
                       int32_t zeroCount, double gain, double period, QxComplex* numerator,
                       QxComplex* denominator);

// ---------------------------------------------------------------------------------------------
// The filter

// One channel's block, in this order: feedback a1 to a8, feed-forward b1 to b8, delay registers
// d0 to d7, and b0.
struct QxAntiAliasChannel {
  double a[QX_ANTIALIAS_ORDER] = {};
  double b[QX_ANTIALIAS_ORDER] = {};
  double d[QX_ANTIALIAS_ORDER] = {};
  double b0 = 0.0;
};

// Sets every register whose magnitude is below 2^-32 (denormals among them) to 0, judged on the
// biased exponent alone.
void QxAntiAlias_FlushRegisters(QxAntiAliasChannel& channel);

class CQxAntiAlias {
 public:
  // `cutoff` is the new Nyquist frequency in cycles per sample of the input (0.5 / step). The
  // pass band ends at 90 % of it. Clears every channel's registers.
  void DesignFilter(double cutoff);
  // Filters `frames` interleaved frames of `channels` (1 to 32) in place, one channel after the
  // other. Registers are flushed once at the start of the block. Other channel counts do nothing.
  void FilterBlock(QxSpliceForm form, void* samples, int32_t channels, int32_t frames);
  template <QxSpliceForm F>
  void FilterBlockAs(void* samples, int32_t channels, int32_t frames);

  QxAntiAliasChannel Channel[QX_ANTIALIAS_MAX_CHANNELS];
};
