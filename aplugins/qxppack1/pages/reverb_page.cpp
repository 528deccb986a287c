// The Reverb page: ranges, list filling, value texts, Refresh(id, force) and the polling timer
// that follows automation and locks a frequency edit while automation drives it.
#include "aplugins/qxppack1/pages/reverb_page.h"


#include "aplugins/qxppack1/pages/page_controls.h"
#include "aplugins/qxppack1/pages/string_ids.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/trackbar.h"
#include "kernel/controls/window_text.h"
#include "kernel/services/qx_help.h"
#include "kernel/services/qx_valuetext.h"

namespace {
constexpr QxPageLayout kLayout{IDD_REVERB_PAGE, IDS_REVERB_TITLE, IDS_REVERB_NAME, &IID_IQxReverbProp2, true};

// A slider's range and the default a double click on the thumb returns to.
struct Range {
  int id, lo, hi, mark;
};
constexpr Range kRanges[] = {
    {IDC_REVERB_DRY, -800, 0, -60},    {IDC_REVERB_WET, -800, 0, -60},     {IDC_REVERB_EARLY, -800, 0, -800},
    {IDC_REVERB_DECAY, 5, 50, 25},     {IDC_REVERB_PREDELAY, 0, 200, 100}, {IDC_REVERB_BASS, 10, 5000, 500},
    {IDC_REVERB_HIGH, 100, 15000, 2000},
};

// Control to context help topic.
constexpr struct {
  int control;
  DWORD topic;
} kHelp[] = {
    {IDC_REVERB_DRY, 69},          {IDC_REVERB_DRY_TEXT, 69},       {IDC_REVERB_DRY_LABEL, 69},
    {IDC_REVERB_WET, 70},          {IDC_REVERB_WET_TEXT, 70},       {IDC_REVERB_WET_LABEL, 70},
    {IDC_REVERB_EARLY, 71},        {IDC_REVERB_EARLY_TEXT, 71},     {IDC_REVERB_EARLY_LABEL, 71},
    {IDC_REVERB_MODE, 68},         {IDC_REVERB_MODE_LABEL, 68},     {IDC_REVERB_STYLE, 72},
    {IDC_REVERB_STYLE_LABEL, 72},  {IDC_REVERB_DECAY, 73},          {IDC_REVERB_DECAY_TEXT, 73},
    {IDC_REVERB_DECAY_LABEL, 73},  {IDC_REVERB_PREDELAY, 74},       {IDC_REVERB_PREDELAY_TEXT, 74},
    {IDC_REVERB_PREDELAY_LABEL, 74}, {IDC_REVERB_BASS_ON, 75},      {IDC_REVERB_BASS, 75},
    {IDC_REVERB_BASS_EDIT, 75},    {IDC_REVERB_HIGH_ON, 76},        {IDC_REVERB_HIGH, 76},
};

using Getter = HRESULT (IQxReverbProp2::*)(int32_t*);
}  // namespace

DWORD QxReverbPage_HelpTopic(int control) {
  for (const auto& h : kHelp)
    if (h.control == control) return h.topic;
  return 0;
}

CUnknown* CQxReverbPropPage::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  return QxCreatePage<CQxReverbPropPage>(outer, hr);
}

CQxReverbPropPage::CQxReverbPropPage(LPUNKNOWN outer) : CQxBypassPropPage("Reverb page", outer, kLayout) {
  QxUi_AddDialogTemplate(QxPages_Instance(), IDD_REVERB_PAGE, QxReverbPage_Template());
  using I = IQxReverbProp2;
  Bind(IDC_REVERB_DRY, 10, &I::SetDryOut, &I::BeginDryOutEdit, &I::EndDryOutEdit);
  Bind(IDC_REVERB_WET, 10, &I::SetReverbOut, &I::BeginReverbOutEdit, &I::EndReverbOutEdit);
  Bind(IDC_REVERB_EARLY, 10, &I::SetEarlyOut, &I::BeginEarlyOutEdit, &I::EndEarlyOutEdit);
  Bind(IDC_REVERB_DECAY, 10, &I::SetDecayTime, &I::BeginDecayTimeEdit, &I::EndDecayTimeEdit);
  Bind(IDC_REVERB_PREDELAY, 10, &I::SetPreDelay, &I::BeginPreDelayEdit, &I::EndPreDelayEdit);
  Bind(IDC_REVERB_BASS, 100, &I::SetBassFrequency, &I::BeginBassFrequencyEdit, &I::EndBassFrequencyEdit);
  Bind(IDC_REVERB_HIGH, 100, &I::SetHighFrequency, &I::BeginHighFrequencyEdit, &I::EndHighFrequencyEdit);
}

HRESULT CQxReverbPropPage::RegisterNotify(HWND window, uint16_t id) { return P()->RegisterNotifyWindow(window, id); }

void CQxReverbPropPage::InitControls() {
  for (const Range& r : kRanges) SetRange(r.id, r.lo, r.hi, r.mark);
  // Ticks at round values, so a position can be read off the scale.
  static const int decayTicks[] = {10, 15, 20, 30, 40};
  static const int preDelayTicks[] = {50, 150};
  static const int bassTicks[] = {1000, 2000, 3000, 4000};
  static const int highTicks[] = {5000, 10000};
  Trackbar_SetTicks(Item(IDC_REVERB_DECAY), decayTicks, 5);
  Trackbar_SetTicks(Item(IDC_REVERB_PREDELAY), preDelayTicks, 2);
  Trackbar_SetTicks(Item(IDC_REVERB_BASS), bassTicks, 4);
  Trackbar_SetTicks(Item(IDC_REVERB_HIGH), highTicks, 2);
  QxPage_FillList(m_hwnd, IDC_REVERB_MODE, g_ReverbModeNames, QX_REVERB_MODE_COUNT);
  QxPage_FillList(m_hwnd, IDC_REVERB_STYLE, g_ReflectionStyleNames, QX_REFLECTION_STYLE_COUNT);
  for (int id : {IDC_REVERB_BASS_EDIT, IDC_REVERB_HIGH_EDIT}) SendMessage(Item(id), EM_LIMITTEXT, 15, 0);
}

void CQxReverbPropPage::Refresh(int id, bool force) {
  IQxReverbProp2* p = P();
  if (!p || !m_hwnd) return;
  using I = IQxReverbProp2;
  const bool all = id == 0 || id == QX_PAGE_NOTIFY_ID;
  const bool move = all || force;  // a control being dragged is not fought
  auto is = [&](int a, int b = -1) { return all || id == a || id == b; };
  const struct {
    int fader, text;
    Getter get;
  } levels[] = {{IDC_REVERB_DRY, IDC_REVERB_DRY_TEXT, &I::GetDryOut},
                {IDC_REVERB_WET, IDC_REVERB_WET_TEXT, &I::GetReverbOut},
                {IDC_REVERB_EARLY, IDC_REVERB_EARLY_TEXT, &I::GetEarlyOut}};
  for (const auto& l : levels) {
    if (!is(l.fader)) continue;
    const int32_t v = Read(l.get);
    if (move) SetPosition(l.fader, v);
    QxSetDlgItemTextNoFlash(m_hwnd, l.text, u"%s", QxGetdBStringFixed(v, 1, -800, 1));
  }
  if (is(IDC_REVERB_DECAY)) {
    const int32_t v = Read(&I::GetDecayTime);
    if (move) SetPosition(IDC_REVERB_DECAY, v);
    QxSetDlgItemTextNoFlash(m_hwnd, IDC_REVERB_DECAY_TEXT, u"%s", QxGetLabeledStringFixed(v, 1, 0, nullptr));
  }
  if (is(IDC_REVERB_PREDELAY)) {
    const int32_t v = Read(&I::GetPreDelay);
    if (move) SetPosition(IDC_REVERB_PREDELAY, v);
    if (v)
      QxSetDlgItemTextNoFlash(m_hwnd, IDC_REVERB_PREDELAY_TEXT, u"%d ms.", static_cast<int>(v));
    else
      QxSetDlgItemTextNoFlash(m_hwnd, IDC_REVERB_PREDELAY_TEXT, u"Off");
  }
  const struct {
    int slider, edit, box;
    Getter freq, on;
  } filters[] = {
      {IDC_REVERB_BASS, IDC_REVERB_BASS_EDIT, IDC_REVERB_BASS_ON, &I::GetBassFrequency, &I::GetAttenuateBass},
      {IDC_REVERB_HIGH, IDC_REVERB_HIGH_EDIT, IDC_REVERB_HIGH_ON, &I::GetHighFrequency, &I::GetAttenuateHigh}};
  for (const auto& f : filters) {
    if (is(f.slider, f.edit)) {
      const int32_t v = Read(f.freq);
      if (!(id == f.slider && !force)) SetPosition(f.slider, v);
      WCHAR text[QX_NUMBER_TEXT_CHARS];
      QxLongToText(v, text, TRUE);
      QxSetDlgItemTextNoFlash(m_hwnd, f.edit, u"%s", text);
    }
    if (is(f.box)) {
      const int32_t on = Read(f.on);
      if (move) CheckDlgButton(m_hwnd, f.box, on ? BST_CHECKED : BST_UNCHECKED);
      Enable(f.slider, on != 0);
    }
  }
  if (move && is(IDC_REVERB_STYLE)) QxPage_SelectByData(m_hwnd, IDC_REVERB_STYLE, Read(&I::GetReflectionStyle));
  if (move && is(IDC_REVERB_MODE)) QxPage_SelectByData(m_hwnd, IDC_REVERB_MODE, Read(&I::GetReverbMode));
  if (all || id == QX_PAGE_BYPASS) ShowBypass();
}

void CQxReverbPropPage::OnFollow() {
  IQxReverbProp2* p = P();
  using I = IQxReverbProp2;
  auto changed = [p](HRESULT (I::*poll)()) { return (p->*poll)() == S_OK; };
  const struct {
    HRESULT (I::*poll)();
    int control;
  } plain[] = {{&I::PollBypassChanged, QX_PAGE_BYPASS}, {&I::PollDryOutChanged, IDC_REVERB_DRY},
               {&I::PollReverbOutChanged, IDC_REVERB_WET}, {&I::PollEarlyOutChanged, IDC_REVERB_EARLY},
               {&I::PollDecayTimeChanged, IDC_REVERB_DECAY}, {&I::PollPreDelayChanged, IDC_REVERB_PREDELAY}};
  for (const auto& f : plain)
    if (changed(f.poll)) Refresh(f.control, true);
  // A frequency driven by automation locks its edit box until it rests.
  const struct {
    HRESULT (I::*freq)();
    HRESULT (I::*on)();
    int slider, edit, box;
  } filters[] = {
      {&I::PollHighFrequencyChanged, &I::PollAttenuateHighChanged, IDC_REVERB_HIGH, IDC_REVERB_HIGH_EDIT,
       IDC_REVERB_HIGH_ON},
      {&I::PollBassFrequencyChanged, &I::PollAttenuateBassChanged, IDC_REVERB_BASS, IDC_REVERB_BASS_EDIT,
       IDC_REVERB_BASS_ON}};
  for (const auto& f : filters) {
    if (changed(f.freq)) {
      Refresh(f.slider, true);
      Enable(f.edit, false);
    } else {
      Enable(f.edit, IsDlgButtonChecked(m_hwnd, f.box) == BST_CHECKED);
    }
    if (changed(f.on)) Refresh(f.box, true);
  }
  if (changed(&I::PollReflectionStyleChanged) && !styleListOpen_) Refresh(IDC_REVERB_STYLE, true);
  if (changed(&I::PollReverbModeChanged) && !modeListOpen_) Refresh(IDC_REVERB_MODE, true);
}

void CQxReverbPropPage::CommitFrequency(int id) {
  WCHAR text[16] = {};
  GetDlgItemTextW(m_hwnd, id, text, 16);
  const LONG v = QxTextToLongToken(text, nullptr);
  if (id == IDC_REVERB_BASS_EDIT)
    P()->SetBassFrequency(v);
  else
    P()->SetHighFrequency(v);
}

bool CQxReverbPropPage::OnCommand(int id, int code, HWND) {
  IQxReverbProp2* p = P();
  switch (id) {
    case IDC_REVERB_MODE:
    case IDC_REVERB_STYLE: {
      const bool mode = id == IDC_REVERB_MODE;
      if (code == CBN_SELCHANGE) {
        const auto sel = SendDlgItemMessage(m_hwnd, id, CB_GETCURSEL, 0, 0);
        if (sel < 0) return true;
        const auto data = static_cast<int32_t>(SendDlgItemMessage(m_hwnd, id, CB_GETITEMDATA, static_cast<WPARAM>(sel), 0));
        mode ? p->SetReverbMode(data) : p->SetReflectionStyle(data);
      } else if (code == CBN_DROPDOWN) {
        (mode ? modeListOpen_ : styleListOpen_) = 1;
        mode ? p->BeginReverbModeEdit() : p->BeginReflectionStyleEdit();
      } else if (code == CBN_CLOSEUP) {
        (mode ? modeListOpen_ : styleListOpen_) = 0;
        mode ? p->EndReverbModeEdit() : p->EndReflectionStyleEdit();
      } else {
        return true;  // other notifications end here, with no refresh
      }
      break;
    }
    case IDC_REVERB_BASS_ON:
    case IDC_REVERB_HIGH_ON: {
      if (code != BN_CLICKED) return false;
      const int32_t on = IsDlgButtonChecked(m_hwnd, id) == BST_CHECKED;
      id == IDC_REVERB_BASS_ON ? p->SetAttenuateBass(on) : p->SetAttenuateHigh(on);
      break;
    }
    case IDC_REVERB_BASS_EDIT:
    case IDC_REVERB_HIGH_EDIT:
      // Read only when focus leaves, so typing is never disturbed.
      if (code != EN_KILLFOCUS) return true;
      CommitFrequency(id);
      break;
    default:
      return false;
  }
  Refresh(id, false);
  return true;
}

INT_PTR CQxReverbPropPage::OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_HELP) {
    const auto* info = reinterpret_cast<const HELPINFO*>(lParam);
    const DWORD topic = info ? QxReverbPage_HelpTopic(info->iCtrlId) : 0;
    QxHelp_ShowContext(hwnd, topic ? topic : QX_PAGE_HELP_CONTEXT);
    return TRUE;
  }
  if (msg == WM_COMMAND && LOWORD(wParam) == QX_PAGE_HELP) {
    QxHelp_ShowContext(hwnd, QX_REVERB_HELP_TOPIC);
    return TRUE;
  }
  return CQxPropPage::OnReceiveMessage(hwnd, msg, wParam, lParam);
}
