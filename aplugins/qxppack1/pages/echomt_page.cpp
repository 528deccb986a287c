// The Multi-Tap Delay page: bindings through IQxEchomtProp, the refresh rules, the tap
// buttons, the graph's range list, the stereo-only pan group, and the tap graph's painting.
#include "aplugins/qxppack1/pages/echomt_page.h"

#include "aplugins/qxppack1/pages/echomt_graph.h"
#include "kernel/controls/control_messages.h"
#include "kernel/controls/logo.h"
#include "kernel/controls/ui_colors.h"
#include "kernel/controls/window_text.h"
#include "kernel/services/qx_valuetext.h"
#include "platform/ui/gdi.h"

namespace {
constexpr const WCHAR* kGraphProperty = u"TapGraph";
constexpr UINT kTrackbarDisplayOption = 1567;
constexpr int kEditChars = 15;  // what a typed value may hold
constexpr int kTaps = QX_ECHOMT_TAPS;

// The static's own procedure, shared by every page of this class.
WNDPROC s_graphBaseProc = nullptr;

using Getter = HRESULT (IQxEchomtProp::*)(int32_t*);
using Setter = HRESULT (IQxEchomtProp::*)(int32_t);
#define QX_EIGHT(Verb, Name)                                                                    \
  {&IQxEchomtProp::Verb##Name##1, &IQxEchomtProp::Verb##Name##2, &IQxEchomtProp::Verb##Name##3, \
   &IQxEchomtProp::Verb##Name##4, &IQxEchomtProp::Verb##Name##5, &IQxEchomtProp::Verb##Name##6, \
   &IQxEchomtProp::Verb##Name##7, &IQxEchomtProp::Verb##Name##8}
constexpr Getter kGetTapGain[kTaps] = QX_EIGHT(Get, TapGain);
constexpr Setter kSetTapGain[kTaps] = QX_EIGHT(Set, TapGain);
constexpr Getter kGetTapDelay[kTaps] = QX_EIGHT(Get, TapDelay);
constexpr Setter kSetTapDelay[kTaps] = QX_EIGHT(Set, TapDelay);
constexpr Getter kGetTapPan[kTaps] = QX_EIGHT(Get, TapPan);
constexpr Setter kSetTapPan[kTaps] = QX_EIGHT(Set, TapPan);
#undef QX_EIGHT

struct Accessors {
  Getter get;
  Setter set;
  const Getter* tapGet;  // the eight of a tap binding, else null
  const Setter* tapSet;
};
Accessors AccessorsOf(EchomtBinding b) {
  switch (b) {
    case EchomtBinding::InputGain: return {&IQxEchomtProp::GetInputGain, &IQxEchomtProp::SetInputGain, nullptr, nullptr};
    case EchomtBinding::DryOut: return {&IQxEchomtProp::GetDryOut, &IQxEchomtProp::SetDryOut, nullptr, nullptr};
    case EchomtBinding::WetOut: return {&IQxEchomtProp::GetWetOut, &IQxEchomtProp::SetWetOut, nullptr, nullptr};
    case EchomtBinding::ModRate: return {&IQxEchomtProp::GetModRate, &IQxEchomtProp::SetModRate, nullptr, nullptr};
    case EchomtBinding::ModDepth: return {&IQxEchomtProp::GetModDepth, &IQxEchomtProp::SetModDepth, nullptr, nullptr};
    case EchomtBinding::Feedback: return {&IQxEchomtProp::GetFeedback, &IQxEchomtProp::SetFeedback, nullptr, nullptr};
    case EchomtBinding::LowPassFrequency:
      return {&IQxEchomtProp::GetLowPassFrequency, &IQxEchomtProp::SetLowPassFrequency, nullptr, nullptr};
    case EchomtBinding::TapCount: return {&IQxEchomtProp::GetTapCount, &IQxEchomtProp::SetTapCount, nullptr, nullptr};
    case EchomtBinding::TapGain: return {nullptr, nullptr, kGetTapGain, kSetTapGain};
    case EchomtBinding::TapDelay: return {nullptr, nullptr, kGetTapDelay, kSetTapDelay};
    case EchomtBinding::TapPan: return {nullptr, nullptr, kGetTapPan, kSetTapPan};
  }
  return {};
}

// The current tap, 0 to 7, or -1 when it cannot be read.
int CurrentTap(IQxEchomtProp* prop) {
  int32_t tap = 0;
  if (FAILED(prop->GetCurrentTap(&tap)) || tap < 0 || tap >= kTaps) return -1;
  return tap;
}

const QxEchomtSetupRow* RowOf(int control) {
  for (int i = 0; i < g_EchomtSetupCount; ++i)
    if (g_EchomtSetup[i].control == control || g_EchomtSetup[i].textControl == control) return &g_EchomtSetup[i];
  return nullptr;
}

constexpr QxPageLayout kLayout{IDD_ECHOMT_PAGE, IDS_ECHOMT_TITLE, IDS_ECHOMT_NAME, &IID_IQxEchomtProp, false};

bool RepaintsGraph(EchomtBinding b) {
  return b == EchomtBinding::Feedback || b == EchomtBinding::TapDelay || b == EchomtBinding::TapCount ||
         b == EchomtBinding::TapGain;
}

void Fill(HDC dc, const RECT& r, COLORREF color) {
  HBRUSH brush = CreateSolidBrush(color);
  FillRect(dc, &r, brush);
  DeleteObject(brush);
}

// A small cap at a tap bar's far end, so taps stand out from echoes of the same height.
void TapCap(HDC dc, const QxTapBar& bar, int mid, COLORREF color) {
  const int half = bar.kind == QxTapBarKind::CurrentTap ? 2 : 1;
  const int y = bar.rect.top < mid ? bar.rect.top : bar.rect.bottom - 1;
  Fill(dc, RECT{bar.rect.left - half, y - half, bar.rect.right + half, y + half + 1}, color);
}

void PaintGraph(HWND hwnd, HDC dc, const RECT& rc) {
  SetBkColor(dc, GetSysColor(COLOR_WINDOW));
  auto brush = reinterpret_cast<HBRUSH>(
      SendMessage(GetParent(hwnd), WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd)));
  FillRect(dc, &rc, brush ? brush : GetSysColorBrush(COLOR_WINDOW));

  EchomtParams p = QX_ECHOMT_DEFAULTS;
  auto* prop = static_cast<IQxEchomtProp*>(GetProp(hwnd, kGraphProperty));
  const bool known = prop && SUCCEEDED(prop->GetAllParameters(&p));
  const QxTapGraphFrame f = QxTapGraph_Frame(rc);
  const int range = QxTapGraph_RangeMs(p.graphResolution);

  // Grid: quarters of the range, and half gain up and down.
  const COLORREF grid = QxGetUIColor(QXUI_COLOR_GRAPH_GRID);
  for (int q = 1; q <= 4; ++q) {
    const int x = QxTapGraph_Column(f, range, range * q / 4);
    Fill(dc, RECT{x, rc.top, x + 1, rc.bottom}, grid);
  }
  for (int y : {f.mid / 2, f.mid + (rc.bottom - f.mid) / 2}) Fill(dc, RECT{rc.left, y, rc.right, y + 1}, grid);
  const COLORREF edge = GetSysColor(COLOR_3DSHADOW);  // a quiet frame where there is no axis
  Fill(dc, RECT{rc.left, rc.top, rc.right, rc.top + 1}, edge);
  Fill(dc, RECT{rc.left, rc.bottom - 1, rc.right, rc.bottom}, edge);
  Fill(dc, RECT{rc.right - 1, rc.top, rc.right, rc.bottom}, edge);

  const COLORREF black = RGB(0, 0, 0);
  Fill(dc, RECT{f.axisX, rc.top, f.axisX + 1, rc.bottom}, black);
  Fill(dc, RECT{rc.left, f.mid, rc.right, f.mid + 1}, black);
  for (int q = 1; q <= 4; ++q) {  // time ticks on the axis
    const int x = QxTapGraph_Column(f, range, range * q / 4);
    Fill(dc, RECT{x, f.mid - 2, x + 1, f.mid + 3}, black);
  }
  if (!known) return;

  for (const QxTapBar& bar : QxTapGraph_Bars(p, rc)) {
    const int id = bar.kind == QxTapBarKind::Echo  ? QXUI_COLOR_GRAPH_ECHO
                   : bar.kind == QxTapBarKind::Tap ? QXUI_COLOR_GRAPH_MARK
                                                   : QXUI_COLOR_GRAPH_CURRENT;
    const COLORREF color = QxGetUIColor(id);
    Fill(dc, bar.rect, color);
    if (bar.kind != QxTapBarKind::Echo) TapCap(dc, bar, f.mid, color);
  }
}
}  // namespace

HRESULT QxEchomt_GetBound(IQxEchomtProp* prop, EchomtBinding b, int32_t* value) {
  if (!prop) return E_POINTER;
  const Accessors a = AccessorsOf(b);
  if (a.get) return (prop->*a.get)(value);
  const int tap = CurrentTap(prop);
  return tap < 0 ? E_FAIL : (prop->*a.tapGet[tap])(value);
}

HRESULT QxEchomt_SetBound(IQxEchomtProp* prop, EchomtBinding b, int32_t value) {
  if (!prop) return E_POINTER;
  const Accessors a = AccessorsOf(b);
  if (a.set) return (prop->*a.set)(value);
  const int tap = CurrentTap(prop);
  return tap < 0 ? E_FAIL : (prop->*a.tapSet[tap])(value);
}

const WCHAR* QxEchomt_ValueText(EchomtText kind, int32_t value) {
  switch (kind) {
    case EchomtText::Decibels: return QxGetdBStringFixed(value, 1, -800, TRUE);
    case EchomtText::Percent: return QxGetLabeledStringFixed(value, 0, 0, u" %");
    case EchomtText::Hertz: return QxGetLabeledStringFixed(value, 1, 0, u" Hz");
    case EchomtText::Edit:
    case EchomtText::Plain: {
      thread_local WCHAR text[QX_NUMBER_TEXT_CHARS];
      QxLongToTextN(value, text, QX_NUMBER_TEXT_CHARS, kind == EchomtText::Edit);
      return text;
    }
  }
  return u"";
}

LRESULT QxEchomt_TapGraphProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg != WM_PAINT) return CallWindowProc(s_graphBaseProc, hwnd, msg, wParam, lParam);
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  RECT rc;
  GetClientRect(hwnd, &rc);
  // Drawn off screen and copied in one go, so the bars never flicker while a slider moves.
  HDC mem = CreateCompatibleDC(dc);
  HBITMAP bitmap = mem ? CreateCompatibleBitmap(dc, rc.right - rc.left, rc.bottom - rc.top) : nullptr;
  if (mem && bitmap) {
    HGDIOBJ old = SelectObject(mem, bitmap);
    PaintGraph(hwnd, mem, rc);
    BitBlt(dc, 0, 0, rc.right - rc.left, rc.bottom - rc.top, mem, 0, 0, SRCCOPY);
    SelectObject(mem, old);
  } else {
    PaintGraph(hwnd, dc, rc);
  }
  if (bitmap) DeleteObject(bitmap);
  if (mem) DeleteDC(mem);
  EndPaint(hwnd, &ps);
  return 0;
}

CUnknown* CQxEchomtPropPage::CreateInstance(LPUNKNOWN outer, HRESULT* hr) {
  return QxCreatePage<CQxEchomtPropPage>(outer, hr);
}

CQxEchomtPropPage::CQxEchomtPropPage(LPUNKNOWN outer) : CQxPropPage("Multi-Tap Delay page", outer, kLayout) {
  QxUi_AddDialogTemplate(QxPages_Instance(), IDD_ECHOMT_PAGE, QxEchomtPage_Template());
  for (int i = 0; i < g_EchomtSetupCount; ++i) {
    QxPageBinding b;
    b.control = g_EchomtSetup[i].control;
    b.pageStep = g_EchomtSetup[i].pageStep;
    b.set = [this, binding = g_EchomtSetup[i].binding](int32_t v) { QxEchomt_SetBound(P(), binding, v); };
    bindings_.push_back(std::move(b));
  }
}

HRESULT CQxEchomtPropPage::RegisterNotify(HWND window, uint16_t id) { return P()->RegisterWindow(window, id); }

void CQxEchomtPropPage::InitControls() {
  if (HWND graph = Item(IDC_MT_GRAPH)) {
    auto proc = reinterpret_cast<WNDPROC>(GetWindowLongPtr(graph, GWLP_WNDPROC));
    if (proc != QxEchomt_TapGraphProc) {
      s_graphBaseProc = proc;
      SetWindowLongPtr(graph, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(QxEchomt_TapGraphProc));
    }
    SetProp(graph, kGraphProperty, P());
  }
  for (int i = 0; i < g_EchomtSetupCount; ++i) {
    const QxEchomtSetupRow& row = g_EchomtSetup[i];
    SendDlgItemMessage(m_hwnd, row.control, QXCM_SETRANGE, 0,
                       MAKELPARAM(static_cast<WORD>(row.minValue), static_cast<WORD>(row.maxValue)));
    SendDlgItemMessage(m_hwnd, row.control, QXCM_SETDEFAULT, row.resetValue, 0);
  }
  SendDlgItemMessage(m_hwnd, IDC_MT_TAP_PAN, kTrackbarDisplayOption, 0, 1);
  SendDlgItemMessage(m_hwnd, IDC_MT_TAP_DELAY_EDIT, EM_LIMITTEXT, kEditChars, 0);
  SendDlgItemMessage(m_hwnd, IDC_MT_LOW_PASS_EDIT, EM_LIMITTEXT, kEditChars, 0);
  SendDlgItemMessage(m_hwnd, IDC_MT_RESOLUTION, CB_RESETCONTENT, 0, 0);
  for (int i = 0; i < 4; ++i) {
    WCHAR text[QX_NUMBER_TEXT_CHARS];
    QxLongToText(QxTapGraph_RangeMs(i), text, TRUE);
    SendDlgItemMessage(m_hwnd, IDC_MT_RESOLUTION, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    SendDlgItemMessage(m_hwnd, IDC_MT_RESOLUTION, CB_SETITEMDATA, i, i);
  }
}

HRESULT CQxEchomtPropPage::OnDisconnect() {
  // The graph must not paint from an interface that is about to go.
  if (m_hwnd) SetProp(Item(IDC_MT_GRAPH), kGraphProperty, nullptr);
  return CQxPropPage::OnDisconnect();
}

INT_PTR CQxEchomtPropPage::OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_CTLCOLORSTATIC && reinterpret_cast<HWND>(lParam) == GetDlgItem(hwnd, IDC_MT_GRAPH))
    return reinterpret_cast<INT_PTR>(GetSysColorBrush(COLOR_WINDOW));  // the plot on the window colour
  if (msg == WM_DESTROY) RemoveProp(GetDlgItem(hwnd, IDC_MT_GRAPH), kGraphProperty);
  return CQxPropPage::OnReceiveMessage(hwnd, msg, wParam, lParam);
}

bool CQxEchomtPropPage::OnCommand(int id, int code, HWND) {
  IQxEchomtProp* p = P();
  if (id == IDC_MT_TAP_DELAY_EDIT || id == IDC_MT_LOW_PASS_EDIT) {
    if (code == EN_KILLFOCUS) TypedValue(id);
    return true;
  }
  if (id >= IDC_MT_TAP1 && id <= IDC_MT_TAP8) {
    if (code == BN_CLICKED) {
      p->SetCurrentTap(id - IDC_MT_TAP1);
      Refresh(0, true);
    }
    return true;
  }
  if (id == IDC_MT_RESOLUTION) {
    if (code == CBN_SELCHANGE) {
      LRESULT item = SendDlgItemMessage(m_hwnd, id, CB_GETCURSEL, 0, 0);
      if (item != CB_ERR)
        p->SetGraphResolution(static_cast<int32_t>(SendDlgItemMessage(m_hwnd, id, CB_GETITEMDATA, item, 0)));
      RefreshResolution();
      RepaintGraph();
    }
    return true;
  }
  if (id == IDC_MT_LOW_PASS_ON) {
    if (code == BN_CLICKED) {
      p->SetLowPassOn(IsDlgButtonChecked(m_hwnd, id) == BST_CHECKED ? 1 : 0);
      RefreshLowPassOn();
    }
    return true;
  }
  return false;
}

void CQxEchomtPropPage::Refresh(int id, bool force) {
  if (!m_hwnd || !P()) return;
  if (id == 0 || id == QX_PAGE_NOTIFY_ID) {
    SetProp(Item(IDC_MT_GRAPH), kGraphProperty, P());
    // The effect has no bypass: the strip's button would do nothing.
    SendDlgItemMessage(m_hwnd, QX_PAGE_LOGO, QXLM_ENABLEITEM, QX_PAGE_BYPASS, 0);
    RefreshPan();
    RefreshCurrentTap();
    RefreshTapCount();  // after the tap buttons: it may move the check
    for (int i = 0; i < g_EchomtSetupCount; ++i) RefreshRow(g_EchomtSetup[i], true);
    RefreshResolution();
    RefreshLowPassOn();
    RepaintGraph();
    return;
  }
  if (id == IDC_MT_TAP_COUNT) RefreshTapCount();
  if (id >= IDC_MT_TAP1 && id <= IDC_MT_TAP8) RefreshCurrentTap();
  if (id == IDC_MT_RESOLUTION) RefreshResolution();
  if (id == IDC_MT_LOW_PASS_ON) RefreshLowPassOn();
  if (const QxEchomtSetupRow* row = RowOf(id)) {
    RefreshRow(*row, force);
    if (RepaintsGraph(row->binding)) RepaintGraph();
  }
}

void CQxEchomtPropPage::RefreshRow(const QxEchomtSetupRow& row, bool position) {
  int32_t value = 0;
  if (FAILED(QxEchomt_GetBound(P(), row.binding, &value))) return;
  if (position) SendDlgItemMessage(m_hwnd, row.control, QXCM_SETVALUE, 1, value);
  QxSetDlgItemTextNoFlash(m_hwnd, row.textControl, u"%s", QxEchomt_ValueText(row.text, value));
}

void CQxEchomtPropPage::RefreshCurrentTap() {
  const int tap = CurrentTap(P());
  if (tap >= 0) CheckRadioButton(m_hwnd, IDC_MT_TAP1, IDC_MT_TAP8, IDC_MT_TAP1 + tap);
}

void CQxEchomtPropPage::RefreshTapCount() {
  int32_t count = 0;
  if (FAILED(P()->GetTapCount(&count))) return;
  for (int i = 0; i < kTaps; ++i) EnableWindow(GetDlgItem(m_hwnd, IDC_MT_TAP1 + i), i < count);
  // A check on a button that is now disabled steps down until it reaches the last enabled tap.
  bool moved = false;
  for (int i = kTaps - 1; i >= count && i > 0; --i) {
    if (IsDlgButtonChecked(m_hwnd, IDC_MT_TAP1 + i) != BST_CHECKED) continue;
    CheckDlgButton(m_hwnd, IDC_MT_TAP1 + i, BST_UNCHECKED);
    CheckDlgButton(m_hwnd, IDC_MT_TAP1 + i - 1, BST_CHECKED);
    P()->SetCurrentTap(i - 1);
    moved = true;
  }
  if (!moved) return;
  // The tap controls now show another tap: bring their positions along.
  for (int i = 0; i < g_EchomtSetupCount; ++i) {
    const EchomtBinding b = g_EchomtSetup[i].binding;
    if (b == EchomtBinding::TapGain || b == EchomtBinding::TapDelay || b == EchomtBinding::TapPan)
      RefreshRow(g_EchomtSetup[i], true);
  }
  RepaintGraph();
}

void CQxEchomtPropPage::RefreshResolution() {
  int32_t resolution = 0;
  P()->GetGraphResolution(&resolution);
  LRESULT count = SendDlgItemMessage(m_hwnd, IDC_MT_RESOLUTION, CB_GETCOUNT, 0, 0);
  LRESULT select = 0;
  for (LRESULT i = count - 1; i >= 1; --i)
    if (SendDlgItemMessage(m_hwnd, IDC_MT_RESOLUTION, CB_GETITEMDATA, i, 0) == resolution) {
      select = i;
      break;
    }
  SendDlgItemMessage(m_hwnd, IDC_MT_RESOLUTION, CB_SETCURSEL, select, 0);
  const int range = QxTapGraph_RangeMs(static_cast<int>(select));
  QxSetDlgItemTextNoFlash(m_hwnd, IDC_MT_RANGE_MID, u"$d ms", range / 2);
  QxSetDlgItemTextNoFlash(m_hwnd, IDC_MT_RANGE_END, u"$d ms", range);
}

void CQxEchomtPropPage::RefreshLowPassOn() {
  int32_t on = 0;
  P()->GetLowPassOn(&on);
  CheckDlgButton(m_hwnd, IDC_MT_LOW_PASS_ON, on ? BST_CHECKED : BST_UNCHECKED);
  EnableWindow(GetDlgItem(m_hwnd, IDC_MT_LOW_PASS), on != 0);
  EnableWindow(GetDlgItem(m_hwnd, IDC_MT_LOW_PASS_EDIT), on != 0);
}

void CQxEchomtPropPage::RefreshPan() {
  // Pan exists only where there are two sides to pan between.
  WAVEFORMATEX format{};
  const bool stereo = SUCCEEDED(P()->GetWaveFormat(&format)) && format.nChannels == 2;
  Enable({IDC_MT_PAN_TEXT, IDC_MT_PAN_LABEL, IDC_MT_PAN_L, IDC_MT_PAN_R, IDC_MT_TAP_PAN}, stereo);
}

void CQxEchomtPropPage::RepaintGraph() { InvalidateRect(GetDlgItem(m_hwnd, IDC_MT_GRAPH), nullptr, FALSE); }

void CQxEchomtPropPage::TypedValue(int edit) {
  WCHAR text[kEditChars + 1] = {};
  GetDlgItemText(m_hwnd, edit, text, kEditChars + 1);
  const QxEchomtSetupRow* row = RowOf(edit);
  if (!row) return;
  QxEchomt_SetBound(P(), row->binding, QxTextToLongToken(text, nullptr));
  RefreshRow(*row, true);  // a typed value moves its trackbar, and shows as the setter held it
  if (RepaintsGraph(row->binding)) RepaintGraph();
}
