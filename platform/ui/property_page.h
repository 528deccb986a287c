// Property pages: IPropertyPage (a page that edits an object inside a frame's window),
// IPropertyPageSite (the frame's side), and CBasePropertyPage, the dialog-backed page that effect
// pages derive from. The frame that holds pages is in property_frame.h.
#pragma once
#include "platform/com/property_pages.h"
#include "platform/ui/dialog.h"

inline constexpr IID IID_IPropertyPage = MakeGuid("B196B28D-BAB4-101A-B69C-00AA00341D07");
inline constexpr IID IID_IPropertyPageSite = MakeGuid("B196B28C-BAB4-101A-B69C-00AA00341D07");

// Status flags a page passes to IPropertyPageSite::OnStatusChange.
inline constexpr DWORD PROPPAGESTATUS_DIRTY = 0x1, PROPPAGESTATUS_VALIDATE = 0x2, PROPPAGESTATUS_CLEAN = 0x4;

struct PROPPAGEINFO {
  ULONG cb;              // sizeof(PROPPAGEINFO)
  WCHAR* pszTitle;       // CoTaskMemAlloc; the frame frees it
  SIZE size;             // pixels
  WCHAR* pszDocString;   // CoTaskMemAlloc or null
  WCHAR* pszHelpFile;    // CoTaskMemAlloc or null
  DWORD dwHelpContext;
};

struct MSG;
struct IPropertyPageSite : IUnknown {
  virtual HRESULT OnStatusChange(DWORD flags) = 0;
  virtual HRESULT GetLocaleID(DWORD* lcid) = 0;
  virtual HRESULT GetPageContainer(IUnknown** container) = 0;
  virtual HRESULT TranslateAccelerator(MSG* msg) = 0;
};

struct IPropertyPage : IUnknown {
  virtual HRESULT SetPageSite(IPropertyPageSite* site) = 0;
  virtual HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) = 0;
  virtual HRESULT Deactivate() = 0;
  virtual HRESULT GetPageInfo(PROPPAGEINFO* info) = 0;
  virtual HRESULT SetObjects(ULONG count, IUnknown** objects) = 0;
  virtual HRESULT Show(UINT cmdShow) = 0;
  virtual HRESULT Move(const RECT* rect) = 0;
  virtual HRESULT IsPageDirty() = 0;
  virtual HRESULT Apply() = 0;
  virtual HRESULT Help(const WCHAR* helpDir) = 0;
  virtual HRESULT TranslateAccelerator(MSG* msg) = 0;
};

// A page made from a dialog template of `module`. SetObjects with one object connects (OnConnect),
// with none disconnects (OnDisconnect); Activate makes the dialog as a child of the frame's window,
// Deactivate destroys it. Every message of the dialog goes to OnReceiveMessage.
class CBasePropertyPage : public CUnknown, public IPropertyPage {
 public:
  CBasePropertyPage(const char* name, LPUNKNOWN outer, HINSTANCE module, int dialogId, int titleId);
  ~CBasePropertyPage() override;

  DECLARE_IUNKNOWN
  HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

  HRESULT SetPageSite(IPropertyPageSite* site) override;
  HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) override;
  HRESULT Deactivate() override;
  HRESULT GetPageInfo(PROPPAGEINFO* info) override;
  HRESULT SetObjects(ULONG count, IUnknown** objects) override;
  HRESULT Show(UINT cmdShow) override;
  HRESULT Move(const RECT* rect) override;
  HRESULT IsPageDirty() override { return m_bDirty ? S_OK : S_FALSE; }
  HRESULT Apply() override;
  HRESULT Help(const WCHAR*) override { return E_NOTIMPL; }
  HRESULT TranslateAccelerator(MSG*) override { return S_FALSE; }

  HWND Window() const { return m_hwnd; }

 protected:
  virtual HRESULT OnConnect(IUnknown*) { return S_OK; }
  virtual HRESULT OnDisconnect() { return S_OK; }
  virtual HRESULT OnActivate() { return S_OK; }
  virtual HRESULT OnDeactivate() { return S_OK; }
  virtual HRESULT OnApplyChanges() { return S_OK; }
  // The dialog procedure's body; answers what a dialog procedure answers.
  virtual INT_PTR OnReceiveMessage(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  // Marks the page dirty and tells the site.
  void SetDirty();

  HINSTANCE m_module;
  int m_dialogId;
  int m_titleId;
  HWND m_hwnd = nullptr;
  IPropertyPageSite* m_pPageSite = nullptr;
  bool m_bDirty = false;
  bool m_bObjectSet = false;

  // The dialog procedure Activate gives the dialog (its parameter is the page).
  static INT_PTR DialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
};
