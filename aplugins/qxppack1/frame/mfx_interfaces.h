// The host tempo interfaces: IMfxSoftSynth, which a tempo-following effect answers, and the four
// interfaces a host's context object may implement to give it tempo, meter and musical time.
#pragma once
#include <cstdint>

#include "platform/com/unknown.h"
#include "platform/com/wave_format.h"

inline constexpr IID IID_IMfxSoftSynth = MakeGuid("5BBDF239-3046-4DAA-8ADD-3B9373545B74");
inline constexpr IID IID_IMfxTempoMap = MakeGuid("FF76F7C3-F166-11D1-A8E0-0000A0090DAF");
inline constexpr IID IID_IMfxMeterMap = MakeGuid("FF76F7C4-F166-11D1-A8E0-0000A0090DAF");
inline constexpr IID IID_IMfxTimeConverter = MakeGuid("FF94ABA0-4DF9-4120-947D-5E303E49B81F");
inline constexpr IID IID_IMfxTimeSource = MakeGuid("F7C3B880-0557-44BB-8C30-3A77D5E910BA");

// Musical time is counted in ticks, TicksPerQuarterNote of them to a quarter note; clock time in
// milliseconds (tempo map) or sample frames (time converter).
using MFX_TICKS = int32_t;

// The host's tempo changes. Entries are sorted by tick; entry 0 lies at tick 0.
struct IMfxTempoMap : IUnknown {
  // Milliseconds from tick 0 to `ticks`, following every tempo change on the way.
  virtual int32_t TicksToMsecs(MFX_TICKS ticks) = 0;
  // The reverse: the tick that `msecs` milliseconds from tick 0 fall on.
  virtual MFX_TICKS MsecsToTicks(int32_t msecs) = 0;
  virtual int32_t GetTicksPerQuarterNote() = 0;
  virtual int32_t GetTempoCount() = 0;
  // Index of the last entry at or before `ticks`.
  virtual int32_t GetTempoIndexForTime(MFX_TICKS ticks) = 0;
  // Entry `index` as its tick and beats per minute x 100.
  virtual HRESULT GetTempoAt(int32_t index, MFX_TICKS* ticks, int32_t* bpm100) = 0;
};

// The host's meter changes, each at the start of a measure. Entries are sorted; entry 0 lies at
// measure 0.
struct IMfxMeterMap : IUnknown {
  virtual int32_t GetMeterCount() = 0;
  // Index of the last entry whose measure starts at or before `ticks`.
  virtual int32_t GetMeterIndexForTime(MFX_TICKS ticks) = 0;
  // Entry `index` as its measure (counted from 0), the numerator, and the power of two of the
  // denominator (2 for quarter notes).
  virtual HRESULT GetMeterAt(int32_t index, int32_t* measure, int32_t* numerator, int32_t* denominatorPow2) = 0;
  // The tick at which `measure` starts.
  virtual MFX_TICKS MeasureToTicks(int32_t measure) = 0;
};

// Kinds of time in an MFX_TIME record.
enum MfxTimeKind : int32_t {
  MFX_TIME_TICKS = 2,
  MFX_TIME_SAMPLES = 3,
};

// A point in time of a given kind: ticks from tick 0, or sample frames from the start.
struct MFX_TIME {
  int32_t Kind;  // MfxTimeKind
  int32_t Reserved;
  int64_t Value;
};

// Optional: converts ticks and samples directly, more exactly than through milliseconds.
struct IMfxTimeConverter : IUnknown {
  // Rewrites `time` in the kind `toKind`; a failure leaves it as it was.
  virtual HRESULT ConvertTime(MFX_TIME* time, int32_t toKind) = 0;
};

// Optional: the host's musical position.
struct IMfxTimeSource : IUnknown {
  // The musical position, in ticks, that the sample frame `samples` falls on.
  virtual HRESULT GetMusicalPosition(int64_t samples, MFX_TICKS* ticks) = 0;
};

// What a tempo-following effect answers. Connect takes over the caller's reference on the context:
// it queries what it needs from it and then releases it. Ticks are those of the host's maps.
struct IMfxSoftSynth : IUnknown {
  virtual HRESULT Connect(IUnknown* context) = 0;
  virtual HRESULT Disconnect() = 0;
  virtual HRESULT StartPlayback(MFX_TICKS ticks) = 0;
  virtual HRESULT SetLoop(MFX_TICKS startTicks, MFX_TICKS endTicks) = 0;
  virtual HRESULT StopPlayback() = 0;
  // Accepted and ignored: a stream of effect audio needs no extra flush.
  virtual HRESULT Flush() = 0;
  // Event and voice operations of an instrument; an effect implements none of them.
  virtual HRESULT OnMidiShortEvent(MFX_TICKS ticks, uint32_t message) = 0;
  virtual HRESULT OnMidiLongEvent(MFX_TICKS ticks, const BYTE* data, uint32_t bytes) = 0;
  virtual HRESULT AllNotesOff() = 0;
  virtual HRESULT GetVoiceCount(int32_t* voices) = 0;
  virtual HRESULT SetPatch(int32_t channel, int32_t bank, int32_t patch) = 0;
  virtual HRESULT GetPatchName(int32_t bank, int32_t patch, WCHAR* name, uint32_t chars) = 0;
  virtual HRESULT GetOutputCount(int32_t* outputs) = 0;
  virtual HRESULT RenderOutput(int32_t output, float* buffer, uint32_t frames) = 0;
  virtual HRESULT SetLatency(int32_t frames) = 0;
  // The negotiated wave format, 18 bytes; VFW_E_NOT_CONNECTED when there is none.
  virtual HRESULT GetMfxWaveFormat(WAVEFORMATEX* format) = 0;
};

// Request bit of NextChunk for the host's musical position (answered when a time source exists).
inline constexpr uint32_t QX_TEMPO_MUSICAL_POSITION = 0x8000000;
