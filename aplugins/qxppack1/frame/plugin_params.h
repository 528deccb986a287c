// CQxPlugInParams: an effect's parameters as host-facing floats over a flat stored record, with the
// stream clock, and the per-step advance that tells the streaming path how long values hold.
#pragma once
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/com/hresult.h"
#include "platform/com/types.h"

enum MP_TYPE : int32_t { MPT_INT = 0, MPT_FLOAT = 1, MPT_BOOL = 2, MPT_ENUM = 3 };
enum MP_CURVE_TYPE : uint32_t {
  MP_CURVE_JUMP = 1,
  MP_CURVE_LINEAR = 2,
  MP_CURVE_SQUARE = 4,
  MP_CURVE_INVSQUARE = 8,
  MP_CURVE_SINE = 16,
};
inline constexpr uint32_t MP_CURVES_ALL = MP_CURVE_JUMP | MP_CURVE_LINEAR | MP_CURVE_SQUARE | MP_CURVE_INVSQUARE;

// How a parameter's stored value sits in the effect's record.
enum QxStoreKind : uint32_t { QX_STORE_INT = 0, QX_STORE_INT_ALT = 1, QX_STORE_FLOAT = 2, QX_STORE_DOUBLE = 3 };

// One row of an effect's static parameter table. The leading fields have the platform's
// parameter-info layout; the rest say how the value maps onto the record.
struct QxParamInfo {
  MP_TYPE mpType;
  uint32_t mopCaps;          // MP_CURVE_* mask
  float mpdMinValue;         // host range and neutral value
  float mpdMaxValue;
  float mpdNeutralValue;
  WCHAR szUnitText[32];
  WCHAR szLabel[32];
  uint32_t ChangeMask;       // ored into the change word when this parameter moves
  int32_t RawMax;            // range of the stored integer
  int32_t RawMin;
  const WCHAR* EnumText;     // comma-separated names, or null
  uint32_t StoreKind;        // QxStoreKind
  uint32_t RecordOffset;     // byte offset in the effect's record
  int32_t UseCatalogue;      // texts come from the catalogue ids below
  int32_t LabelId, UnitId, EnumId;  // catalogue ids; negative means empty text
  int32_t Hidden;
};

// The stream's clock, in 100-ns units; every in-place effect keeps one.
struct QxStreamClock {
  bool Streaming = false;
  int64_t StartTime = 0;
  int64_t StopTime = 0;
  int64_t CurrentTime = 0;
  double HundredNsPerSample = 0.0;  // 10,000,000 / rate
  double SamplesPerHundredNs = 0.0; // rate / 10,000,000
  void SetRate(uint32_t rate) {
    HundredNsPerSample = 10000000.0 / rate;
    SamplesPerHundredNs = rate / 10000000.0;
  }
};

// Live state of one parameter.
struct QxLiveParam {
  float Value = 0.0f;         // host units
  double Slope = 0.0;         // first-order rate of the running curve
  double Curvature = 0.0;     // second-order rate of the running curve
  bool Capturing = false;     // a gesture holds this parameter
  bool ForceUpdate = false;   // the next advance reports a change
  bool MovedByAutomation = false;
  int32_t SegmentCursor = 0;
  bool CallbackMuted = false;
};

class CQxPlugInParams : public QxStreamClock {
 public:
  CQxPlugInParams(QxParamInfo* table, uint32_t count);
  virtual ~CQxPlugInParams();

  uint32_t ParamCount() const { return count_; }
  const QxParamInfo& Info(uint32_t index) const { return table_[index]; }

  // Float (host units) <-> stored integer or float.
  double FloatToStored(uint32_t index, float value) const;
  float StoredToFloat(uint32_t index, double stored) const;

  // Whole record, in the table's offsets and store kinds.
  void GetAll(void* record);
  // Sets `count` parameters from the record as one gesture.
  HRESULT SetAll(const void* record, uint32_t count);
  // One parameter, through a pointer to its stored form.
  HRESULT GetStored(void* value, uint32_t index);
  // Returns S_FALSE when the value stayed the same, S_OK when it changed.
  HRESULT SetStored(const void* value, uint32_t index);
  HRESULT GetNormal(float* result, uint32_t index);
  HRESULT SetNormal(float value, uint32_t index);
  float GetValue(uint32_t index);

  HRESULT BeginGesture(uint32_t index);
  HRESULT EndGesture(uint32_t index);
  int IsIdle(uint32_t index);
  HRESULT EnableCallback(uint32_t index, int flag);
  void ClearMoved();

  // Frames for which the present values hold, starting at CurrentTime; ors change masks into *flags.
  uint32_t Advance(uint32_t frames, uint32_t* flags);

 protected:
  std::recursive_mutex lock_;  // the parameter lock
  std::vector<QxLiveParam> live_;

 private:
  float Clamp(uint32_t index, float v) const;
  // Hook for envelopes: true when any parameter has a segment.
  bool HasEnvelopes() const { return false; }

  QxParamInfo* table_;
  uint32_t count_;
};
