// Pitch Shift's anti-alias filter: polar complex helpers, the bilinear design, the Chebyshev
// low-pass built from its prototype poles, and the direct form II that runs it in place.
#include "aplugins/qxppack1/pitchtime/antialias.h"

#include <cmath>
#include <cstring>

// ---------------------------------------------------------------------------------------------
// Complex helpers

QxComplex QxComplex_Add(QxComplex a, QxComplex b) { return {a.re + b.re, a.im + b.im}; }
QxComplex QxComplex_Sub(QxComplex a, QxComplex b) { return {a.re - b.re, a.im - b.im}; }
QxComplex QxComplex_Mul(QxComplex a, QxComplex b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
QxComplex QxComplex_Scale(QxComplex a, double k) { return {a.re * k, a.im * k}; }
double QxComplex_Abs(QxComplex a) { return std::sqrt(a.re * a.re + a.im * a.im); }

QxComplex QxComplex_Div(QxComplex a, QxComplex b) {
  const double mag = QxComplex_Abs(a) / QxComplex_Abs(b);
  // The shortcut for a zero real part is kept as it stands, though it gives a wrong angle for
  // operands on the imaginary axis; the design's poles never land there.
  const double angle =
      (a.re == 0.0 || b.re == 0.0) ? 0.0 : std::atan2(a.im, a.re) - std::atan2(b.im, b.re);
  return {mag * std::cos(angle), mag * std::sin(angle)};
}

QxComplex QxComplex_Sqrt(QxComplex a) {
  const double mag = std::sqrt(std::sqrt(a.re * a.re + a.im * a.im));
  const double angle = a.re == 0.0 ? 0.0 : std::atan2(a.im, a.re) / 2.0;
  return {mag * std::cos(angle), mag * std::sin(angle)};
}

QxComplex QxComplex_Exp(QxComplex a) {
  const double mag = std::exp(a.re);
  return {mag * std::cos(a.im), mag * std::sin(a.im)};
}

// ---------------------------------------------------------------------------------------------
// Design

const QxComplex QxAntiAlias_PrototypePoles[QX_ANTIALIAS_ORDER / 2] = {
    {-0.32165, 0.205314},
    {-0.272682, 0.584684},
    {-0.1822, 0.875041},
    {-0.06398, 1.032181},
};

namespace {

// poly (degree `degree`) times (1 - root z^-1), in place; the degree grows by one.
void MultiplyByRoot(QxComplex* poly, int32_t degree, QxComplex root) {
  poly[degree + 1] = QxComplex{};
  for (int32_t k = degree + 1; k >= 1; --k)
    poly[k] = QxComplex_Sub(poly[k], QxComplex_Mul(root, poly[k - 1]));
}

}  // namespace

HRESULT BilinearDesign(const QxComplex* poles, int32_t poleCount, const QxComplex* zeros,
                       int32_t zeroCount, double gain, double period, QxComplex* numerator,
                       QxComplex* denominator) {
  if (poleCount < 0 || zeroCount < 0 || poleCount > QX_BILINEAR_MAX_ORDER ||
      zeroCount > QX_BILINEAR_MAX_ORDER || (poleCount > 0 && !poles) || (zeroCount > 0 && !zeros) ||
      !numerator || !denominator)
    return E_INVALIDARG;
  const double t = period;
  const QxComplex two{2.0, 0.0};
  const QxComplex twoOverT{2.0 / t, 0.0};

  QxComplex c{1.0, 0.0};
  for (int32_t i = 0; i < poleCount; ++i)
    c = QxComplex_Mul(c, QxComplex_Sub(two, QxComplex_Scale(poles[i], t)));
  const int32_t excess = poleCount - zeroCount;
  double scale = std::pow(t, poleCount) * gain / c.re;
  if (zeroCount > 0) {
    // Each zero's (2 - z T) / T goes over to the top, as each pole's goes to the bottom.
    QxComplex z{1.0, 0.0};
    for (int32_t i = 0; i < zeroCount; ++i)
      z = QxComplex_Mul(z, QxComplex_Sub(two, QxComplex_Scale(zeros[i], t)));
    scale = scale * z.re / std::pow(t, zeroCount);
  }

  // Excess zeros sit at the Nyquist frequency: (1 + z^-1) once for each.
  int32_t degree = 0;
  numerator[0] = QxComplex{1.0, 0.0};
  for (int32_t i = 0; i < excess; ++i) {
    numerator[degree + 1] = QxComplex{};
    for (int32_t k = degree + 1; k >= 1; --k)
      numerator[k] = QxComplex_Add(numerator[k], numerator[k - 1]);
    ++degree;
  }
  for (int32_t i = 0; i < zeroCount; ++i) {
    const QxComplex mapped =
        QxComplex_Div(QxComplex_Add(twoOverT, zeros[i]), QxComplex_Sub(twoOverT, zeros[i]));
    MultiplyByRoot(numerator, degree++, mapped);
  }
  for (int32_t k = 0; k <= degree; ++k) numerator[k] = QxComplex_Scale(numerator[k], scale);

  const int32_t length = (poleCount > zeroCount ? poleCount : zeroCount) + 1;
  for (int32_t k = degree + 1; k < length; ++k) numerator[k] = QxComplex{};

  denominator[0] = QxComplex{1.0, 0.0};
  for (int32_t i = 0; i < poleCount; ++i) {
    const QxComplex mapped =
        QxComplex_Div(QxComplex_Add(twoOverT, poles[i]), QxComplex_Sub(twoOverT, poles[i]));
    MultiplyByRoot(denominator, i, mapped);
  }
  for (int32_t k = poleCount + 1; k < length; ++k) denominator[k] = QxComplex{};
  for (int32_t k = 1; k <= poleCount; ++k)
    denominator[k] = QxComplex{-denominator[k].re, -denominator[k].im};
  return S_OK;
}

void CQxAntiAlias::DesignFilter(double cutoff) {
  // Pass band to 90 % of the new Nyquist frequency, pre-warped for a period of 1.
  const double w = 2.0 * std::tan(cutoff * 0.9 * QX_RESAMPLE_PI);
  QxComplex poles[QX_ANTIALIAS_ORDER];
  for (int32_t i = 0; i < QX_ANTIALIAS_ORDER / 2; ++i) {
    const QxComplex p = QxAntiAlias_PrototypePoles[i];
    poles[2 * i] = QxComplex_Scale(p, w);
    poles[2 * i + 1] = QxComplex_Scale(QxComplex{p.re, -p.im}, w);
  }
  // 0.1 dB of boost on top: the pass band lies between +0.1 and +0.2 dB.
  QxComplex g{std::pow(10.0, 0.005), 0.0};
  for (const QxComplex& p : poles) g = QxComplex_Mul(g, p);
  const double gain = QxComplex_Abs(g);

  QxComplex num[QX_ANTIALIAS_ORDER + 1], den[QX_ANTIALIAS_ORDER + 1];
  BilinearDesign(poles, QX_ANTIALIAS_ORDER, nullptr, 0, gain, 1.0, num, den);

  QxAntiAliasChannel& first = Channel[0];
  first.b0 = num[0].re;
  for (int32_t k = 0; k < QX_ANTIALIAS_ORDER; ++k) {
    first.b[k] = num[k + 1].re;
    first.a[k] = den[k + 1].re;
    first.d[k] = 0.0;
  }
  for (int32_t c = 1; c < QX_ANTIALIAS_MAX_CHANNELS; ++c) Channel[c] = first;
}

// ---------------------------------------------------------------------------------------------
// Running

void QxAntiAlias_FlushRegisters(QxAntiAliasChannel& channel) {
  for (double& r : channel.d) {
    uint64_t bits;
    std::memcpy(&bits, &r, sizeof bits);
    if ((static_cast<uint32_t>(bits >> 32) & 0x7FF00000u) < 0x3DF00000u) r = 0.0;
  }
}

template <QxSpliceForm F>
void CQxAntiAlias::FilterBlockAs(void* samples, int32_t channels, int32_t frames) {
  if (channels < 1 || channels > QX_ANTIALIAS_MAX_CHANNELS || frames <= 0 || !samples) return;
  const size_t bytes = QxResample_SampleBytes(F);
  const size_t frameBytes = bytes * static_cast<size_t>(channels);
  auto* base = static_cast<unsigned char*>(samples);
  for (int32_t ch = 0; ch < channels; ++ch) {
    QxAntiAliasChannel& s = Channel[ch];
    QxAntiAlias_FlushRegisters(s);
    const double a1 = s.a[0], a2 = s.a[1], a3 = s.a[2], a4 = s.a[3];
    const double a5 = s.a[4], a6 = s.a[5], a7 = s.a[6], a8 = s.a[7];
    const double b0 = s.b0, b1 = s.b[0], b2 = s.b[1], b3 = s.b[2], b4 = s.b[3];
    const double b5 = s.b[4], b6 = s.b[5], b7 = s.b[6], b8 = s.b[7];
    double d0 = s.d[0], d1 = s.d[1], d2 = s.d[2], d3 = s.d[3];
    double d4 = s.d[4], d5 = s.d[5], d6 = s.d[6], d7 = s.d[7];
    unsigned char* p = base + static_cast<size_t>(ch) * bytes;
    for (int32_t i = 0; i < frames; ++i, p += frameBytes) {
      const double x = QxResample_Load<F>(p);
      const double w =
          x + a1 * d0 + a2 * d1 + a3 * d2 + a4 * d3 + a5 * d4 + a6 * d5 + a7 * d6 + a8 * d7;
      const double y = b0 * w + b1 * d0 + b2 * d1 + b3 * d2 + b4 * d3 + b5 * d4 + b6 * d5 +
                       b7 * d6 + b8 * d7;
      d7 = d6;
      d6 = d5;
      d5 = d4;
      d4 = d3;
      d3 = d2;
      d2 = d1;
      d1 = d0;
      d0 = w;
      QxResample_Store<F>(p, y);
    }
    s.d[0] = d0, s.d[1] = d1, s.d[2] = d2, s.d[3] = d3;
    s.d[4] = d4, s.d[5] = d5, s.d[6] = d6, s.d[7] = d7;
  }
}

template void CQxAntiAlias::FilterBlockAs<QxSplicePcm8>(void*, int32_t, int32_t);
template void CQxAntiAlias::FilterBlockAs<QxSplicePcm16>(void*, int32_t, int32_t);
template void CQxAntiAlias::FilterBlockAs<QxSplicePcm32>(void*, int32_t, int32_t);
template void CQxAntiAlias::FilterBlockAs<QxSpliceFloat32>(void*, int32_t, int32_t);
template void CQxAntiAlias::FilterBlockAs<QxSpliceFloat64>(void*, int32_t, int32_t);

void CQxAntiAlias::FilterBlock(QxSpliceForm form, void* samples, int32_t channels,
                               int32_t frames) {
  switch (form) {
    case QxSplicePcm8: FilterBlockAs<QxSplicePcm8>(samples, channels, frames); break;
    case QxSplicePcm16: FilterBlockAs<QxSplicePcm16>(samples, channels, frames); break;
    case QxSplicePcm32: FilterBlockAs<QxSplicePcm32>(samples, channels, frames); break;
    case QxSpliceFloat32: FilterBlockAs<QxSpliceFloat32>(samples, channels, frames); break;
    case QxSpliceFloat64: FilterBlockAs<QxSpliceFloat64>(samples, channels, frames); break;
  }
}
