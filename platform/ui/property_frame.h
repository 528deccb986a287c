// The property frame: a top-level window that holds one page over one object, with OK, Cancel and
// Apply under it, as a host shows an object's page. It opens on the thread's X display when one is
// set (QxX11_SetThreadDisplay), headless otherwise.
//
// The pages here apply every change at once, so the frame's buttons keep a restore point instead:
// Cancel (or closing the window) loads back the object's state as the frame opened or as the last
// Apply left it, when the object answers IPersistStream. OK applies and keeps what is there.
#pragma once
#include <string>
#include <vector>

#include "platform/com/stream.h"
#include "platform/ui/property_page.h"

inline constexpr int QX_FRAME_APPLY = 0x3021;  // the Apply button's id; OK and Cancel are IDOK, IDCANCEL

class CQxPropertyFrame {
 public:
  ~CQxPropertyFrame();

  // Gives the page its site and object and activates it in a new top-level titled `caption` (the
  // page's own title when null). `buttons` false leaves the window just the page's size, as a
  // picture of the page alone wants. Null with *hr set on failure; the page is then left as it was.
  static CQxPropertyFrame* Open(IPropertyPage* page, IUnknown* object, const WCHAR* caption, bool buttons,
                                HRESULT* hr);

  HWND Window() const { return window_; }
  // The page's dialog inside the frame.
  HWND PageWindow() const;

  // Handles messages until OK, Cancel or the window's close; answers IDOK or IDCANCEL.
  int Run();
  // What the buttons do (Run calls these): OK applies; Cancel restores the state of the last
  // restore point; Apply applies and makes the present state the restore point.
  void Ok();
  void Cancel();
  void Apply();
  // 0 while the frame is open, then IDOK or IDCANCEL.
  int Result() const { return result_; }

 private:
  struct Site final : IPropertyPageSite {
    HRESULT QueryInterface(REFIID riid, void** ppv) override;
    ULONG AddRef() override { return 2; }  // lives as long as its frame
    ULONG Release() override { return 1; }
    HRESULT OnStatusChange(DWORD) override { return S_OK; }
    HRESULT GetLocaleID(DWORD* lcid) override;
    HRESULT GetPageContainer(IUnknown** container) override;
    HRESULT TranslateAccelerator(MSG*) override { return S_FALSE; }
  };
  CQxPropertyFrame() = default;
  void SaveRestorePoint();
  void Finish(int result);
  static INT_PTR FrameProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);

  Site site_;
  IPropertyPage* page_ = nullptr;
  IUnknown* object_ = nullptr;
  HWND window_ = nullptr;
  std::u16string caption_;
  std::vector<BYTE> restore_;
  bool hasRestore_ = false;
  int result_ = 0;
};
