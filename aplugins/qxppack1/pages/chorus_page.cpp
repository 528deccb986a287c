// The Chorus page: the setup table, the two-region rate trackbar, the edits with their factors,
// the tempo-sync switch and the follow step that plays back automation.
#include "aplugins/qxppack1/pages/chorus_page.h"

#include <cmath>

#include "aplugins/qxppack1/pages/string_ids.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/spinner.h"
#include "kernel/controls/window_text.h"
#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_valuetext.h"

namespace {
constexpr QxPageLayout kLayout{IDD_CHORUS_PAGE, IDS_CHORUS_TITLE, IDS_CHORUS_NAME, &IID_IQxChorusProp2, true};
using I = IQxChorusProp2;

// One parameter's five operations.
struct Param {
  HRESULT (I::*get)(int32_t*);
  HRESULT (I::*set)(int32_t);
  HRESULT (I::*begin)();
  HRESULT (I::*end)();
  int32_t (I::*idle)();
};
#define QX_CHORUS_PARAM(Name) Param{&I::Get##Name, &I::Set##Name, &I::Begin##Name, &I::End##Name, &I::Is##Name##Idle}

enum class Shown { Decibel, Whole, Percent, OneDecimal, Rate };

// Bits of the edits a curve can own.
constexpr unsigned kCurveDelay = 1, kCurveRate = 2, kCurveFrequency = 4, kCurveMultiplier = 8;

// The setup table: each value control, its range and reset value, its parameter, its page step,
// and where and how its value is shown.
struct Row {
  int control, lo, hi, reset;
  Param param;
  int pageStep, text;
  Shown shown;
  unsigned curve;  // the edit this row's curve locks, if any
};
const Row kRows[] = {
    {IDC_CHORUS_INPUT, -600, 0, 0, QX_CHORUS_PARAM(InputGain), 10, IDC_CHORUS_INPUT_TEXT, Shown::Decibel, 0},
    {IDC_CHORUS_DRY, -600, 0, -60, QX_CHORUS_PARAM(DryOut), 10, IDC_CHORUS_DRY_TEXT, Shown::Decibel, 0},
    {IDC_CHORUS_WET, -600, 0, -60, QX_CHORUS_PARAM(ChorusOut), 10, IDC_CHORUS_WET_TEXT, Shown::Decibel, 0},
    {IDC_CHORUS_SIZE, 1, 3, 2, QX_CHORUS_PARAM(ChorusSize), 10, IDC_CHORUS_SIZE_TEXT, Shown::Whole, 0},
    {IDC_CHORUS_FEEDBACK, 0, 100, 50, QX_CHORUS_PARAM(Feedback), 10, IDC_CHORUS_FEEDBACK_TEXT, Shown::Percent, 0},
    {IDC_CHORUS_DELAY, 1, 1000, 500, QX_CHORUS_PARAM(OutDelay), 10, IDC_CHORUS_DELAY_EDIT, Shown::OneDecimal,
     kCurveDelay},
    {IDC_CHORUS_RATE, 1, 11000, 5500, QX_CHORUS_PARAM(ModRate), 10, IDC_CHORUS_RATE_EDIT, Shown::Rate, kCurveRate},
    {IDC_CHORUS_DEPTH, 1, 100, 50, QX_CHORUS_PARAM(ModDepth), 10, IDC_CHORUS_DEPTH_TEXT, Shown::Percent, 0},
    {IDC_CHORUS_FREQUENCY, 100, 10000, 1000, QX_CHORUS_PARAM(AttenuationFrequency), 100, IDC_CHORUS_FREQUENCY_EDIT,
     Shown::Whole, kCurveFrequency},
};

// The check boxes, each a switch of its own.
struct Check {
  int control;
  Param param;
};
const Check kChecks[] = {
    {IDC_CHORUS_INVERT_WET, QX_CHORUS_PARAM(InvertChorusPhase)},
    {IDC_CHORUS_INVERT_FEEDBACK, QX_CHORUS_PARAM(InvertFeedbackPhase)},
    {IDC_CHORUS_ATTENUATE, QX_CHORUS_PARAM(AttenuateHigh)},
    {IDC_CHORUS_SYNC, QX_CHORUS_PARAM(TempoSync)},
};
const Param kMultiplier = QX_CHORUS_PARAM(ModPeriodMultiplier);
const Param kNote = QX_CHORUS_PARAM(ModPeriodNote);
#undef QX_CHORUS_PARAM

// Each edit box and the factor from the typed unit to the stored one (0: read as a whole number).
struct EditRule {
  int id;
  double factor;
};
constexpr EditRule kEdits[] = {
    {IDC_CHORUS_RATE_EDIT, 1000.0},
    {IDC_CHORUS_MULT_EDIT, 1000.0},
    {IDC_CHORUS_DELAY_EDIT, 10.0},
    {IDC_CHORUS_FREQUENCY_EDIT, 0.0},
};
constexpr int kEditChars = 10;  // what an edit reads at most

const WCHAR* Text(Shown shown, int32_t v) {
  switch (shown) {
    case Shown::Decibel: return QxGetdBStringFixed(v, 1, -600, 1);
    case Shown::Whole: return QxGetLabeledStringFixed(v, 0, 0, nullptr);
    case Shown::Percent: return QxGetLabeledStringFixed(v, 0, 0, u" %");
    case Shown::OneDecimal: return QxGetLabeledStringFixed(v, 1, 0, nullptr);
    case Shown::Rate: return QxChorusRateText(v);
  }
  return u"";
}

// Typed text times a factor, truncated, kept inside 32 bits; the setter clamps to the range.
int32_t Truncated(double v) {
  if (!(v >= -2147483648.0)) return v != v ? 0 : INT32_MIN;
  if (v > 2147483647.0) return INT32_MAX;
  return static_cast<int32_t>(v);
}
}  // namespace

int32_t QxChorusRatePosition(int32_t modRate) { return modRate <= 9999 ? modRate : modRate / 10 + 9000; }

int32_t QxChorusRateFromPosition(int32_t position) { return position <= 9999 ? position : (position - 9000) * 10; }

const WCHAR* QxChorusRateText(int32_t modRate) {
  return modRate <= 9999 ? QxGetLabeledStringFixed(modRate, 3, 0, nullptr)
                         : QxGetLabeledStringFixed(modRate / 10, 2, 0, nullptr);
}

CUnknown* CQxChorusPropPage::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  return QxCreatePage<CQxChorusPropPage>(outer, hr);
}

CQxChorusPropPage::CQxChorusPropPage(LPUNKNOWN outer) : CQxBypassPropPage("Chorus page", outer, kLayout) {
  QxUi_AddDialogTemplate(QxPages_Instance(), IDD_CHORUS_PAGE, QxChorusPage_Template());
  for (const Row& r : kRows) {
    QxPageBinding& b = Bind(r.control, r.pageStep, r.param.set, r.param.begin, r.param.end);
    if (r.control == IDC_CHORUS_RATE) b.set = [this](int32_t v) { P()->SetModRate(QxChorusRateFromPosition(v)); };
  }
  QxPageBinding spin;
  spin.control = IDC_CHORUS_MULT;
  spin.custom = [this](int code, HWND control, UINT msg, WPARAM wParam) { SpinMultiplier(code, control, msg, wParam); };
  bindings_.push_back(std::move(spin));
  TrackEdits({IDC_CHORUS_RATE_EDIT, IDC_CHORUS_MULT_EDIT, IDC_CHORUS_DELAY_EDIT, IDC_CHORUS_FREQUENCY_EDIT});
}

HRESULT CQxChorusPropPage::RegisterNotify(HWND window, uint16_t id) { return P()->RegisterWindow(window, id); }

// The spinner brackets a gesture by its own codes: 9 only begins, 8 only ends, the rest step.
void CQxChorusPropPage::SpinMultiplier(int code, HWND control, UINT msg, WPARAM wParam) {
  I* p = P();
  if (code == QX_SCROLL_PRESS) {
    p->BeginModPeriodMultiplier();
  } else if (code == QX_SCROLL_END) {
    p->EndModPeriodMultiplier();
  } else {
    const int32_t v = Read(kMultiplier.get);
    p->SetModPeriodMultiplier(Spinner_DefScrollProc(msg, wParam, control, 1000, 1000, v));
  }
}

void CQxChorusPropPage::InitControls() {
  for (const Row& r : kRows) SetRange(r.control, r.lo, r.hi, r.reset);
  SetRange(IDC_CHORUS_MULT, 1, 32000, 1000);
  HWND list = Item(IDC_CHORUS_NOTE);
  SendMessage(list, CB_RESETCONTENT, 0, 0);
  for (UINT i = 0; i < IDS_CHORUS_NOTE_COUNT; ++i)
    SendMessage(list, CB_ADDSTRING, 0,
                reinterpret_cast<LPARAM>(QxGetString(QxLang_GetKernelHandle(), IDS_CHORUS_NOTE0 + i)));
  for (const EditRule& e : kEdits) SendMessage(Item(e.id), EM_LIMITTEXT, kEditChars, 0);
  SendMessage(Item(IDC_CHORUS_MULT), QXSP_SETBUDDY, reinterpret_cast<WPARAM>(Item(IDC_CHORUS_MULT_EDIT)), 8);
}

void CQxChorusPropPage::Refresh(int id, bool force) {
  I* p = P();
  if (!p || !m_hwnd) return;
  const bool all = id == 0 || id == QX_PAGE_NOTIFY_ID;
  const bool move = all || force;
  refreshing_ = true;
  for (const Row& r : kRows) {
    if (!all && id != r.control && id != r.text) continue;
    const int32_t v = Read(r.param.get);
    // A control just scrolled already stands where it was left.
    if (move || id == r.text)
      SetPosition(r.control, r.control == IDC_CHORUS_RATE ? QxChorusRatePosition(v) : v);
    QxSetDlgItemTextNoFlash(m_hwnd, r.text, u"%s", Text(r.shown, v));
  }
  if (all || id == IDC_CHORUS_MULT || id == IDC_CHORUS_MULT_EDIT) {
    const int32_t v = Read(kMultiplier.get);
    if (move || id == IDC_CHORUS_MULT_EDIT) SetPosition(IDC_CHORUS_MULT, v);
    WCHAR text[QX_NUMBER_TEXT_CHARS];
    QxDoubleToText(text, v / 1000.0, 3, TRUE);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_CHORUS_MULT_EDIT, u"%s", text);
  }
  if ((all || id == IDC_CHORUS_NOTE) && !listOpen_)
    SendDlgItemMessage(m_hwnd, IDC_CHORUS_NOTE, CB_SETCURSEL, static_cast<WPARAM>(Read(kNote.get)), 0);
  for (const Check& c : kChecks)
    if (all || id == c.control) CheckDlgButton(m_hwnd, c.control, Read(c.param.get) ? BST_CHECKED : BST_UNCHECKED);
  refreshing_ = false;
  UpdateEnabling();
}

void CQxChorusPropPage::UpdateEnabling() {
  I* p = P();
  const bool sync = Read(&I::GetTempoSync) != 0, low = Read(&I::GetAttenuateHigh) != 0;
  // Without a tempo interface the box stays grey, yet a stored sync still rules the display.
  Enable(IDC_CHORUS_SYNC, p->HasTempoMap() == 1);
  Enable({IDC_CHORUS_RATE, IDC_CHORUS_RATE_LABEL}, !sync);
  Enable(IDC_CHORUS_RATE_EDIT, !sync && !(curves_ & kCurveRate));
  Enable({IDC_CHORUS_PERIOD_LABEL, IDC_CHORUS_MULT, IDC_CHORUS_NOTE}, sync);
  Enable(IDC_CHORUS_MULT_EDIT, sync && !(curves_ & kCurveMultiplier));
  Enable(IDC_CHORUS_DELAY_EDIT, !(curves_ & kCurveDelay));
  Enable(IDC_CHORUS_FREQUENCY, low);
  Enable(IDC_CHORUS_FREQUENCY_EDIT, low && !(curves_ & kCurveFrequency));
}

void CQxChorusPropPage::OnFollow() {
  I* p = P();
  // First which edits a curve owns now, so that each refresh below greys or frees them.
  unsigned curves = 0;
  for (const Row& r : kRows)
    if (r.curve && (p->*r.param.idle)() == 0) curves |= r.curve;
  if ((p->*kMultiplier.idle)() == 0) curves |= kCurveMultiplier;
  const bool changed = curves != curves_;
  curves_ = curves;
  bool any = false;
  for (const Row& r : kRows)
    if ((p->*r.param.idle)() == 0) Refresh(r.control, true), any = true;
  for (const Check& c : kChecks)
    if ((p->*c.param.idle)() == 0) Refresh(c.control, true), any = true;
  if (curves & kCurveMultiplier) Refresh(IDC_CHORUS_MULT, true), any = true;
  if (!listOpen_ && (p->*kNote.idle)() == 0) Refresh(IDC_CHORUS_NOTE, true), any = true;
  if (p->IsBypassIdle() == 0) ShowBypass();
  if (changed && !any) UpdateEnabling();
}

void CQxChorusPropPage::CommitEdit(int id) {
  for (const EditRule& e : kEdits) {
    if (e.id != id) continue;
    WCHAR text[kEditChars + 1] = {};
    GetDlgItemTextW(m_hwnd, id, text, kEditChars + 1);
    const int32_t v = e.factor ? Truncated(QxTextToDoubleToken(text, nullptr) * e.factor)
                               : static_cast<int32_t>(QxTextToLongToken(text, nullptr));
    I* p = P();
    switch (id) {
      case IDC_CHORUS_RATE_EDIT: p->SetModRate(v); break;
      case IDC_CHORUS_MULT_EDIT: p->SetModPeriodMultiplier(v); break;
      case IDC_CHORUS_DELAY_EDIT: p->SetOutDelay(v); break;
      case IDC_CHORUS_FREQUENCY_EDIT: p->SetAttenuationFrequency(v); break;
    }
    // The clamped value comes back into the box, and the edit's control moves to it.
    Refresh(id, true);
  }
}

bool CQxChorusPropPage::OnCommand(int id, int code, HWND) {
  I* p = P();
  for (const Check& c : kChecks) {
    if (c.control != id) continue;
    if (code != BN_CLICKED) return false;
    (p->*c.param.set)(IsDlgButtonChecked(m_hwnd, id) == BST_CHECKED ? 1 : 0);
    UpdateEnabling();
    return true;
  }
  switch (id) {
    case IDC_CHORUS_NOTE:
      return ListCommand(id, code, listOpen_, kNote.set, kNote.begin, kNote.end);
    case IDC_CHORUS_RATE_EDIT:
    case IDC_CHORUS_MULT_EDIT:
    case IDC_CHORUS_DELAY_EDIT:
    case IDC_CHORUS_FREQUENCY_EDIT:
      EditCommand(id, code);
      return true;
  }
  return false;
}
