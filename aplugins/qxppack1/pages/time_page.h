// The Time Stretch page: its controls, the conversions between FinalLength and the three forms the
// user may work in (percentage, tempo, time), and the logic that binds dialog 1001 to IQxTimeProp.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/pitchtime/time_prop.h"
#include "aplugins/qxppack1/pages/page_base.h"
#include "aplugins/qxppack1/pages/page_controls.h"

inline constexpr int QX_TIME_DIALOG = 1001;

enum QxTimePageControl : int {
  IDC_TIME_FINAL_LABEL = 1002,
  IDC_TIME_FINAL_TRACK = 1003,
  IDC_TIME_MODE = 1004,
  IDC_TIME_FINAL = 1007,
  IDC_TIME_INITIAL = 1008,
  IDC_TIME_FORMAT = 1015,
  IDC_TIME_INITIAL_LABEL = 1016,
  IDC_TIME_PERCENT_LABEL = 1017,
  IDC_TIME_PERCENT = 1018,
  IDC_TIME_FORMAT_LABEL = 1019,
  IDC_TIME_MODE_LABEL = 1022,
};

enum QxTimeInputFormat : int32_t { QX_TIME_PERCENT = 0, QX_TIME_TEMPO = 1, QX_TIME_CLOCK = 2 };

// The FinalLength a typed final value asks for, in the page's input form; `rate` 0 when no input
// pin gives one. FALSE when the text is no time (the clock form only). A typed tempo of 0 or an
// initial time of 0 give an infinity or a NaN, which SetFinalLength clamps or ignores.
BOOL QxTimeFinalFromText(const WCHAR* text, int32_t format, const TimeParams& params, uint32_t rate,
                         double* finalLength);

// The template of dialog 1001, a child of the property frame.
const QxDialogTemplate* QxTimePage_Template();

// The page's logic over a dialog made from that template. Either handle may be null, in which
// case nothing is read or written.
class CQxTimePageLogic : public CQxPageLogic<IQxTimeProp> {
 public:
  void Init() override;
  void Refresh(int control) override;
  BOOL OnCommand(int id, int code) override;
  BOOL OnScroll(UINT message, WPARAM wParam, HWND control) override;

 private:
  void WriteRange(const TimeParams& p, bool haveRate, uint32_t rate);
};

// The page object the class table makes: the frame's page with the logic above behind it.
class CQxTimePropPage final : public CQxLogicPropPage<CQxTimePageLogic, IQxTimeProp> {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  explicit CQxTimePropPage(LPUNKNOWN outer);
};
