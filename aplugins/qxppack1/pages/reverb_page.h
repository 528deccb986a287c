// CQxReverbPropPage, the Reverb page: mode and reflection lists, three level faders, decay and
// pre-delay trackbars, and the two filter switches with their frequency trackbars and edits.
#pragma once
#include "aplugins/qxppack1/pages/page_base.h"
#include "aplugins/qxppack1/reverb/reverb_prop.h"

// The page's controls.
enum QxReverbPageId : int {
  IDD_REVERB_PAGE = 5001,
  IDC_REVERB_DRY = 5013,
  IDC_REVERB_WET = 5014,
  IDC_REVERB_EARLY = 5015,
  IDC_REVERB_DRY_TEXT = 5016,
  IDC_REVERB_WET_TEXT = 5017,
  IDC_REVERB_EARLY_TEXT = 5018,
  IDC_REVERB_DECAY_TEXT = 5019,
  IDC_REVERB_PREDELAY_TEXT = 5023,
  IDC_REVERB_MODE = 5030,
  IDC_REVERB_STYLE = 5031,
  IDC_REVERB_DECAY = 5032,
  IDC_REVERB_PREDELAY = 5033,
  IDC_REVERB_BASS_ON = 5034,
  IDC_REVERB_HIGH_ON = 5035,
  IDC_REVERB_BASS_EDIT = 5036,
  IDC_REVERB_HIGH_EDIT = 5037,
  IDC_REVERB_BASS = 5038,
  IDC_REVERB_HIGH = 5039,
  IDC_REVERB_MODE_LABEL = 5040,
  IDC_REVERB_DRY_LABEL = 5041,
  IDC_REVERB_WET_LABEL = 5042,
  IDC_REVERB_EARLY_LABEL = 5043,
  IDC_REVERB_STYLE_LABEL = 5044,
  IDC_REVERB_DECAY_LABEL = 5045,
  IDC_REVERB_PREDELAY_LABEL = 5046,
};

// The help topic of the page's "?" button.
inline constexpr DWORD QX_REVERB_HELP_TOPIC = 122;

// The dialog template, 254 by 193 dialog units.
const QxDialogTemplate* QxReverbPage_Template();
// The context help topic of a control, 0 for none.
DWORD QxReverbPage_HelpTopic(int control);

class CQxReverbPropPage final : public CQxBypassPropPage<IQxReverbProp2> {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  explicit CQxReverbPropPage(LPUNKNOWN outer);

 protected:
  HRESULT RegisterNotify(HWND window, uint16_t id) override;
  void InitControls() override;
  void Refresh(int id, bool force) override;
  void OnFollow() override;
  bool OnCommand(int id, int code, HWND control) override;
  INT_PTR OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) override;

 private:
  // Reads a frequency edit box (at most 15 characters) and sets it through the setter's clamp.
  void CommitFrequency(int id);

  int32_t modeListOpen_ = 0;   // the drop-down of 5030 is open
  int32_t styleListOpen_ = 0;  // the drop-down of 5031 is open
};
