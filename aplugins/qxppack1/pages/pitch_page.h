// The Pitch Shift page: its controls, the arithmetic it alone does (Ratio from semitones and
// cents, the 12-semitone limit with preserved duration, the musical equivalent) and the logic that
// binds dialog 2001 to IQxPitchsProp.
#pragma once
#include <cstdint>

#include "aplugins/qxppack1/pitchtime/pitchs_prop.h"
#include "aplugins/qxppack1/pages/page_base.h"
#include "aplugins/qxppack1/pages/page_controls.h"

inline constexpr int QX_PITCHS_DIALOG = 2001;

enum QxPitchsPageControl : int {
  IDC_PITCHS_MODE_LABEL = 2002,
  IDC_PITCHS_PRESERVE = 2004,
  IDC_PITCHS_ANTIALIAS = 2005,
  IDC_PITCHS_MODE = 2010,
  IDC_PITCHS_SEMITONES_EDIT = 2011,
  IDC_PITCHS_CENTS_EDIT = 2012,
  IDC_PITCHS_RATIO = 2016,
  IDC_PITCHS_ACCURACY_LABEL = 2018,
  IDC_PITCHS_SEMITONES_LABEL = 2021,
  IDC_PITCHS_SEMITONES = 2022,
  IDC_PITCHS_CENTS = 2023,
  IDC_PITCHS_ACCURACY = 2024,
  IDC_PITCHS_ACCURACY_TEXT = 2025,
  IDC_PITCHS_TIME_LABEL = 2026,
  IDC_PITCHS_TIME = 2027,
  IDC_PITCHS_FINAL_TIME = 2028,
  IDC_PITCHS_FINAL_LABEL = 2029,
  IDC_PITCHS_RATIO_LABEL = 2030,
  IDC_PITCHS_MUSICAL_LABEL = 2031,
  IDC_PITCHS_MUSICAL = 2032,
  IDC_PITCHS_CENTS_LABEL = 2075,
};

// The page's own limit on the shift while the duration is preserved; beyond an octave the splice
// engine would have to stretch by more than 2.
inline constexpr int32_t QX_PITCHS_PRESERVED_SEMITONES = 12;

// 2 ^ ((cents / 1000 + semitones) / 12): cents in tenths of a cent.
double QxPitchsRatio(int32_t semitones, int32_t cents);
// "Up 5th +" and the like: word, interval and sign, or two blanks when the shift is (about) none.
void QxPitchsMusicalText(int32_t semitones, int32_t cents, WCHAR* text, int size);

// The template of dialog 2001, a child of the property frame.
const QxDialogTemplate* QxPitchsPage_Template();

// The page's logic over a dialog made from that template: it fills and refreshes the controls
// from the interface and turns the user's commands into its setters. Either handle may be null,
// in which case nothing is read or written.
class CQxPitchsPageLogic : public CQxPageLogic<IQxPitchsProp> {
 public:
  void Init() override;
  void Refresh(int control) override;
  BOOL OnCommand(int id, int code) override;
  BOOL OnScroll(UINT message, WPARAM wParam, HWND control) override;

 private:
  void RefreshShift(int32_t semitones, int32_t cents);
};

// The page object the class table makes: the frame's page with the logic above behind it.
class CQxPitchsPropPage final : public CQxLogicPropPage<CQxPitchsPageLogic, IQxPitchsProp> {
 public:
  static CUnknown* CreateInstance(LPUNKNOWN outer, HRESULT* hr);
  explicit CQxPitchsPropPage(LPUNKNOWN outer);
};
