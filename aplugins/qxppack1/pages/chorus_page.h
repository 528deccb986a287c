// CQxChorusPropPage, the Chorus page: three level faders, the voice and modulation trackbars with
// their texts and edit boxes, the tempo-synced period (note list, multiplier edit and spinner) and
// the feedback group with its low pass, over IQxChorusProp2.
#pragma once
#include "aplugins/qxppack1/delay/chorus_prop.h"
#include "aplugins/qxppack1/pages/page_base.h"

// The page's controls.
enum QxChorusPageId : int {
  IDD_CHORUS_PAGE = 6001,
  IDC_CHORUS_INPUT = 6016,
  IDC_CHORUS_DRY = 6020,
  IDC_CHORUS_WET = 6021,
  IDC_CHORUS_INPUT_TEXT = 6022,
  IDC_CHORUS_DRY_TEXT = 6023,
  IDC_CHORUS_WET_TEXT = 6024,
  IDC_CHORUS_SIZE = 6025,
  IDC_CHORUS_SIZE_TEXT = 6026,
  IDC_CHORUS_FEEDBACK = 6027,
  IDC_CHORUS_FEEDBACK_TEXT = 6028,
  IDC_CHORUS_INVERT_WET = 6029,
  IDC_CHORUS_INVERT_FEEDBACK = 6030,
  IDC_CHORUS_DELAY = 6031,
  IDC_CHORUS_RATE = 6032,
  IDC_CHORUS_RATE_EDIT = 6033,
  IDC_CHORUS_DEPTH = 6034,
  IDC_CHORUS_DEPTH_TEXT = 6035,
  IDC_CHORUS_ATTENUATE = 6036,
  IDC_CHORUS_FREQUENCY = 6037,
  IDC_CHORUS_FREQUENCY_EDIT = 6038,
  IDC_CHORUS_DELAY_EDIT = 6039,
  IDC_CHORUS_RATE_LABEL = 6047,
  IDC_CHORUS_PERIOD_LABEL = 6049,
  IDC_CHORUS_SYNC = 8005,
  IDC_CHORUS_MULT_EDIT = 8031,
  IDC_CHORUS_MULT = 8032,
  IDC_CHORUS_NOTE = 8033,
};

// The rate trackbar in two regions: positions up to 9999 are thousandths of a hertz one to one,
// positions 10000 to 11000 step by a hundredth of a hertz up to 20 Hz.
int32_t QxChorusRatePosition(int32_t modRate);
int32_t QxChorusRateFromPosition(int32_t position);
// The rate as the page shows it: three decimals in the fine region, two above.
const WCHAR* QxChorusRateText(int32_t modRate);

// The dialog template, 272 by 224 dialog units.
const QxDialogTemplate* QxChorusPage_Template();

class CQxChorusPropPage final : public CQxBypassPropPage<IQxChorusProp2> {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  explicit CQxChorusPropPage(LPUNKNOWN outer);

 protected:
  HRESULT RegisterNotify(HWND window, uint16_t id) override;
  void InitControls() override;
  void Refresh(int id, bool force) override;
  void OnFollow() override;
  bool OnCommand(int id, int code, HWND control) override;
  void CommitEdit(int id) override;

 private:
  void UpdateEnabling();
  void SpinMultiplier(int code, HWND control, UINT msg, WPARAM wParam);

  bool listOpen_ = false;      // 8033's drop-down is open: automation leaves it alone
  // Edits a curve owns, locked while it plays: outDelay, modRate, attenuationFrequency and
  // modPeriodMultiplier, one bit each.
  unsigned curves_ = 0;
};
