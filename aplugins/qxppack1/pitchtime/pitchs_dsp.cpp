// Pitch Shift's transform, audio side: configuration from the snapshot, full initialisation, the
// in-place anti-alias pass, and Process with and without preserved duration, with the length
// correction that brings a preserved stream back to its input's exact length.
#include <algorithm>
#include <cstring>
#include <new>

#include "aplugins/qxppack1/pitchtime/pitchs_transform.h"

bool CQxPitchsTransform::TakeSnapshot() {
  std::lock_guard<std::recursive_mutex> g(lock_);
  m_snap.Accuracy = params_.Accuracy;
  m_snap.PreserveDuration = params_.PreserveDuration;
  m_snap.Mode = params_.Mode;
  m_snap.AntiAlias = params_.AntiAlias;
  m_snap.Ratio = params_.Ratio;
  const bool changed = changed_;
  if (rebuild_) m_rebuildPending = true;  // kept until a rebuild has succeeded
  changed_ = rebuild_ = false;
  return changed;
}

HRESULT CQxPitchsTransform::Configure() {
  const bool preserve = m_snap.PreserveDuration != 0;
  if (m_rebuildPending || !m_configured) {
    m_configured = false;
    HRESULT hr = m_resampler.SetForms(m_form, preserve ? QxResample_IntermediateForm(m_form) : m_form, m_channels);
    if (FAILED(hr)) return E_FAIL;
    m_virtualRate = QxPitchs_VirtualRate(m_sampleRate, m_snap.Ratio);
    hr = m_resampler.PrepareResampler(m_snap.Accuracy);
    if (FAILED(hr)) return hr;
    m_resampleRatio = QxPitchs_ResampleRatio(m_sampleRate, m_snap.Ratio, preserve);
    m_resampler.ResampleRatio = m_resampleRatio;
    if (preserve) {
      // Only the precision of this stream keeps splice buffers.
      hr = QxSplice_FormIsDouble(m_form)
               ? m_splice64.Rebuild(m_snap.Mode, m_sampleRate, m_channels, m_resampleRatio)
               : m_splice32.Rebuild(m_snap.Mode, m_sampleRate, m_channels, m_resampleRatio);
    }
    if (!preserve || QxSplice_FormIsDouble(m_form)) m_splice32.Free();
    if (!preserve || !QxSplice_FormIsDouble(m_form)) m_splice64.Free();
    m_filterOn = m_snap.AntiAlias != 0 && m_resampleRatio > 1.1;
    if (m_filterOn) m_filter.DesignFilter(0.5 / m_resampleRatio);
    m_preserve = preserve;
    m_flushed = false;
    TotalIn_ = TotalOut_ = 0;
    IntermediateFrames = IntermediatePos = 0;
    m_resampler.ResetPositions();
    m_startUpPending = true;
    m_splice32.FirstSplice = m_splice64.FirstSplice = true;
    m_splice32.Flushing = m_splice64.Flushing = false;
    m_splice32.TailDone = m_splice64.TailDone = false;
    if (FAILED(hr)) return hr;
    m_rebuildPending = false;
    m_configured = true;
    return S_OK;
  }
  // Only the ratio moved: the buffered audio stays, the positions start again.
  m_virtualRate = QxPitchs_VirtualRate(m_sampleRate, m_snap.Ratio);
  m_resampleRatio = QxPitchs_ResampleRatio(m_sampleRate, m_snap.Ratio, m_preserve);
  m_resampler.ResampleRatio = m_resampleRatio;
  if (m_preserve) {
    if (QxSplice_FormIsDouble(m_form))
      m_splice64.SetRatio(m_resampleRatio);
    else
      m_splice32.SetRatio(m_resampleRatio);
  }
  m_resampler.ResetPositions();
  m_filterOn = m_snap.AntiAlias != 0 && m_resampleRatio > 1.1;
  if (m_filterOn) m_filter.DesignFilter(0.5 / m_resampleRatio);
  return S_OK;
}

HRESULT CQxPitchsTransform::FullInit() {
  m_rebuildPending = true;
  m_splice32.TailDone = m_splice64.TailDone = false;
  if (!IntermediateBuffer) {
    // Sized for 64-bit floats so that either intermediate form fits.
    IntermediateBuffer.reset(new (std::nothrow) unsigned char[static_cast<size_t>(QX_PITCHS_INTERMEDIATE_FRAMES) *
                                                               m_channels * sizeof(double)]());
    if (!IntermediateBuffer) return E_OUTOFMEMORY;
  }
  // The capacity; no frame in it is valid until the resampler has written some.
  IntermediateCapacity = QX_PITCHS_INTERMEDIATE_FRAMES;
  const HRESULT hr = Configure();
  m_flushed = false;
  TotalIn_ = TotalOut_ = 0;
  IntermediateFrames = IntermediatePos = 0;
  m_resampler.ResetPositions();
  m_startUpPending = true;
  m_workDone = false;
  return hr;
}

HRESULT CQxPitchsTransform::PrepareStream(const WAVEFORMATEX& format) {
  QxSpliceForm form;
  if (FAILED(QxSplice_FormFromWave(format, &form))) return E_FAIL;
  if (m_prepared && format.nChannels != m_channels) IntermediateBuffer.reset();
  m_form = form;
  m_sampleRate = format.nSamplesPerSec;
  m_channels = format.nChannels;
  m_prepared = true;
  m_configured = false;
  TakeSnapshot();
  return FullInit();
}

void CQxPitchsTransform::ReleaseStream() {
  m_resampler.Free();
  m_splice32.Free();
  m_splice64.Free();
  IntermediateBuffer.reset();
  IntermediateCapacity = IntermediateFrames = IntermediatePos = 0;
  m_prepared = false;
  m_configured = false;
  m_rebuildPending = true;
  m_workDone = false;
  m_filterOn = false;
}

HRESULT CQxPitchsTransform::PrepareBlock(bool discontinuity, void* samples, int32_t frames) {
  if (!m_prepared) return E_FAIL;
  const bool changed = TakeSnapshot();
  HRESULT hr = S_OK;
  // A new run re-initialises here rather than in Process, so that the filter starts it with
  // clear registers too.
  if ((discontinuity && m_workDone) || m_flushed)
    hr = FullInit();
  else if (changed || !m_configured || m_rebuildPending)
    hr = Configure();
  if (FAILED(hr)) return hr;
  if (m_filterOn && samples && frames > 0) m_filter.FilterBlock(m_form, samples, m_channels, frames);
  return S_OK;
}

HRESULT CQxPitchsTransform::Process(int32_t flag, const void* input, int32_t* inFrames, void* output,
                                    int32_t* outFrames) {
  const int32_t inCap = inFrames ? std::max(*inFrames, 0) : 0;
  const int32_t outCap = outFrames ? std::max(*outFrames, 0) : 0;
  int32_t consumed = 0, produced = 0;
  m_advanced = false;
  HRESULT hr = S_OK;
  if (!m_prepared) {
    hr = E_FAIL;
  } else if (flag < PitchsNewRun || flag > PitchsFlush) {
    hr = E_INVALIDARG;
  } else if ((inCap > 0 && !input) || (outCap > 0 && !output)) {
    hr = E_POINTER;
  } else {
    const bool flush = flag == PitchsFlush;
    const bool changed = TakeSnapshot();
    if (flush) {
      // A flush configures nothing; the next run starts afresh.
      m_flushed = true;
      m_workDone = true;
    } else if ((flag == PitchsNewRun && m_workDone) || m_flushed) {
      hr = FullInit();
    } else if (changed || !m_configured || m_rebuildPending) {
      hr = Configure();
    }
    if (SUCCEEDED(hr) && !m_configured) hr = flush ? S_FALSE : E_FAIL;
    if (hr == S_OK) {
      if (!flush && m_startUpPending) {
        m_resampler.StartUp();
        m_startUpPending = false;
      }
      if (!m_preserve) {
        // Without preserved duration the frames left in the resampler's history are dropped:
        // there is no tail.
        if (flush) {
          hr = S_FALSE;
        } else {
          consumed = inCap;
          produced = outCap;
          m_resampler.Resample(input, &consumed, output, &produced);
        }
      } else if (QxSplice_FormIsDouble(m_form)) {
        hr = ProcessPreserved(m_splice64, flush, input, inCap, output, outCap, &consumed, &produced);
      } else {
        hr = ProcessPreserved(m_splice32, flush, input, inCap, output, outCap, &consumed, &produced);
      }
      if (consumed > 0 || produced > 0) m_advanced = m_workDone = true;
    }
  }
  if (inFrames) *inFrames = consumed;
  if (outFrames) *outFrames = produced;
  return hr;
}

template <typename T>
HRESULT CQxPitchsTransform::ProcessPreserved(CQxSpliceCore<T>& core, bool flush, const void* input,
                                             int32_t inCap, void* output, int32_t outCap,
                                             int32_t* consumed, int32_t* produced) {
  const QxSpliceForm midForm = QxResample_IntermediateForm(m_form);
  const size_t midFrameBytes = static_cast<size_t>(QxResample_SampleBytes(midForm)) * m_channels;
  const size_t outFrameBytes = static_cast<size_t>(QxResample_SampleBytes(m_form)) * m_channels;

  // 1. Refill the intermediate buffer once the splice engine has taken all of it.
  if (!flush && IntermediatePos >= IntermediateFrames) {
    int32_t used = inCap, made = IntermediateCapacity;
    m_resampler.Resample(input, &used, IntermediateBuffer.get(), &made);
    *consumed = used;
    TotalIn_ += used;
    IntermediateFrames = made;
    IntermediatePos = 0;
  }
  // 2. With nothing left to splice, a flush turns the splice engine to draining.
  const int32_t available = IntermediateFrames - IntermediatePos;
  if (available == 0 && flush) core.Flushing = true;

  // 3. Splice what is available into the output.
  const QxSpliceCodec<T> mid = QxSplice_Codec<T>(midForm);
  const QxSpliceCodec<T> out = QxSplice_Codec<T>(m_form);
  const QxSpliceSource<T> src{IntermediateBuffer.get() + static_cast<size_t>(IntermediatePos) * midFrameBytes,
                              available, midFrameBytes, mid.Read};
  const QxSpliceSink<T> dst{output, outCap, outFrameBytes, out.Write};
  const int32_t result = core.Splice(src, dst);
  IntermediatePos += core.InputConsumed;
  int32_t made = core.OutputProduced;
  TotalOut_ += made;
  if (core.InputConsumed > 0) m_advanced = true;

  // 4. Length correction. An excess is only taken off when shifting down; shifting up, it stays.
  HRESULT hr = result == 1 ? S_FALSE : S_OK;
  if (TotalOut_ > TotalIn_ && m_resampleRatio < 1.0) {
    const int64_t cut = std::min<int64_t>(TotalOut_ - TotalIn_, made);
    made -= static_cast<int32_t>(cut);
    TotalOut_ -= cut;
    hr = S_FALSE;
  } else if (result == 1 && TotalIn_ > TotalOut_ && made == 0) {
    // Zero bytes whatever the form: 8-bit audio is padded with 0, not with its silence of 128.
    const int32_t pad = static_cast<int32_t>(std::min<int64_t>(TotalIn_ - TotalOut_, outCap));
    if (pad > 0) std::memset(output, 0, static_cast<size_t>(pad) * outFrameBytes);
    made = pad;
    TotalOut_ += pad;
    hr = TotalOut_ >= TotalIn_ ? S_FALSE : S_OK;
  }
  *produced = made;
  return hr;
}

template HRESULT CQxPitchsTransform::ProcessPreserved<float>(CQxSpliceCore<float>&, bool, const void*, int32_t,
                                                             void*, int32_t, int32_t*, int32_t*);
template HRESULT CQxPitchsTransform::ProcessPreserved<double>(CQxSpliceCore<double>&, bool, const void*, int32_t,
                                                              void*, int32_t, int32_t*, int32_t*);
