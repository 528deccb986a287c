// The property frame's window, its three buttons and its restore point.
#include "platform/ui/property_frame.h"

#include "platform/com/persist.h"

namespace {
const QxDialogItem kButtons[] = {
    {u"BUTTON", IDOK, u"OK", 0, 0, 50, 14, BS_DEFPUSHBUTTON | WS_TABSTOP | WS_GROUP},
    {u"BUTTON", IDCANCEL, u"Cancel", 0, 0, 50, 14, BS_PUSHBUTTON | WS_TABSTOP},
    {u"BUTTON", QX_FRAME_APPLY, u"&Apply", 0, 0, 50, 14, BS_PUSHBUTTON | WS_TABSTOP},
};
// A window of its own (not a popup), so that it has a title and the window manager's frame.
const QxDialogTemplate kFrame{WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU, WS_EX_CONTROLPARENT, 0, 0, 100, 40, u"",
                              kButtons, 3};

// Dialog units to pixels along one axis.
int Du(int units, bool vertical) {
  RECT r{0, 0, units, units};
  MapDialogRect(nullptr, &r);
  return vertical ? r.bottom : r.right;
}
}  // namespace

HRESULT CQxPropertyFrame::Site::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (riid == IID_IUnknown || riid == IID_IPropertyPageSite) {
    *ppv = static_cast<IPropertyPageSite*>(this);
    return S_OK;
  }
  *ppv = nullptr;
  return E_NOINTERFACE;
}

HRESULT CQxPropertyFrame::Site::GetLocaleID(DWORD* lcid) {
  if (!lcid) return E_POINTER;
  *lcid = 0x409;
  return S_OK;
}

HRESULT CQxPropertyFrame::Site::GetPageContainer(IUnknown** container) {
  if (container) *container = nullptr;
  return E_NOTIMPL;
}

CQxPropertyFrame* CQxPropertyFrame::Open(IPropertyPage* page, IUnknown* object, const WCHAR* caption,
                                         bool buttons, HRESULT* hr) {
  HRESULT local;
  if (!hr) hr = &local;
  if (!page || !object) {
    *hr = E_POINTER;
    return nullptr;
  }
  PROPPAGEINFO info{};
  *hr = page->GetPageInfo(&info);
  if (FAILED(*hr)) return nullptr;
  auto* f = new CQxPropertyFrame;
  f->page_ = page;
  f->object_ = object;
  page->AddRef();
  object->AddRef();
  // The title goes in with the template: a display takes the window's name when it is made.
  f->caption_ = caption ? caption : info.pszTitle ? info.pszTitle : u"";
  QxDialogTemplate t = kFrame;
  t.title = f->caption_.c_str();
  if (!buttons) t.count = 0;
  f->window_ = CreateDialogIndirectParamW(nullptr, &t, nullptr, FrameProc, reinterpret_cast<LPARAM>(f));
  const int margin = Du(7, false), gap = Du(4, false), bw = Du(50, false), bh = Du(14, true);
  const int rowH = buttons ? bh + 2 * Du(7, true) : 0;
  const SIZE size = info.size;
  if (f->window_) {
    MoveWindow(f->window_, 0, 0, size.cx, size.cy + rowH, FALSE);
    int x = size.cx - margin - bw, y = size.cy + Du(7, true);
    for (int id : {QX_FRAME_APPLY, IDCANCEL, IDOK}) {
      if (HWND b = GetDlgItem(f->window_, id)) MoveWindow(b, x, y, bw, bh, FALSE);
      x -= bw + gap;
    }
  }
  CoTaskMemFree(info.pszTitle);
  CoTaskMemFree(info.pszDocString);
  CoTaskMemFree(info.pszHelpFile);
  if (!f->window_) {
    *hr = E_OUTOFMEMORY;
    delete f;
    return nullptr;
  }
  f->SaveRestorePoint();
  IUnknown* objects[] = {object};
  RECT pageRect{0, 0, size.cx, size.cy};
  if (FAILED(*hr = page->SetPageSite(&f->site_)) || FAILED(*hr = page->SetObjects(1, objects)) ||
      FAILED(*hr = page->Activate(f->window_, &pageRect, TRUE))) {
    page->SetObjects(0, nullptr);
    page->SetPageSite(nullptr);
    delete f;
    return nullptr;
  }
  // The page comes first in the tab order, the buttons after it.
  SetWindowPos(f->PageWindow(), nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
  ShowWindow(f->window_, SW_SHOW);
  return f;
}

CQxPropertyFrame::~CQxPropertyFrame() {
  if (page_) {
    page_->Deactivate();
    page_->SetObjects(0, nullptr);
    page_->SetPageSite(nullptr);
    page_->Release();
  }
  if (window_ && IsWindow(window_)) {
    SetWindowLongPtr(window_, DWLP_USER, 0);
    DestroyWindow(window_);
  }
  if (object_) object_->Release();
}

HWND CQxPropertyFrame::PageWindow() const {
  WCHAR cls[16];
  for (HWND c = GetWindow(window_, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    if (GetClassNameW(c, cls, 16) && cls[0] == u'#') return c;
  return nullptr;
}

void CQxPropertyFrame::SaveRestorePoint() {
  ComPtr<IPersistStream> persist;
  hasRestore_ = false;
  if (FAILED(QueryTo(object_, IID_IPersistStream, persist))) return;
  ComPtr<CMemoryStream> stream(CMemoryStream::Create(), false);
  // Saving leaves the object's dirty flag as it was: the host has not stored anything.
  const bool dirty = persist->IsDirty() == S_OK;
  if (SUCCEEDED(persist->Save(stream.Get(), !dirty))) {
    restore_ = stream->Bytes();
    hasRestore_ = true;
  }
}

void CQxPropertyFrame::Ok() {
  page_->Apply();
  Finish(IDOK);
}

void CQxPropertyFrame::Cancel() {
  ComPtr<IPersistStream> persist;
  if (hasRestore_ && SUCCEEDED(QueryTo(object_, IID_IPersistStream, persist))) {
    ComPtr<CMemoryStream> stream(CMemoryStream::Create(restore_), false);
    persist->Load(stream.Get());
  }
  Finish(IDCANCEL);
}

void CQxPropertyFrame::Apply() {
  page_->Apply();
  SaveRestorePoint();
}

void CQxPropertyFrame::Finish(int result) {
  if (!result_) result_ = result;
}

int CQxPropertyFrame::Run() {
  MSG m;
  while (!result_ && IsWindow(window_)) {
    if (GetMessage(&m, nullptr, 0, 0) <= 0) break;
    if (!IsDialogMessage(window_, &m)) {
      TranslateMessage(&m);
      DispatchMessage(&m);
    }
  }
  if (!result_) Cancel();
  return result_;
}

INT_PTR CQxPropertyFrame::FrameProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_INITDIALOG) {
    SetWindowLongPtr(hwnd, DWLP_USER, lParam);
    return TRUE;
  }
  auto* f = reinterpret_cast<CQxPropertyFrame*>(GetWindowLongPtr(hwnd, DWLP_USER));
  if (!f || msg != WM_COMMAND || HIWORD(wParam) != BN_CLICKED) return FALSE;
  switch (LOWORD(wParam)) {
    case IDOK: f->Ok(); return TRUE;
    case IDCANCEL: f->Cancel(); return TRUE;
    case QX_FRAME_APPLY: f->Apply(); return TRUE;
  }
  return FALSE;
}
