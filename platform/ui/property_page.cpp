// CBasePropertyPage: the connection, activation and apply rules every dialog-backed page shares.
#include "platform/ui/property_page.h"

#include <cstring>

namespace {
WCHAR* TaskCopy(const WCHAR* text) {
  size_t n = 0;
  while (text[n]) ++n;
  auto* out = static_cast<WCHAR*>(CoTaskMemAlloc((n + 1) * sizeof(WCHAR)));
  if (out) std::memcpy(out, text, (n + 1) * sizeof(WCHAR));
  return out;
}
}  // namespace

CBasePropertyPage::CBasePropertyPage(const char* name, LPUNKNOWN outer, HINSTANCE module, int dialogId, int titleId)
    : CUnknown(name, outer), m_module(module), m_dialogId(dialogId), m_titleId(titleId) {}

CBasePropertyPage::~CBasePropertyPage() {
  if (m_pPageSite) m_pPageSite->Release();
}

HRESULT CBasePropertyPage::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IPropertyPage) return GetInterface(static_cast<IPropertyPage*>(this), ppv);
  return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBasePropertyPage::SetPageSite(IPropertyPageSite* site) {
  if (site) {
    if (m_pPageSite) return E_UNEXPECTED;
    m_pPageSite = site;
    site->AddRef();
  } else {
    if (!m_pPageSite) return E_UNEXPECTED;
    m_pPageSite->Release();
    m_pPageSite = nullptr;
  }
  return S_OK;
}

HRESULT CBasePropertyPage::GetPageInfo(PROPPAGEINFO* info) {
  if (!info) return E_POINTER;
  const QxDialogTemplate* t = QxUi_FindDialogTemplate(m_module, MAKEINTRESOURCEW(m_dialogId));
  if (!t) return E_FAIL;
  *info = PROPPAGEINFO{};
  info->cb = sizeof(PROPPAGEINFO);
  info->pszTitle = TaskCopy(t->title ? t->title : u"");
  if (!info->pszTitle) return E_OUTOFMEMORY;
  info->size = QxUi_DialogPixelSize(t);
  return S_OK;
}

HRESULT CBasePropertyPage::SetObjects(ULONG count, IUnknown** objects) {
  if (count == 1) {
    if (!objects || !objects[0]) return E_POINTER;
    m_bObjectSet = true;
    return OnConnect(objects[0]);
  }
  if (count == 0) {
    m_bObjectSet = false;
    return OnDisconnect();
  }
  return E_UNEXPECTED;
}

HRESULT CBasePropertyPage::Activate(HWND parent, const RECT* rect, BOOL) {
  if (!rect) return E_POINTER;
  if (m_hwnd) return E_UNEXPECTED;
  m_hwnd = CreateDialogParamW(m_module, MAKEINTRESOURCEW(m_dialogId), parent, DialogProc,
                              reinterpret_cast<LPARAM>(this));
  if (!m_hwnd) return E_OUTOFMEMORY;
  SetWindowLong(m_hwnd, GWL_EXSTYLE, GetWindowLong(m_hwnd, GWL_EXSTYLE) | WS_EX_CONTROLPARENT);
  OnActivate();
  Move(rect);
  return Show(SW_SHOWNORMAL);
}

HRESULT CBasePropertyPage::Deactivate() {
  if (!m_hwnd) return E_UNEXPECTED;
  SetWindowLong(m_hwnd, GWL_EXSTYLE, GetWindowLong(m_hwnd, GWL_EXSTYLE) & ~WS_EX_CONTROLPARENT);
  OnDeactivate();
  HWND w = m_hwnd;
  m_hwnd = nullptr;
  DestroyWindow(w);
  return S_OK;
}

HRESULT CBasePropertyPage::Show(UINT cmdShow) {
  if (!m_hwnd) return E_UNEXPECTED;
  if (cmdShow != SW_SHOW && cmdShow != SW_SHOWNORMAL && cmdShow != SW_HIDE) return E_INVALIDARG;
  ShowWindow(m_hwnd, static_cast<int>(cmdShow));
  InvalidateRect(m_hwnd, nullptr, TRUE);
  return S_OK;
}

HRESULT CBasePropertyPage::Move(const RECT* rect) {
  if (!rect) return E_POINTER;
  if (!m_hwnd) return E_UNEXPECTED;
  MoveWindow(m_hwnd, rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top, TRUE);
  return S_OK;
}

HRESULT CBasePropertyPage::Apply() {
  if (!m_bObjectSet || !m_pPageSite) return E_UNEXPECTED;
  if (!m_bDirty) return S_OK;
  HRESULT hr = OnApplyChanges();
  if (SUCCEEDED(hr)) m_bDirty = false;
  return hr;
}

void CBasePropertyPage::SetDirty() {
  m_bDirty = true;
  if (m_pPageSite) m_pPageSite->OnStatusChange(PROPPAGESTATUS_DIRTY);
}

INT_PTR CBasePropertyPage::OnReceiveMessage(HWND, UINT msg, WPARAM, LPARAM) { return msg == WM_INITDIALOG; }

INT_PTR CBasePropertyPage::DialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_INITDIALOG) {
    SetWindowLongPtr(hwnd, DWLP_USER, lParam);
    auto* page = reinterpret_cast<CBasePropertyPage*>(lParam);
    if (!page) return TRUE;
    page->m_hwnd = hwnd;  // the page's handlers see their window from the first message on
    return page->OnReceiveMessage(hwnd, msg, wParam, lParam);
  }
  auto* page = reinterpret_cast<CBasePropertyPage*>(GetWindowLongPtr(hwnd, DWLP_USER));
  return page ? page->OnReceiveMessage(hwnd, msg, wParam, lParam) : FALSE;
}
