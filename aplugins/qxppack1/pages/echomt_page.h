// The Multi-Tap Delay page: its control numbers, the table that sets up and binds its faders and
// trackbars, and CQxEchomtPropPage over IQxEchomtProp with the tap graph drawn in control 4042.
#pragma once
#include "aplugins/qxppack1/delay/echomt_prop.h"
#include "aplugins/qxppack1/pages/page_base.h"
#include "aplugins/qxppack1/pages/string_ids.h"
#include "platform/ui/dialog.h"

// Dialog 4001; its title is string IDS_ECHOMT_TITLE, its logo text IDS_ECHOMT_NAME.
inline constexpr int IDD_ECHOMT_PAGE = 4001;

enum EchomtPageControl : int {
  IDC_MT_INPUT_TEXT = 4002, IDC_MT_INPUT = 4003,
  IDC_MT_DRY_TEXT = 4004, IDC_MT_DRY = 4005,
  IDC_MT_WET = 4008, IDC_MT_WET_TEXT = 4009,
  IDC_MT_MOD_RATE = 4011, IDC_MT_MOD_DEPTH = 4012, IDC_MT_FEEDBACK = 4013, IDC_MT_TAP_COUNT = 4014,
  IDC_MT_TAP1 = 4018,  // radio buttons 4018..4025, one per tap
  IDC_MT_TAP8 = 4025,
  IDC_MT_TAP_GAIN = 4026, IDC_MT_TAP_GAIN_TEXT = 4027,
  IDC_MT_TAP_DELAY = 4029,
  IDC_MT_TAP_PAN = 4031,
  IDC_MT_MOD_DEPTH_TEXT = 4032, IDC_MT_FEEDBACK_TEXT = 4033, IDC_MT_TAP_COUNT_TEXT = 4034,
  IDC_MT_MOD_RATE_TEXT = 4035,
  IDC_MT_PAN_TEXT = 4038, IDC_MT_PAN_LABEL = 4039, IDC_MT_PAN_L = 4040, IDC_MT_PAN_R = 4041,
  IDC_MT_GRAPH = 4042,
  IDC_MT_RESOLUTION = 4043,
  IDC_MT_RANGE_END = 4044,  // the times at the graph's right edge and middle, under it
  IDC_MT_RANGE_MID = 4045,
  IDC_MT_LOW_PASS_ON = 4115, IDC_MT_LOW_PASS = 4116, IDC_MT_LOW_PASS_EDIT = 4117,
  IDC_MT_TAP_DELAY_EDIT = 4118,
};

// What a fader or trackbar is bound to. Tap fields are those of the current tap.
enum class EchomtBinding { InputGain, DryOut, WetOut, TapGain, ModRate, ModDepth, Feedback, LowPassFrequency,
                           TapCount, TapDelay, TapPan };
// How the bound value is shown in its text control.
enum class EchomtText { Decibels, Percent, Hertz, Edit, Plain };

struct QxEchomtSetupRow {
  int control;
  bool fader;  // else a trackbar
  int minValue, maxValue, resetValue;
  EchomtBinding binding;
  int pageStep;  // the line step is 1
  int textControl;
  EchomtText text;
};
// The eleven rows in set-up order.
extern const QxEchomtSetupRow g_EchomtSetup[];
extern const int g_EchomtSetupCount;

// Dialog 4001 as the window layer's template (a child dialog, 290 by 265 units).
const QxDialogTemplate* QxEchomtPage_Template();

// The bound field through the control interface; tap bindings read currentTap first.
HRESULT QxEchomt_GetBound(IQxEchomtProp* prop, EchomtBinding b, int32_t* value);
HRESULT QxEchomt_SetBound(IQxEchomtProp* prop, EchomtBinding b, int32_t value);
// The text a value shows as (temporary text: use it at once).
const WCHAR* QxEchomt_ValueText(EchomtText kind, int32_t value);

class CQxEchomtPropPage final : public CQxPropPage {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  explicit CQxEchomtPropPage(LPUNKNOWN outer);

 protected:
  HRESULT RegisterNotify(HWND window, uint16_t id) override;
  // The set-up table, the tap graph's procedure and the graph's range list.
  void InitControls() override;
  // A control's text (and what it governs); 0 refreshes everything, positions included, as does
  // `force`.
  void Refresh(int id, bool force) override;
  bool OnCommand(int id, int code, HWND control) override;
  HRESULT OnDisconnect() override;
  INT_PTR OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) override;

 private:
  IQxEchomtProp* P() const { return Prop<IQxEchomtProp>(); }
  void RefreshRow(const QxEchomtSetupRow& row, bool position);
  void RefreshTapCount();
  void RefreshCurrentTap();
  void RefreshResolution();
  void RefreshLowPassOn();
  void RefreshPan();
  void RepaintGraph();
  void TypedValue(int edit);
};

// The graph's window procedure in place of the static's: paints the echo response of the
// interface kept on the window under the property "TapGraph".
LRESULT QxEchomt_TapGraphProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
