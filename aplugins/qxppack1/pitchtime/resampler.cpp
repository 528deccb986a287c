// Pitch Shift's resampler: kernel tables, start-up, reading input into the history rings, the
// interpolation loop, and output to the stream form or the intermediate buffer.
#include "aplugins/qxppack1/pitchtime/resampler.h"

#include <climits>
#include <cmath>
#include <new>

// ---------------------------------------------------------------------------------------------
// Kernel

QxKernelShape QxResample_KernelShape(int32_t accuracy) {
  switch (accuracy) {
    case 1: return {2, 1, 2000.0};
    case 3: return {15, 7, 500.0};
    default: return {9, 4, 800.0};
  }
}

void QxResample_BuildKernel(int32_t tapCount, int32_t halfTaps, double* table) {
  table[0] = 1.0;
  if (tapCount == 2) {
    // The linear path never reads the table; it is built all the same.
    for (int32_t i = 1; i < 2000; ++i) table[i] = (2000 - i) / 2000.0;
    for (int32_t i = 2000; i < QX_KERNEL_TABLE_STEPS; ++i) table[i] = 0.0;
  } else {
    // A sinc with zero crossings at whole frames under a four-term Blackman-Harris window whose
    // end falls at entry 4000, halfTaps + 1 frames out.
    const int32_t h = halfTaps + 1;
    const double pi = QX_RESAMPLE_PI;
    for (int32_t i = 1; i < QX_KERNEL_TABLE_STEPS; ++i) {
      const double a = static_cast<double>(h * i) / 4000.0 * pi;
      const double b = a / h + pi;
      const double w =
          0.35875 - 0.48829 * std::cos(b) + 0.14128 * std::cos(2.0 * b) - 0.01168 * std::cos(3.0 * b);
      table[i] = w * std::sin(a) / a;
    }
  }
  table[QX_KERNEL_TABLE_STEPS] = table[QX_KERNEL_TABLE_STEPS - 1];
}

QxSpliceForm QxResample_IntermediateForm(QxSpliceForm streamForm) {
  return QxSplice_FormIsDouble(streamForm) ? QxSpliceFloat64 : QxSpliceFloat32;
}

uint32_t QxResample_SampleBytes(QxSpliceForm form) {
  switch (form) {
    case QxSplicePcm8: return 1;
    case QxSplicePcm16: return 2;
    case QxSplicePcm32: return 4;
    case QxSpliceFloat32: return 4;
    case QxSpliceFloat64: return 8;
  }
  return 0;
}

// ---------------------------------------------------------------------------------------------
// Set-up

HRESULT CQxResampler::SetForms(QxSpliceForm inputForm, QxSpliceForm outputForm, int32_t channels) {
  const uint32_t inBytes = QxResample_SampleBytes(inputForm);
  const uint32_t outBytes = QxResample_SampleBytes(outputForm);
  if (inBytes == 0 || outBytes == 0 || channels < 1 || channels > QX_RESAMPLE_MAX_CHANNELS)
    return E_INVALIDARG;
  m_inputForm = inputForm;
  m_outputForm = outputForm;
  m_channels = channels;
  m_inFrameBytes = static_cast<size_t>(inBytes) * channels;
  m_outFrameBytes = static_cast<size_t>(outBytes) * channels;
  SelectRun();
  return S_OK;
}

HRESULT CQxResampler::PrepareResampler(int32_t accuracy) {
  Free();
  const QxKernelShape shape = QxResample_KernelShape(accuracy);
  Accuracy = accuracy;
  TapCount = shape.TapCount;
  HalfTaps = shape.HalfTaps;
  TableStep = shape.TableStep;
  std::unique_ptr<double[]> table(new (std::nothrow) double[QX_KERNEL_TABLE_SIZE]());
  std::unique_ptr<double[]> history(
      new (std::nothrow) double[static_cast<size_t>(2 * TapCount) * QX_RESAMPLE_MAX_CHANNELS]());
  if (!table || !history) return E_OUTOFMEMORY;
  QxResample_BuildKernel(TapCount, HalfTaps, table.get());
  KernelTable = std::move(table);
  History = std::move(history);
  HistoryIndex = 0;
  FramesToRead = 0;
  ResetPositions();
  SelectRun();
  return S_OK;
}

void CQxResampler::StartUp() {
  FramesToRead = HalfTaps + 1;
  HistoryIndex = HalfTaps + 1;
  InputPos -= HalfTaps + 1;
  // Frames not yet read count as silence.
  if (History)
    std::fill_n(History.get(), static_cast<size_t>(2 * TapCount) * QX_RESAMPLE_MAX_CHANNELS, 0.0);
}

void CQxResampler::ResetPositions() {
  InputPos = 0.0;
  OutputPos = 0.0;
  OutputCount = 0;
}

void CQxResampler::Free() {
  KernelTable.reset();
  History.reset();
  m_run = nullptr;
}

int32_t CQxResampler::Resample(const void* input, int32_t* inFrames, void* output,
                               int32_t* outFrames) {
  const int32_t inCap = inFrames && input ? *inFrames : 0;
  const int32_t outCap = outFrames && output ? *outFrames : 0;
  int32_t consumed = 0, produced = 0;
  if (outCap > 0 && m_run && ResampleRatio > 0.0 && ResampleRatio <= QX_RESAMPLE_MAX_RATIO) {
    m_run(*this, static_cast<const unsigned char*>(input), inCap > 0 ? inCap : 0,
          static_cast<unsigned char*>(output), outCap, &consumed, &produced);
  }
  if (inFrames) *inFrames = consumed;
  if (outFrames) *outFrames = produced;
  return 0;
}

// ---------------------------------------------------------------------------------------------
// The main loop, one instance per input form, output form, channel class and kernel type

template <QxSpliceForm In, QxSpliceForm Out, int32_t Ch, bool Linear>
void CQxResampler::Run(CQxResampler& r, const unsigned char* input, int32_t inCap,
                       unsigned char* output, int32_t outCap, int32_t* consumed,
                       int32_t* produced) {
  constexpr size_t kStride = QX_RESAMPLE_MAX_CHANNELS;
  constexpr size_t inBytes = In == QxSplicePcm8 ? 1 : In == QxSplicePcm16 ? 2 : In == QxSpliceFloat64 ? 8 : 4;
  constexpr size_t outBytes = Out == QxSplicePcm8 ? 1 : Out == QxSplicePcm16 ? 2 : Out == QxSpliceFloat64 ? 8 : 4;
  const int32_t channels = Ch > 0 ? Ch : r.m_channels;
  const int32_t taps = r.TapCount;
  const size_t inFrameBytes = r.m_inFrameBytes, outFrameBytes = r.m_outFrameBytes;
  const double* const table = r.KernelTable.get();
  double* const history = r.History.get();
  const double step = r.TableStep;
  const double halfTaps = r.HalfTaps;
  const double ratio = r.ResampleRatio;

  int32_t index = r.HistoryIndex;
  int32_t toRead = r.FramesToRead;
  double inputPos = r.InputPos;
  int32_t count = r.OutputCount;
  double outputPos = r.OutputPos;
  int32_t used = 0, made = 0;
  double acc[QX_RESAMPLE_MAX_CHANNELS];
  double coef[15];

  for (;;) {
    // Read what the next output frame needs.
    while (toRead > 0 && used < inCap) {
      if (--index < 0) index = taps - 1;
      --toRead;
      const unsigned char* src = input + static_cast<size_t>(used) * inFrameBytes;
      double* h0 = history + static_cast<size_t>(index) * kStride;
      double* h1 = h0 + static_cast<size_t>(taps) * kStride;
      for (int32_t c = 0; c < channels; ++c) {
        const double v = QxResample_Load<In>(src + c * inBytes);
        h0[c] = v;
        h1[c] = v;
      }
      inputPos += 1.0;
      ++used;
    }
    if (toRead > 0) break;

    double x = halfTaps - (outputPos - inputPos);
    const double* h = history + static_cast<size_t>(index) * kStride;
    if constexpr (Linear) {
      for (int32_t c = 0; c < channels; ++c) acc[c] = (1 - x) * h[c] + x * h[kStride + c];
    } else {
      for (int32_t j = 0; j < taps; ++j) {
        // Past the table's end the kernel is zero; only a reset of the positions in mid-stream
        // puts a tap there.
        double u = std::fabs(x) * step;
        if (u > 4001.0) u = 4001.0;
        const int32_t n = static_cast<int32_t>(u);
        const double f = u - n;
        coef[j] = (table[n + 1] - table[n]) * f + table[n];
        x -= 1.0;
      }
      for (int32_t c = 0; c < channels; ++c) {
        double a = 0.0;
        const double* hc = h + c;
        for (int32_t j = 0; j < taps; ++j) a += coef[j] * hc[static_cast<size_t>(j) * kStride];
        acc[c] = a;
      }
    }
    unsigned char* dst = output + static_cast<size_t>(made) * outFrameBytes;
    for (int32_t c = 0; c < channels; ++c) QxResample_Store<Out>(dst + c * outBytes, acc[c]);
    ++made;

    // Positions come from the integer count so that rounding errors don't add up. Before the
    // count overflows, both positions are moved back by the same whole output distance.
    if (++count == INT32_MAX) {
      inputPos -= static_cast<double>(count) * ratio;
      count = 0;
    }
    outputPos = static_cast<double>(count) * ratio;
    const double ahead = outputPos - inputPos;
    toRead = ahead >= 1.0 ? (ahead < static_cast<double>(INT32_MAX) ? static_cast<int32_t>(ahead) : INT32_MAX) : 0;
    if (made >= outCap) break;
  }

  r.HistoryIndex = index;
  r.FramesToRead = toRead;
  r.InputPos = inputPos;
  r.OutputCount = count;
  r.OutputPos = outputPos;
  *consumed = used;
  *produced = made;
}

template <QxSpliceForm In, QxSpliceForm Out>
CQxResampler::RunFn CQxResampler::PickRun() const {
  if (TapCount == 2) {
    if (m_channels == 1) return &Run<In, Out, 1, true>;
    if (m_channels == 2) return &Run<In, Out, 2, true>;
    return &Run<In, Out, 0, true>;
  }
  if (m_channels == 1) return &Run<In, Out, 1, false>;
  if (m_channels == 2) return &Run<In, Out, 2, false>;
  return &Run<In, Out, 0, false>;
}

void CQxResampler::SelectRun() {
  m_run = nullptr;
  if (!KernelTable || m_channels < 1) return;
  auto byOut = [this]<QxSpliceForm In>() -> RunFn {
    switch (m_outputForm) {
      case QxSplicePcm8: return PickRun<In, QxSplicePcm8>();
      case QxSplicePcm16: return PickRun<In, QxSplicePcm16>();
      case QxSplicePcm32: return PickRun<In, QxSplicePcm32>();
      case QxSpliceFloat32: return PickRun<In, QxSpliceFloat32>();
      case QxSpliceFloat64: return PickRun<In, QxSpliceFloat64>();
    }
    return nullptr;
  };
  switch (m_inputForm) {
    case QxSplicePcm8: m_run = byOut.template operator()<QxSplicePcm8>(); break;
    case QxSplicePcm16: m_run = byOut.template operator()<QxSplicePcm16>(); break;
    case QxSplicePcm32: m_run = byOut.template operator()<QxSplicePcm32>(); break;
    case QxSpliceFloat32: m_run = byOut.template operator()<QxSpliceFloat32>(); break;
    case QxSpliceFloat64: m_run = byOut.template operator()<QxSpliceFloat64>(); break;
  }
}
