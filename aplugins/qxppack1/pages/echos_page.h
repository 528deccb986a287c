// CQxEchosPropPage, the Simple Delay page: two level faders, the delay and decay trackbars with
// their edit boxes, and the tempo groups (note list, multiplier edit and spinner), over
// IQxEchosProp2.
#pragma once
#include "aplugins/qxppack1/delay/echos_prop.h"
#include "aplugins/qxppack1/pages/page_base.h"

// The page's controls.
enum QxEchosPageId : int {
  IDD_ECHOS_PAGE = 3001,
  IDC_ECHOS_DRY_TEXT = 3008,
  IDC_ECHOS_DRY = 3009,
  IDC_ECHOS_DELAYOUT_TEXT = 3010,
  IDC_ECHOS_DELAYOUT = 3011,
  IDC_ECHOS_MULTIPLE = 3012,
  IDC_ECHOS_DELAY_EDIT = 3014,
  IDC_ECHOS_DECAY_EDIT = 3015,
  IDC_ECHOS_DELAY = 3016,
  IDC_ECHOS_DECAY = 3017,
  IDC_ECHOS_DECAY_LABEL = 3018,
  IDC_ECHOS_DRY_LABEL = 3019,
  IDC_ECHOS_DELAYOUT_LABEL = 3020,
  IDC_ECHOS_DELAY_LABEL = 3021,
  IDC_ECHOS_DELAY_MULT_EDIT = 3023,
  IDC_ECHOS_DECAY_MULT_EDIT = 3025,
  IDC_ECHOS_SYNC_DELAY = 8007,
  IDC_ECHOS_DELAY_MULT = 8008,
  IDC_ECHOS_DELAY_NOTE = 8009,
  IDC_ECHOS_SYNC_DECAY = 8010,
  IDC_ECHOS_DECAY_MULT = 8011,
  IDC_ECHOS_DECAY_NOTE = 8012,
};

// The dialog template, 257 by 208 dialog units.
const QxDialogTemplate* QxEchosPage_Template();

class CQxEchosPropPage final : public CQxBypassPropPage<IQxEchosProp2> {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  explicit CQxEchosPropPage(LPUNKNOWN outer);

 protected:
  HRESULT RegisterNotify(HWND window, uint16_t id) override;
  void InitControls() override;
  void Refresh(int id, bool force) override;
  void OnFollow() override;
  bool OnCommand(int id, int code, HWND control) override;
  void CommitEdit(int id) override;

 private:
  void UpdateEnabling();

  bool listOpen_[2] = {};        // 8009, 8012: the drop-down is open
  bool delayMoving_ = false;     // automation moves DelayTime (3014 greyed)
  bool decayMoving_ = false;
};
