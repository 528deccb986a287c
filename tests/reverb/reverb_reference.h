// A plain per-sample model of the reverb, written from the algorithm's text with modulo indexing
// and its own derivations, to hold the engine's block loops and ring handling against.
#pragma once
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "aplugins/qxppack1/reverb/reverb_params.h"

class RefReverb {
 public:
  RefReverb(const ReverbParams& p, int channels, double fs) : ch_(channels) {
    const ReverbModeRow& row = g_ReverbModes[p.reverbMode];
    const ReflectionRow& st = g_ReflectionStyles[p.reflectionStyle];
    const double T = p.decayTenths / 10.0;
    cc_ = static_cast<int>(row.combs);
    auto gainOf = [](int32_t v) { return v <= -800 ? 0.0 : std::pow(10.0, v / 200.0); };
    dry_ = gainOf(p.dryOut);
    rev_ = gainOf(p.reverbOut);
    early_ = p.earlyOut == -800 ? 0.0 : std::pow(10.0, p.earlyOut / 200.0) / 100.0;
    for (int c = 0; c < channels; ++c) {
      const int n = channels == 2 && c == 1 ? 2 : cc_;
      for (int k = 0; k < n; ++k) {
        double t = row.delayMs[k] / 1000.0;
        if (channels == 2 && c == 1) t *= k == 0 ? 0.93 : 1.06;
        if (channels == 2 || c == 0) {
          comb_[c][k].g = std::pow(10.0, t * -3.0 / T);
          comb_[c][k].line.assign(static_cast<size_t>(std::trunc(fs * t + 0.5)), 0.0);
        } else {
          comb_[c][k].g = comb_[0][k].g;
          comb_[c][k].line.assign(comb_[0][k].line.size(), 0.0);
        }
      }
      pre_[c].assign(std::max<size_t>(1, static_cast<size_t>(std::trunc(p.preDelayMs * (fs / 1000.0)))), 0.0);
    }
    const double add[3] = {0.051, 0.151, 0.078};
    for (int i = 0; i < 3; ++i) {
      tap_[i] = static_cast<int>(std::trunc((st.delayMs[i] + add[i]) * fs / 1000.0));
      const double pan = channels == 2 ? (st.pan[i] + 100) / 200.0 : 0.0;
      tg_[i][0] = channels == 2 ? (1 - pan) * st.gain[i] : st.gain[i];
      tg_[i][1] = pan * st.gain[i];
    }
    for (int c = 0; c < channels; ++c) early_ring_[c].assign(tap_[2], 0.0);
    if (p.highOn && p.highFreqHz < fs) {
      A_ = std::exp(p.highFreqHz * -12.56637061436 / fs);
      B_ = 1 - A_;
    }
    bassOn_ = p.bassOn != 0;
    if (bassOn_) {
      double f = p.bassFreqHz / fs;
      f = f < 0.011337868480725623 ? f / 2.2 : f / 3.3;
      f = std::min(std::max(f, 0.0004), 0.49);
      b1_ = std::exp(f * -3.14159265358979323846 / 0.1) * 2.0 * std::cos(2.0 * 3.14159265358979323846 * f);
      b2_ = std::exp(f * (-2.0 * 3.14159265358979323846) / 0.1);
      bg_ = 1.0 - b1_ + b2_;
    }
  }

  // One interleaved frame of already-converted samples, rewritten in place.
  void Frame(double* x) {
    if (ch_ == 2) {
      const double m = (x[0] + x[1]) * 0.5;
      const double v = Input(0, m);
      double sh = 0.0;
      for (int k = 2; k < cc_; ++k) Comb(comb_[0][k], v, sh);
      double s[2] = {sh, sh};
      for (int c = 0; c < 2; ++c)
        for (int k = 0; k < 2; ++k) Comb(comb_[c][k], v, s[c]);
      double rv[2], e[3];
      for (int c = 0; c < 2; ++c) rv[c] = Pre(c, s[c]);
      for (int i = 0; i < 3; ++i) e[i] = Tap(0, i) + Tap(1, i);
      for (int c = 0; c < 2; ++c) {
        const double early = e[0] * tg_[0][c] + e[1] * tg_[1][c] + e[2] * tg_[2][c];
        out_[c] = early * early_ + rv[c] * rev_ + x[c] * dry_;
      }
      for (int c = 0; c < 2; ++c) early_ring_[c][w_] = x[c];
      w_ = (w_ + 1) % tap_[2];
      for (int c = 0; c < 2; ++c) x[c] = out_[c];
      return;
    }
    for (int c = 0; c < ch_; ++c) {
      const double v = Input(c, x[c]);
      double sum = 0.0;
      for (int k = 0; k < cc_; ++k) Comb(comb_[c][k], v, sum);
      const double rv = Pre(c, sum);
      const double early = Tap(c, 0) * tg_[0][0] + Tap(c, 1) * tg_[1][0] + Tap(c, 2) * tg_[2][0];
      const double o = early * early_ + rv * rev_ + x[c] * dry_;
      early_ring_[c][w_] = x[c];
      x[c] = o;
    }
    w_ = (w_ + 1) % tap_[2];
  }

 private:
  struct Comb_ {
    std::vector<double> line;
    size_t pos = 0;
    double g = 0, state = 0;
  };
  static double Flush(double v) {
    return ((std::bit_cast<uint64_t>(v) >> 52) & 0x7FF) < 0x3DF ? 0.0 : v;
  }
  double Input(int c, double x) {
    double v = Flush(x * B_ + A_ * in_[c]);
    in_[c] = v;
    if (bassOn_) {
      const int b = ch_ == 2 ? 0 : c;
      const double o = s1_[b] * b1_ + v * bg_ - b2_ * s2_[b];
      s2_[b] = s1_[b];
      s1_[b] = Flush(o);
      v = static_cast<double>(static_cast<float>(v - s1_[b]));
    }
    return v;
  }
  void Comb(Comb_& c, double v, double& sum) {
    const double r = c.line[c.pos];
    sum += r;
    c.state = r * B_ + c.state * A_;
    if (std::fabs(c.state) < 1e-20) c.state = 0;
    c.line[c.pos] = (v + c.state) * c.g;
    c.pos = (c.pos + 1) % c.line.size();
  }
  double Pre(int c, double s) {
    pre_[c][pp_[c]] = s;
    pp_[c] = (pp_[c] + 1) % pre_[c].size();
    return pre_[c][pp_[c]];
  }
  // Tap i reads the sample written tap_[i] frames ago; the last tap reads at the writer.
  double Tap(int c, int i) {
    const size_t n = early_ring_[c].size();
    return early_ring_[c][(w_ + n - static_cast<size_t>(tap_[i])) % n];
  }

  int ch_, cc_ = 0;
  Comb_ comb_[32][10];
  std::vector<double> pre_[32], early_ring_[32];
  size_t pp_[32] = {}, w_ = 0;
  int tap_[3] = {};
  double tg_[3][2] = {};
  double dry_ = 0, rev_ = 0, early_ = 0, A_ = 0, B_ = 1;
  bool bassOn_ = false;
  double b1_ = 0, b2_ = 0, bg_ = 0, s1_[32] = {}, s2_[32] = {}, in_[32] = {};
  double out_[2] = {};
};
