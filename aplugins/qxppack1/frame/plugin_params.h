// CQxPlugInParams: an effect's parameters as host-facing floats over a flat stored record, with
// time envelopes that move them during playback, the stream clock, and the per-step advance that
// tells the streaming path how long the present values hold.
#pragma once
#include <cstdint>
#include <mutex>
#include <vector>

#include "kernel/services/qx_list.h"
#include "platform/com/media_params.h"

inline constexpr uint32_t MP_CURVES_ALL = MP_CURVE_JUMP | MP_CURVE_LINEAR | MP_CURVE_SQUARE | MP_CURVE_INVSQUARE;

// How a parameter's stored value sits in the effect's record.
enum QxStoreKind : uint32_t { QX_STORE_INT = 0, QX_STORE_INT_ALT = 1, QX_STORE_FLOAT = 2, QX_STORE_DOUBLE = 3 };

// One row of an effect's static parameter table. The leading fields have the platform's
// parameter-info layout; the rest say how the value maps onto the record.
struct QxParamInfo {
  MP_PARAMINFO Info;         // type, curves, host range and neutral value, unit and label
  uint32_t ChangeMask;       // ored into the change word when this parameter moves
  int32_t RawMax;            // range of the stored integer
  int32_t RawMin;
  const WCHAR* EnumText;     // comma-separated names, or null
  uint32_t StoreKind;        // QxStoreKind
  uint32_t RecordOffset;     // byte offset in the effect's record
  int32_t UseCatalogue;      // texts come from the resource string ids below
  int32_t LabelId, UnitId, EnumId;  // string ids; negative means empty text
  int32_t Hidden;            // GetParamInfo answers S_FALSE with no data
};

// The stream's clock, in 100-ns units; every in-place effect keeps one.
struct QxStreamClock {
  bool Streaming = false;
  int64_t StartTime = 0;
  int64_t StopTime = 0;
  int64_t CurrentTime = 0;
  double HundredNsPerSample = 0.0;   // 10,000,000 / rate
  double SamplesPerHundredNs = 0.0;  // rate / 10,000,000
  void SetRate(uint32_t rate) {
    HundredNsPerSample = 10000000.0 / rate;
    SamplesPerHundredNs = rate / 10000000.0;
  }
};

// An envelope segment as the host gave it, and whether it has reached the engine yet.
struct QxSegment {
  MP_ENVELOPE_SEGMENT Seg;
  int32_t Applied;
};

// Live state of one parameter.
struct QxLiveParam {
  QxList<QxSegment> Segments;  // sorted by start time
  float Value = 0.0f;          // host units
  double Slope = 0.0;          // first-order rate of the running curve
  double Curvature = 0.0;      // second-order rate of the running curve
  bool Capturing = false;      // a gesture holds this parameter
  bool ForceUpdate = false;    // the next advance reports a change
  bool MovedByAutomation = false;
  int32_t SegmentCursor = 0;   // where the last search ended
  bool CallbackMuted = false;
};

class CQxPlugInParams : public IMediaParamInfo,
                        public IMediaParams,
                        public IMediaParamsSetUICallback,
                        public QxStreamClock {
 public:
  CQxPlugInParams(QxParamInfo* table, uint32_t count);
  virtual ~CQxPlugInParams();

  // IMediaParamInfo
  HRESULT GetParamCount(DWORD* count) override;
  HRESULT GetParamInfo(DWORD index, MP_PARAMINFO* info) override;
  HRESULT GetParamText(DWORD index, WCHAR** text) override;
  HRESULT GetNumTimeFormats(DWORD* count) override;
  HRESULT GetSupportedTimeFormat(DWORD index, GUID* format) override;
  HRESULT GetCurrentTimeFormat(GUID* format, MP_TIMEDATA* data) override;
  // IMediaParams
  HRESULT GetParam(DWORD index, MP_DATA* value) override;
  HRESULT SetParam(DWORD index, MP_DATA value) override;
  HRESULT AddEnvelope(DWORD index, DWORD count, MP_ENVELOPE_SEGMENT* segments) override;
  HRESULT FlushEnvelope(DWORD index, REFERENCE_TIME start, REFERENCE_TIME end) override;
  HRESULT SetTimeFormat(GUID format, MP_TIMEDATA data) override;
  // IMediaParamsSetUICallback
  HRESULT SetUICallback(IMediaParamsUICallback* callback) override;

  // Answers the three media-parameter interfaces for the owning object, or returns false.
  bool QueryParams(REFIID riid, void** ppv);

  uint32_t ParamCount() const { return count_; }
  const QxParamInfo& Info(uint32_t index) const { return table_[index]; }
  bool Initialised() const { return initialised_; }

  // Float (host units) <-> stored integer or float.
  double FloatToStored(uint32_t index, float value) const;
  float StoredToFloat(uint32_t index, double stored) const;

  // Whole record, at the table's offsets and store kinds.
  void GetAll(void* record);
  // Sets `count` parameters from the record as one gesture.
  HRESULT SetAll(const void* record, uint32_t count);
  // One parameter, through a pointer to its stored form.
  HRESULT GetStored(void* value, uint32_t index);
  // S_FALSE when the value stayed the same, S_OK when it changed.
  HRESULT SetStored(const void* value, uint32_t index);
  HRESULT GetNormal(float* result, uint32_t index);
  HRESULT SetNormal(float value, uint32_t index);

  HRESULT BeginGesture(uint32_t index);
  HRESULT EndGesture(uint32_t index);
  int IsIdle(uint32_t index);
  HRESULT EnableCallback(uint32_t index, int flag);
  void ClearMoved();

  // Frames for which the present values hold, from CurrentTime on; ors change masks into *flags.
  uint32_t Advance(uint32_t frames, uint32_t* flags);

  // Read-outs for tests and pages.
  QxLiveParam LiveCopy(uint32_t index);
  int64_t MaxStep = 200000;  // 20 ms

 protected:
  std::recursive_mutex lock_;  // the parameter lock

 private:
  enum EvalResult : int { EVAL_NOTHING = 0, EVAL_INSIDE = 1, EVAL_CHANGED = 2 };
  float Clamp(uint32_t index, float v) const;
  bool AnyEnvelope() const;
  int Evaluate(QxLiveParam& p, int64_t now, int64_t* timeLeft);
  bool Interpolate(QxLiveParam& p, int64_t now, QxSegment& seg, double rate = 1.0);
  const WCHAR* LabelText(uint32_t index) const;
  const WCHAR* UnitText(uint32_t index) const;
  const WCHAR* EnumTextOf(uint32_t index) const;
  // Sends one of the callback's three calls for one parameter, outside the lock.
  enum Note { NOTE_BEGIN, NOTE_CHANGED, NOTE_END };
  void Tell(uint32_t index, std::initializer_list<Note> notes);

  QxParamInfo* table_;
  uint32_t count_;
  std::vector<QxLiveParam> live_;
  bool initialised_ = false;
  GUID timeFormat_ = GUID_TIME_REFERENCE;
  MP_TIMEDATA timeData_ = 0;
  IMediaParamsUICallback* callback_ = nullptr;
};
