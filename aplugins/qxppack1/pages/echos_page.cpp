// The Simple Delay page: bindings, value texts, the enabling rules and the follow step.
#include "aplugins/qxppack1/pages/echos_page.h"

#include <cmath>
#include <string>

#include "aplugins/qxppack1/pages/string_ids.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/window_text.h"
#include "kernel/services/qx_lang.h"
#include "kernel/services/qx_valuetext.h"

namespace {
constexpr QxPageLayout kLayout{IDD_ECHOS_PAGE, IDS_ECHOS_TITLE, IDS_ECHOS_NAME, &IID_IQxEchosProp2, true};

// A value control's range and the mark a double click returns to.
struct Range {
  int id, lo, hi, mark;
};
constexpr Range kRanges[] = {
    {IDC_ECHOS_DRY, -800, 0, -60},          {IDC_ECHOS_DELAYOUT, -800, 0, -60},
    {IDC_ECHOS_DELAY, 1, 5000, 2500},       {IDC_ECHOS_DELAY_MULT, 1, 4000, 1000},
    {IDC_ECHOS_DECAY, 1, 200, 100},         {IDC_ECHOS_DECAY_MULT, 1, 32000, 1000},
};

// Each edit box and its parameter's scale (stored value per unit typed).
struct EditRule {
  int id;
  double scale;
};
constexpr EditRule kEdits[] = {
    {IDC_ECHOS_DELAY_EDIT, 1000.0},
    {IDC_ECHOS_DECAY_EDIT, 10.0},
    {IDC_ECHOS_DELAY_MULT_EDIT, 1000.0},
    {IDC_ECHOS_DECAY_MULT_EDIT, 1000.0},
};


void FillNotes(HWND list, UINT key) {
  SendMessage(list, CB_RESETCONTENT, 0, 0);
  std::u16string all = QxGetString(QxLang_GetKernelHandle(), key);
  size_t start = 0;
  for (int index = 0; start <= all.size(); ++index) {
    size_t comma = all.find(u',', start);
    if (comma == std::u16string::npos) comma = all.size();
    std::u16string name = all.substr(start, comma - start);
    SendMessage(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name.c_str()));
    SendMessage(list, CB_SETITEMDATA, static_cast<WPARAM>(index), index);
    start = comma + 1;
  }
}

std::u16string Multiplier(int32_t v) {
  WCHAR text[QX_NUMBER_TEXT_CHARS];
  QxDoubleToText(text, v / 1000.0, 3, TRUE);
  return text;
}
}  // namespace

CUnknown* CQxEchosPropPage::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  return QxCreatePage<CQxEchosPropPage>(outer, hr);
}

CQxEchosPropPage::CQxEchosPropPage(LPUNKNOWN outer) : CQxBypassPropPage("Simple Delay page", outer, kLayout) {
  QxUi_AddDialogTemplate(QxPages_Instance(), IDD_ECHOS_PAGE, QxEchosPage_Template());
  using I = IQxEchosProp2;
  Bind(IDC_ECHOS_DRY, 10, &I::SetDryOut, &I::BeginDryOut, &I::EndDryOut);
  Bind(IDC_ECHOS_DELAYOUT, 10, &I::SetDelayOut, &I::BeginDelayOut, &I::EndDelayOut);
  Bind(IDC_ECHOS_DELAY, 100, &I::SetDelayTime, &I::BeginDelayTime, &I::EndDelayTime);
  Bind(IDC_ECHOS_DECAY, 10, &I::SetDecayTime, &I::BeginDecayTime, &I::EndDecayTime);
  Bind(IDC_ECHOS_DELAY_MULT, 1000, &I::SetDelayMultiplier, &I::BeginDelayMultiplier, &I::EndDelayMultiplier);
  Bind(IDC_ECHOS_DECAY_MULT, 1000, &I::SetDecayMultiplier, &I::BeginDecayMultiplier, &I::EndDecayMultiplier);
  TrackEdits({IDC_ECHOS_DELAY_EDIT, IDC_ECHOS_DECAY_EDIT, IDC_ECHOS_DELAY_MULT_EDIT, IDC_ECHOS_DECAY_MULT_EDIT});
}

HRESULT CQxEchosPropPage::RegisterNotify(HWND window, uint16_t id) { return P()->RegisterWindow(window, id); }

void CQxEchosPropPage::InitControls() {
  for (const Range& r : kRanges) SetRange(r.id, r.lo, r.hi, r.mark);
  FillNotes(Item(IDC_ECHOS_DELAY_NOTE), IDS_ECHOS_DELAY_NOTES);
  FillNotes(Item(IDC_ECHOS_DECAY_NOTE), IDS_ECHOS_DECAY_NOTES);
  for (const EditRule& e : kEdits) SendMessage(Item(e.id), EM_LIMITTEXT, 15, 0);
}

void CQxEchosPropPage::Refresh(int id, bool force) {
  if (!P() || !m_hwnd) return;
  using I = IQxEchosProp2;
  const bool all = id == 0 || id == QX_PAGE_NOTIFY_ID;
  const bool move = all || force;
  auto is = [&](int a, int b = -1, int c = -1) { return all || id == a || id == b || id == c; };
  refreshing_ = true;
  if (is(IDC_ECHOS_DRY, IDC_ECHOS_DRY_TEXT)) {
    int32_t v = Read(&I::GetDryOut);
    if (move) SetPosition(IDC_ECHOS_DRY, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_ECHOS_DRY_TEXT, u"%s", QxGetdBStringFixed(v, 1, -800, 1));
  }
  if (is(IDC_ECHOS_DELAYOUT, IDC_ECHOS_DELAYOUT_TEXT)) {
    int32_t v = Read(&I::GetDelayOut);
    if (move) SetPosition(IDC_ECHOS_DELAYOUT, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_ECHOS_DELAYOUT_TEXT, u"%s", QxGetdBStringFixed(v, 1, -800, 1));
  }
  if (is(IDC_ECHOS_DELAY, IDC_ECHOS_DELAY_EDIT)) {
    int32_t v = Read(&I::GetDelayTime);
    if (move || id == IDC_ECHOS_DELAY_EDIT) SetPosition(IDC_ECHOS_DELAY, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_ECHOS_DELAY_EDIT, u"%s", QxGetLabeledStringFixed(v, 3, 0, nullptr));
  }
  if (is(IDC_ECHOS_DECAY, IDC_ECHOS_DECAY_EDIT)) {
    int32_t v = Read(&I::GetDecayTime);
    if (move || id == IDC_ECHOS_DECAY_EDIT) SetPosition(IDC_ECHOS_DECAY, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_ECHOS_DECAY_EDIT, u"%s", QxGetLabeledStringFixed(v, 1, 0, nullptr));
  }
  if (is(IDC_ECHOS_DELAY_MULT, IDC_ECHOS_DELAY_MULT_EDIT)) {
    int32_t v = Read(&I::GetDelayMultiplier);
    if (move || id == IDC_ECHOS_DELAY_MULT_EDIT) SetPosition(IDC_ECHOS_DELAY_MULT, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_ECHOS_DELAY_MULT_EDIT, u"%s", Multiplier(v).c_str());
  }
  if (is(IDC_ECHOS_DECAY_MULT, IDC_ECHOS_DECAY_MULT_EDIT)) {
    int32_t v = Read(&I::GetDecayMultiplier);
    if (move || id == IDC_ECHOS_DECAY_MULT_EDIT) SetPosition(IDC_ECHOS_DECAY_MULT, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_ECHOS_DECAY_MULT_EDIT, u"%s", Multiplier(v).c_str());
  }
  if (is(IDC_ECHOS_DELAY_NOTE) && !listOpen_[0])
    SendDlgItemMessage(m_hwnd, IDC_ECHOS_DELAY_NOTE, CB_SETCURSEL, static_cast<WPARAM>(Read(&I::GetDelayNote)), 0);
  if (is(IDC_ECHOS_DECAY_NOTE) && !listOpen_[1])
    SendDlgItemMessage(m_hwnd, IDC_ECHOS_DECAY_NOTE, CB_SETCURSEL, static_cast<WPARAM>(Read(&I::GetDecayNote)), 0);
  if (move) {
    CheckDlgButton(m_hwnd, IDC_ECHOS_SYNC_DELAY, Read(&I::GetTempoSyncDelay) ? BST_CHECKED : BST_UNCHECKED);
    CheckDlgButton(m_hwnd, IDC_ECHOS_MULTIPLE, Read(&I::GetMultipleDelays) ? BST_CHECKED : BST_UNCHECKED);
    CheckDlgButton(m_hwnd, IDC_ECHOS_SYNC_DECAY, Read(&I::GetTempoSyncDecay) ? BST_CHECKED : BST_UNCHECKED);
  }
  refreshing_ = false;
  UpdateEnabling();
}

void CQxEchosPropPage::UpdateEnabling() {
  IQxEchosProp2* p = P();
  using I = IQxEchosProp2;
  const bool t = Read(&I::GetTempoSyncDelay) != 0, m = Read(&I::GetMultipleDelays) != 0,
             d = Read(&I::GetTempoSyncDecay) != 0, map = p->HasTempoMap() == 1;
  Enable({IDC_ECHOS_DELAY, IDC_ECHOS_DELAY_LABEL}, !t);
  if (!delayMoving_) Enable(IDC_ECHOS_DELAY_EDIT, !t);
  Enable({IDC_ECHOS_DELAY_MULT_EDIT, IDC_ECHOS_DELAY_MULT, IDC_ECHOS_DELAY_NOTE}, t);
  Enable({IDC_ECHOS_DECAY, IDC_ECHOS_DECAY_LABEL}, m && !d);
  if (!decayMoving_) Enable(IDC_ECHOS_DECAY_EDIT, m && !d);
  Enable(IDC_ECHOS_SYNC_DELAY, map);
  Enable(IDC_ECHOS_SYNC_DECAY, m && map);
  Enable({IDC_ECHOS_DECAY_MULT_EDIT, IDC_ECHOS_DECAY_MULT, IDC_ECHOS_DECAY_NOTE}, m && d);
}

void CQxEchosPropPage::OnFollow() {
  IQxEchosProp2* p = P();
  // Each parameter that automation moves is redrawn; the time edits are locked while it moves.
  const struct {
    int32_t (IQxEchosProp2::*idle)();
    int control;
  } kFollow[] = {
      {&IQxEchosProp2::IsDelayTimeIdle, IDC_ECHOS_DELAY},
      {&IQxEchosProp2::IsDryOutIdle, IDC_ECHOS_DRY},
      {&IQxEchosProp2::IsDelayOutIdle, IDC_ECHOS_DELAYOUT},
      {&IQxEchosProp2::IsMultipleDelaysIdle, IDC_ECHOS_MULTIPLE},
      {&IQxEchosProp2::IsDecayTimeIdle, IDC_ECHOS_DECAY},
      {&IQxEchosProp2::IsDelayNoteIdle, IDC_ECHOS_DELAY_NOTE},
      {&IQxEchosProp2::IsDelayMultiplierIdle, IDC_ECHOS_DELAY_MULT},
      {&IQxEchosProp2::IsTempoSyncDelayIdle, IDC_ECHOS_SYNC_DELAY},
      {&IQxEchosProp2::IsDecayNoteIdle, IDC_ECHOS_DECAY_NOTE},
      {&IQxEchosProp2::IsDecayMultiplierIdle, IDC_ECHOS_DECAY_MULT},
      {&IQxEchosProp2::IsTempoSyncDecayIdle, IDC_ECHOS_SYNC_DECAY},
  };
  const bool wasDelay = delayMoving_, wasDecay = decayMoving_;
  delayMoving_ = (p->*kFollow[0].idle)() == 0;
  decayMoving_ = (p->*kFollow[4].idle)() == 0;
  if (delayMoving_) Enable(IDC_ECHOS_DELAY_EDIT, false);
  if (decayMoving_) Enable(IDC_ECHOS_DECAY_EDIT, false);
  for (const auto& f : kFollow) {
    const bool moving = f.control == IDC_ECHOS_DELAY ? delayMoving_
                        : f.control == IDC_ECHOS_DECAY ? decayMoving_
                                                        : (p->*f.idle)() == 0;
    if (!moving) continue;
    if (f.control == IDC_ECHOS_SYNC_DELAY || f.control == IDC_ECHOS_MULTIPLE || f.control == IDC_ECHOS_SYNC_DECAY)
      Refresh(0, true);
    else
      Refresh(f.control, true);
  }
  if (p->IsBypassIdle() == 0) ShowBypass();
  if (wasDelay != delayMoving_ || wasDecay != decayMoving_) UpdateEnabling();
}

void CQxEchosPropPage::CommitEdit(int id) {
  for (const EditRule& e : kEdits) {
    if (e.id != id) continue;
    WCHAR text[16] = {};
    GetDlgItemTextW(m_hwnd, id, text, 16);
    // Rounded to the stored unit, and kept inside 32 bits; the setter clamps to the range.
    double v = std::floor(QxTextToDoubleToken(text, nullptr) * e.scale + 0.5);
    if (!(v >= -2147483648.0)) v = -2147483648.0;
    if (v > 2147483647.0) v = 2147483647.0;
    const auto value = static_cast<int32_t>(v);
    IQxEchosProp2* p = P();
    switch (id) {
      case IDC_ECHOS_DELAY_EDIT: p->SetDelayTime(value); break;
      case IDC_ECHOS_DECAY_EDIT: p->SetDecayTime(value); break;
      case IDC_ECHOS_DELAY_MULT_EDIT: p->SetDelayMultiplier(value); break;
      case IDC_ECHOS_DECAY_MULT_EDIT: p->SetDecayMultiplier(value); break;
    }
    Refresh(id, true);
  }
}

bool CQxEchosPropPage::OnCommand(int id, int code, HWND) {
  IQxEchosProp2* p = P();
  using I = IQxEchosProp2;
  const bool checked = IsDlgButtonChecked(m_hwnd, id) == BST_CHECKED;
  switch (id) {
    case IDC_ECHOS_SYNC_DELAY:
    case IDC_ECHOS_MULTIPLE:
    case IDC_ECHOS_SYNC_DECAY:
      if (code != BN_CLICKED) return false;
      if (id == IDC_ECHOS_SYNC_DELAY) p->SetTempoSyncDelay(checked);
      if (id == IDC_ECHOS_MULTIPLE) p->SetMultipleDelays(checked);
      if (id == IDC_ECHOS_SYNC_DECAY) p->SetTempoSyncDecay(checked);
      UpdateEnabling();
      return true;
    case IDC_ECHOS_DELAY_NOTE:
      return ListCommand(id, code, listOpen_[0], &I::SetDelayNote, &I::BeginDelayNote, &I::EndDelayNote);
    case IDC_ECHOS_DECAY_NOTE:
      return ListCommand(id, code, listOpen_[1], &I::SetDecayNote, &I::BeginDecayNote, &I::EndDecayNote);
    case IDC_ECHOS_DELAY_EDIT:
    case IDC_ECHOS_DECAY_EDIT:
    case IDC_ECHOS_DELAY_MULT_EDIT:
    case IDC_ECHOS_DECAY_MULT_EDIT:
      EditCommand(id, code);
      return true;
  }
  return false;
}
