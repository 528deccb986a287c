// The Pitch Shift page's arithmetic and its logic over dialog 2001: what each refresh rewrites,
// and what each command sets through IQxPitchsProp.
#include "aplugins/qxppack1/pages/pitch_page.h"

#include <cmath>
#include <cstdlib>

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
// Final times span a shift of -50 to +50 semitones, and a little more.
constexpr double kShortestFactor = 0.052467637559037675;
constexpr double kLongestFactor = 19.05900351317871;

const WCHAR* Text(UINT id) { return QxGetString(QxLang_GetKernelHandle(), id); }

bool InRange(int32_t v, int32_t lo, int32_t hi) { return v >= lo && v <= hi; }
}  // namespace

double QxPitchsRatio(int32_t semitones, int32_t cents) {
  return std::pow(2.0, (cents / 1000.0 + semitones) / 12.0);
}

void QxPitchsMusicalText(int32_t semitones, int32_t cents, WCHAR* text, int size) {
  const double r = QxPitchsRatio(semitones, cents);
  const bool none = (semitones == 0 && InRange(cents, -999, 999)) || (semitones == 1 && cents == -1000) ||
                    (semitones == -1 && cents == 1000) || (r > 0.998 && r < 1.002);
  if (none) {
    QxCchPrintF(text, size, nullptr, u"  ");
    return;
  }
  // A full semitone of cents counts as one more (or less) semitone of the interval.
  int correction = 0;
  if (cents == 1000) correction = semitones <= 0 ? -1 : 1;
  if (cents == -1000) correction = semitones <= 0 ? 1 : -1;
  const int count = std::abs(std::abs(semitones) + correction) % 12;
  const WCHAR sign = cents > 0 && cents != 1000 ? u'+' : cents < 0 && cents != -1000 ? u'-' : u' ';
  QxCchPrintF(text, size, nullptr, u"%s %s %c", Text(r > 1.0 ? IDS_PITCHS_PAGE_UP : IDS_PITCHS_PAGE_DOWN),
              Text(IDS_PITCHS_PAGE_INTERVAL0 + static_cast<UINT>(count)), sign);
}

void CQxPitchsPageLogic::Init() {
  if (!dialog_) return;
  QxPage_SetTrackRange(dialog_, IDC_PITCHS_SEMITONES, -QX_PITCHS_MAX_SEMITONES, QX_PITCHS_MAX_SEMITONES);
  QxPage_SetTrackRange(dialog_, IDC_PITCHS_CENTS, -QX_PITCHS_MAX_CENTS, QX_PITCHS_MAX_CENTS);
  QxPage_SetTrackRange(dialog_, IDC_PITCHS_ACCURACY, 1, 3);
  SendDlgItemMessage(dialog_, IDC_PITCHS_SEMITONES, QXCM_SETDEFAULT, 0, 0);
  SendDlgItemMessage(dialog_, IDC_PITCHS_CENTS, QXCM_SETDEFAULT, 0, 0);
  SendDlgItemMessage(dialog_, IDC_PITCHS_ACCURACY, QXCM_SETDEFAULT, 0, 2);
  QxPage_FillList(dialog_, IDC_PITCHS_MODE, SpliceModeText, QX_SPLICE_MODE_COUNT);
  Refresh(0);
}

void CQxPitchsPageLogic::Refresh(int control) {
  if (!dialog_ || !prop_) return;
  if (control == QX_PAGE_NOTIFY_ID) control = 0;
  int32_t preserve = 0, semitones = 0, cents = 0;
  prop_->GetPreserveDuration(&preserve);

  if (control == 0 || control == IDC_PITCHS_PRESERVE) {
    if (control == 0) CheckDlgButton(dialog_, IDC_PITCHS_PRESERVE, preserve ? BST_CHECKED : BST_UNCHECKED);
    const int32_t limit = preserve ? QX_PITCHS_PRESERVED_SEMITONES : QX_PITCHS_MAX_SEMITONES;
    SetText(IDC_PITCHS_SEMITONES_LABEL, Text(preserve ? IDS_PITCHS_PAGE_SEMITONES12 : IDS_PITCHS_PAGE_SEMITONES50));
    QxPage_SetTrackRange(dialog_, IDC_PITCHS_SEMITONES, -limit, limit);
    SendDlgItemMessage(dialog_, IDC_PITCHS_SEMITONES, QXCM_SETDEFAULT, 0, 0);
    if (preserve) {
      prop_->GetSemitones(&semitones);
      if (!InRange(semitones, -limit, limit)) prop_->SetSemitones(semitones < 0 ? -limit : limit);
    }
    for (int id : {IDC_PITCHS_MODE_LABEL, IDC_PITCHS_MODE}) EnableWindow(GetDlgItem(dialog_, id), preserve != 0);
    for (int id : {IDC_PITCHS_TIME_LABEL, IDC_PITCHS_TIME, IDC_PITCHS_FINAL_TIME, IDC_PITCHS_FINAL_LABEL})
      EnableWindow(GetDlgItem(dialog_, id), preserve == 0);
  }
  if (control == 0 || control == IDC_PITCHS_ANTIALIAS) {
    int32_t antiAlias = 0;
    prop_->GetAntiAlias(&antiAlias);
    CheckDlgButton(dialog_, IDC_PITCHS_ANTIALIAS, antiAlias ? BST_CHECKED : BST_UNCHECKED);
  }
  if (control == 0 || control == IDC_PITCHS_PRESERVE || control == IDC_PITCHS_SEMITONES ||
      control == IDC_PITCHS_SEMITONES_EDIT) {
    prop_->GetSemitones(&semitones);
    prop_->GetCents(&cents);
    if (control != IDC_PITCHS_SEMITONES) QxPage_SetTrackValue(dialog_, IDC_PITCHS_SEMITONES, semitones);
    QxSetDlgItemTextF(dialog_, IDC_PITCHS_SEMITONES_EDIT, u"%d", semitones);
    EnableWindow(GetDlgItem(dialog_, IDC_PITCHS_PRESERVE),
                 InRange(semitones, -QX_PITCHS_PRESERVED_SEMITONES, QX_PITCHS_PRESERVED_SEMITONES));
    RefreshShift(semitones, cents);
  }
  if (control == 0 || control == IDC_PITCHS_CENTS || control == IDC_PITCHS_CENTS_EDIT) {
    prop_->GetSemitones(&semitones);
    prop_->GetCents(&cents);
    if (control != IDC_PITCHS_CENTS) QxPage_SetTrackValue(dialog_, IDC_PITCHS_CENTS, cents);
    WCHAR text[QX_NUMBER_TEXT_CHARS];
    QxDoubleToText(text, cents / 10.0, 1, FALSE);
    SetText(IDC_PITCHS_CENTS_EDIT, text);
    RefreshShift(semitones, cents);
  }
  if (control == 0 || control == IDC_PITCHS_ACCURACY) {
    int32_t accuracy = 0;
    prop_->GetAccuracy(&accuracy);
    if (control != IDC_PITCHS_ACCURACY) QxPage_SetTrackValue(dialog_, IDC_PITCHS_ACCURACY, accuracy);
    QxSetDlgItemTextF(dialog_, IDC_PITCHS_ACCURACY_TEXT, u"%d", accuracy);
  }
  if (control == 0) {
    int32_t mode = 0;
    prop_->GetMode(&mode);
    QxPage_SelectByData(dialog_, IDC_PITCHS_MODE, mode);
  }
  if (control == 0 || control == IDC_PITCHS_TIME) {
    uint32_t rate = 0;
    double initial = 0;
    prop_->GetInitialTime(&initial);
    if (SampleRate(&rate)) {
      WCHAR lo[QX_TIME_TEXT_CHARS], hi[QX_TIME_TEXT_CHARS], now[QX_TIME_TEXT_CHARS];
      QxTimeText(initial * kShortestFactor, rate, QxMsRule::Truncate, lo, QX_TIME_TEXT_CHARS);
      QxTimeText(initial * kLongestFactor, rate, QxMsRule::Truncate, hi, QX_TIME_TEXT_CHARS);
      QxTimeText(initial, rate, QxMsRule::Truncate, now, QX_TIME_TEXT_CHARS);
      QxSetDlgItemTextF(dialog_, IDC_PITCHS_FINAL_LABEL, Text(IDS_PITCHS_PAGE_FINAL_TIME), lo, hi);
      SetText(IDC_PITCHS_TIME, now);
    } else {
      SetText(IDC_PITCHS_FINAL_LABEL, Text(IDS_PITCHS_PAGE_NEED_PIN));
      SetText(IDC_PITCHS_TIME, u"00:00:00.000");
    }
  }
}

// What follows a change of semitones or cents: Ratio, its text, the final time, the anti-alias
// box and the musical equivalent.
void CQxPitchsPageLogic::RefreshShift(int32_t semitones, int32_t cents) {
  const double ratio = QxPitchsRatio(semitones, cents);
  prop_->SetRatio(ratio);
  WCHAR text[QX_NUMBER_TEXT_CHARS];
  QxDoubleToText(text, ratio, 5, FALSE);
  SetText(IDC_PITCHS_RATIO, text);
  if (IsWindowEnabled(GetDlgItem(dialog_, IDC_PITCHS_FINAL_TIME))) {
    uint32_t rate = 0;
    double initial = 0;
    prop_->GetInitialTime(&initial);
    WCHAR time[QX_TIME_TEXT_CHARS] = u"00:00:00.000";
    if (SampleRate(&rate))
      QxTimeText(std::trunc(1.0 / ratio * initial + 0.5), rate, QxMsRule::Truncate, time, QX_TIME_TEXT_CHARS);
    SetText(IDC_PITCHS_FINAL_TIME, time);
  }
  EnableWindow(GetDlgItem(dialog_, IDC_PITCHS_ANTIALIAS), ratio > 1.0);
  QxPitchsMusicalText(semitones, cents, text, QX_NUMBER_TEXT_CHARS);
  SetText(IDC_PITCHS_MUSICAL, text);
}

BOOL CQxPitchsPageLogic::OnCommand(int id, int code) {
  if (!dialog_ || !prop_) return FALSE;
  WCHAR text[80];
  switch (id) {
    case IDC_PITCHS_PRESERVE:
    case IDC_PITCHS_ANTIALIAS: {
      if (code != BN_CLICKED) return FALSE;
      const int32_t on = IsDlgButtonChecked(dialog_, id) == BST_CHECKED;
      if (id == IDC_PITCHS_PRESERVE) prop_->SetPreserveDuration(on);
      else prop_->SetAntiAlias(on);
      break;
    }
    case IDC_PITCHS_MODE: {
      if (code != CBN_SELCHANGE) return FALSE;
      const LPARAM data = QxPage_SelectedData(dialog_, id);
      if (data >= 0) prop_->SetMode(static_cast<int32_t>(data));
      break;
    }
    case IDC_PITCHS_SEMITONES_EDIT: {
      if (!Typed(id, code, text)) return code == EN_KILLFOCUS;
      int32_t value = QxTextToLongToken(text, nullptr), preserve = 0;
      prop_->GetPreserveDuration(&preserve);
      const int32_t limit = preserve ? QX_PITCHS_PRESERVED_SEMITONES : QX_PITCHS_MAX_SEMITONES;
      if (preserve) value = value < -limit ? -limit : value > limit ? limit : value;
      prop_->SetSemitones(value);
      break;
    }
    case IDC_PITCHS_CENTS_EDIT: {
      if (!Typed(id, code, text)) return code == EN_KILLFOCUS;
      // The setter clamps; bounding first keeps the conversion defined for any typed number.
      const double cents = std::trunc(QxTextToDoubleToken(text, nullptr) * 10.0);
      prop_->SetCents(static_cast<int32_t>(cents < -1e6 ? -1e6 : cents > 1e6 ? 1e6 : cents));
      break;
    }
    case IDC_PITCHS_TIME: {
      if (!Typed(id, code, text)) return code == EN_KILLFOCUS;
      uint32_t rate = 0;
      SampleRate(&rate);
      prop_->SetInitialTime(QxClockFrames(QxParseDigitGroups(text), rate));
      Refresh(IDC_PITCHS_SEMITONES_EDIT);
      break;
    }
    default:
      return FALSE;
  }
  Refresh(id);
  return TRUE;
}

BOOL CQxPitchsPageLogic::OnScroll(UINT message, WPARAM wParam, HWND control) {
  if (!dialog_ || !prop_) return FALSE;
  const int id = GetDlgCtrlID(control);
  int32_t preserve = 0;
  switch (id) {
    case IDC_PITCHS_SEMITONES:
      prop_->GetPreserveDuration(&preserve);
      prop_->SetSemitones(Trackbar_DefScrollProc(message, wParam, control, 1, preserve ? 2 : 10));
      break;
    case IDC_PITCHS_CENTS:
      prop_->SetCents(Trackbar_DefScrollProc(message, wParam, control, 1, 10));
      break;
    case IDC_PITCHS_ACCURACY:
      prop_->SetAccuracy(Trackbar_DefScrollProc(message, wParam, control, 1, 10));
      break;
    default:
      return FALSE;
  }
  Refresh(id);
  return TRUE;
}

namespace {
constexpr QxPageLayout kLayout{QX_PITCHS_DIALOG, IDS_PITCHS_TITLE, IDS_PITCHS_NAME, &IID_IQxPitchsProp, false};
}  // namespace

CUnknown* CQxPitchsPropPage::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  return QxCreatePage<CQxPitchsPropPage>(outer, hr);
}

CQxPitchsPropPage::CQxPitchsPropPage(LPUNKNOWN outer)
    : CQxLogicPropPage("Pitch Shift page", outer, kLayout, QxPitchsPage_Template(),
                       {IDC_PITCHS_SEMITONES, IDC_PITCHS_CENTS, IDC_PITCHS_ACCURACY}) {}
