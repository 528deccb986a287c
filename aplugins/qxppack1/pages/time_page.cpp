// The Time Stretch page's conversions and its logic over dialog 1001: what each refresh rewrites,
// and what each command sets through IQxTimeProp.
#include "aplugins/qxppack1/pages/time_page.h"

#include <cmath>

#include "aplugins/qxppack1/pages/page_controls.h"
#include "aplugins/qxppack1/pages/string_ids.h"
#include "aplugins/qxppack1/pages/time_text.h"
#include "aplugins/qxppack1/pitchtime/splice_engine.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/trackbar.h"
#include "kernel/controls/window_text.h"
#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_valuetext.h"

namespace {
// The trackbar shows FinalLength less 100 %, so that its range fits the control's 16 bits.
constexpr double kTrackOrigin = 10000.0;

const WCHAR* Text(UINT id) { return QxGetString(QxLang_GetKernelHandle(), id); }

struct Number {
  WCHAR text[QX_NUMBER_TEXT_CHARS];
  explicit Number(double v) { QxDoubleToText(text, v, 2, FALSE); }
};
struct Clock {
  WCHAR text[QX_TIME_TEXT_CHARS];
  Clock(double frames, uint32_t rate) { QxTimeText(frames, rate, QxMsRule::Round, text, QX_TIME_TEXT_CHARS); }
};
}  // namespace

BOOL QxTimeFinalFromText(const WCHAR* text, int32_t format, const TimeParams& p, uint32_t rate, double* finalLength) {
  if (format == QX_TIME_CLOCK) {
    QxClockTime t;
    if (!QxParseClockText(text, &t)) return FALSE;
    *finalLength = QxClockFrames(t, rate) / p.InitialTime * 10000.0;
  } else if (format == QX_TIME_TEMPO) {
    *finalLength = p.InitialTempo / (QxTextToDoubleToken(text, nullptr) * 0.01);
  } else {
    *finalLength = QxTextToDoubleToken(text, nullptr) * 100;
  }
  return TRUE;
}

void CQxTimePageLogic::Init() {
  if (!dialog_) return;
  QxPage_SetTrackRange(dialog_, IDC_TIME_FINAL_TRACK, static_cast<int>(QX_TIME_MIN_LENGTH - kTrackOrigin),
                       static_cast<int>(QX_TIME_MAX_LENGTH - kTrackOrigin));
  SendDlgItemMessage(dialog_, IDC_TIME_FINAL_TRACK, QXCM_SETDEFAULT, 0, 0);
  QxPage_FillList(dialog_, IDC_TIME_MODE, SpliceModeText, QX_SPLICE_MODE_COUNT);
  const WCHAR* forms[] = {Text(IDS_TIME_PAGE_FORMAT0), Text(IDS_TIME_PAGE_FORMAT0 + 1), Text(IDS_TIME_PAGE_FORMAT0 + 2)};
  QxPage_FillList(dialog_, IDC_TIME_FORMAT, forms, 3);
  Refresh(0);
}

// The range text of the final value, which depends on the input form and the initial value.
void CQxTimePageLogic::WriteRange(const TimeParams& p, bool haveRate, uint32_t rate) {
  switch (p.InputFormat) {
    case QX_TIME_TEMPO:
      QxSetDlgItemTextF(dialog_, IDC_TIME_FINAL_LABEL, Text(IDS_TIME_PAGE_FINAL_TEMPO),
                        Number(p.InitialTempo * 2 / 100.0).text, Number(std::trunc(p.InitialTempo * 0.2) / 100).text);
      break;
    case QX_TIME_CLOCK:
      if (!haveRate) {
        SetText(IDC_TIME_FINAL_LABEL, Text(IDS_TIME_PAGE_NEED_PIN));
        break;
      }
      QxSetDlgItemTextF(dialog_, IDC_TIME_FINAL_LABEL, Text(IDS_TIME_PAGE_FINAL_TIME),
                        Clock(p.InitialTime * 0.5, rate).text, Clock(p.InitialTime * 5.0, rate).text);
      break;
    default:
      QxSetDlgItemTextF(dialog_, IDC_TIME_FINAL_LABEL, Text(IDS_TIME_PAGE_FINAL_PERCENT), Number(50.0).text,
                        Number(500.0).text);
  }
}

void CQxTimePageLogic::Refresh(int control) {
  if (!dialog_ || !prop_) return;
  if (control == QX_PAGE_NOTIFY_ID) control = 0;
  TimeParams p{};
  prop_->GetParams(&p);
  uint32_t rate = 0;
  const bool haveRate = SampleRate(&rate);

  if (control == 0 || control == IDC_TIME_FINAL_TRACK || control == IDC_TIME_FINAL) {
    if (control != IDC_TIME_FINAL_TRACK)
      QxPage_SetTrackValue(dialog_, IDC_TIME_FINAL_TRACK, static_cast<int>(std::trunc(p.FinalLength - kTrackOrigin)));
    if (p.InputFormat == QX_TIME_TEMPO)
      SetText(IDC_TIME_FINAL, Number(p.InitialTempo / p.FinalLength * 100).text);
    else if (p.InputFormat == QX_TIME_CLOCK)
      SetText(IDC_TIME_FINAL, haveRate ? Clock(p.FinalLength / 10000 * p.InitialTime, rate).text : u"00:00:00.000");
    else
      SetText(IDC_TIME_FINAL, Number(p.FinalLength / 100).text);
    QxSetDlgItemTextF(dialog_, IDC_TIME_PERCENT, u"%s %%", Number(p.FinalLength / 100).text);
  }
  if (control == 0) {
    QxPage_SelectByData(dialog_, IDC_TIME_MODE, p.Mode);
    QxPage_SelectByData(dialog_, IDC_TIME_FORMAT, p.InputFormat);
  }
  if (control == 0 || control == IDC_TIME_FORMAT) {
    const bool initial = p.InputFormat != QX_TIME_PERCENT;
    EnableWindow(GetDlgItem(dialog_, IDC_TIME_INITIAL_LABEL), initial);
    EnableWindow(GetDlgItem(dialog_, IDC_TIME_INITIAL), initial);
    const UINT name = p.InputFormat == QX_TIME_TEMPO   ? IDS_TIME_PAGE_INITIAL_TEMPO
                      : p.InputFormat == QX_TIME_CLOCK ? IDS_TIME_PAGE_INITIAL_TIME
                                                       : IDS_TIME_PAGE_UNAVAILABLE;
    SetText(IDC_TIME_INITIAL_LABEL, Text(name));
    WriteRange(p, haveRate, rate);
  }
  if (control == 0 || control == IDC_TIME_INITIAL) {
    if (p.InputFormat == QX_TIME_TEMPO) {
      SetText(IDC_TIME_INITIAL, Number(p.InitialTempo / 100.0).text);
      WriteRange(p, haveRate, rate);
    } else if (p.InputFormat == QX_TIME_CLOCK) {
      SetText(IDC_TIME_INITIAL, haveRate ? Clock(p.InitialTime, rate).text : u"00:00:00.000");
      WriteRange(p, haveRate, rate);
    } else {
      SetText(IDC_TIME_INITIAL, u"0");
    }
  }
}

BOOL CQxTimePageLogic::OnCommand(int id, int code) {
  if (!dialog_ || !prop_ || !IsWindow(dialog_)) return FALSE;
  WCHAR text[80];
  TimeParams p{};
  prop_->GetParams(&p);
  uint32_t rate = 0;
  SampleRate(&rate);
  switch (id) {
    case IDC_TIME_FINAL: {
      if (!Typed(id, code, text)) return code == EN_KILLFOCUS;
      double length = 0;
      if (QxTimeFinalFromText(text, p.InputFormat, p, rate, &length)) prop_->SetFinalLength(length);
      break;
    }
    case IDC_TIME_INITIAL: {
      if (!Typed(id, code, text)) return code == EN_KILLFOCUS;
      if (p.InputFormat == QX_TIME_TEMPO) {
        // Negative tempi read as 0; the setter holds the rest to its maximum.
        const double tempo = std::trunc(QxTextToDoubleToken(text, nullptr) * 100.0);
        prop_->SetInitialTempo(tempo <= 0 ? 0u : tempo >= 4294967295.0 ? 4294967295u : static_cast<uint32_t>(tempo));
      } else if (p.InputFormat == QX_TIME_CLOCK) {
        QxClockTime t;
        if (QxParseClockText(text, &t)) prop_->SetInitialTime(rate ? QxClockFrames(t, rate) : 0.0);
      }
      Refresh(IDC_TIME_FINAL);
      break;
    }
    case IDC_TIME_MODE:
    case IDC_TIME_FORMAT: {
      if (code != CBN_SELCHANGE) return FALSE;
      const LPARAM data = QxPage_SelectedData(dialog_, id);
      if (data < 0) return TRUE;
      if (id == IDC_TIME_MODE) {
        prop_->SetMode(static_cast<int32_t>(data));
        return TRUE;
      }
      prop_->SetInputFormat(static_cast<int32_t>(data));
      Refresh(IDC_TIME_FINAL);
      Refresh(IDC_TIME_INITIAL);
      break;
    }
    default:
      return FALSE;
  }
  Refresh(id);
  return TRUE;
}

BOOL CQxTimePageLogic::OnScroll(UINT message, WPARAM wParam, HWND control) {
  if (!dialog_ || !prop_ || GetDlgCtrlID(control) != IDC_TIME_FINAL_TRACK) return FALSE;
  prop_->SetFinalLength(Trackbar_DefScrollProc(message, wParam, control, 1, 100) + kTrackOrigin);
  Refresh(IDC_TIME_FINAL_TRACK);
  return TRUE;
}

namespace {
constexpr QxPageLayout kLayout{QX_TIME_DIALOG, IDS_TIME_TITLE, IDS_TIME_NAME, &IID_IQxTimeProp, false};
}  // namespace

CUnknown* CQxTimePropPage::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  return QxCreatePage<CQxTimePropPage>(outer, hr);
}

CQxTimePropPage::CQxTimePropPage(LPUNKNOWN outer)
    : CQxLogicPropPage("Time Stretch page", outer, kLayout, QxTimePage_Template(), {IDC_TIME_FINAL_TRACK}) {}
