// The page door: GetPages, the class table's page, the frame, and the picture or the JSON; and the
// page embedded in a host's window.
#include "aplugins/qxppack1/module/page_frame.h"

#include <X11/Xlib.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "aplugins/qxppack1/frame/change_notifier.h"
#include "aplugins/qxppack1/module/class_table.h"
#include "aplugins/qxppack1/pages/page_base.h"
#include "kernel/controls/control_describe.h"
#include "platform/com/property_pages.h"
#include "platform/registry/utf.h"
#include "platform/ui/headless.h"
#include "platform/ui/property_frame.h"
#include "platform/ui/x11.h"

namespace {
HRESULT MakePage(IUnknown* object, ComPtr<IPropertyPage>* page) {
  ComPtr<ISpecifyPropertyPages> specify;
  if (FAILED(QueryTo(object, IID_ISpecifyPropertyPages, specify))) return E_NOINTERFACE;
  CAUUID pages{};
  HRESULT hr = specify->GetPages(&pages);
  if (FAILED(hr)) return hr;
  const CLSID clsid = pages.cElems ? pages.pElems[0] : GUID_NULL;
  CoTaskMemFree(pages.pElems);
  if (clsid == GUID_NULL) return E_NOINTERFACE;
  ComPtr<IClassFactory> factory;
  hr = DllGetClassObject(clsid, IID_IClassFactory, factory.PutVoid());
  if (FAILED(hr)) return hr;
  return factory->CreateInstance(nullptr, IID_IPropertyPage, page->PutVoid());
}

bool WriteText(const char* path, const std::string& text) {
  if (std::string(path) == "-") return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  FILE* f = std::fopen(path, "wb");
  if (!f) return false;
  const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
  return std::fclose(f) == 0 && ok;
}
}  // namespace

extern "C" HRESULT QxShowPropertyFrame(QxPropertyFrameRequest* request) {
  if (!request || !request->object) return E_POINTER;
  ComPtr<IPropertyPage> page;
  HRESULT hr = MakePage(request->object, &page);
  if (FAILED(hr)) return hr;
  auto* display = static_cast<Display*>(request->display);
  // The display is opened here rather than by the host, so that a host that only processes audio
  // never maps the X library.
  const bool own = !display && request->openDisplay;
  if (own && !(display = XOpenDisplay(nullptr))) return E_HANDLE;
  if (display) {
    QxX11_SetThreadDisplay(display);
    CQxPropertyFrame* frame = CQxPropertyFrame::Open(page.Get(), request->object, request->caption, true, &hr);
    if (frame) {
      request->result = frame->Run();
      delete frame;
    }
    QxX11_SetThreadDisplay(nullptr);
    if (own) XCloseDisplay(display);
    return hr;
  }
  QxHeadless_UseVirtualClock();
  // The picture is of the page alone, without the frame's buttons.
  CQxPropertyFrame* frame = CQxPropertyFrame::Open(page.Get(), request->object, request->caption, false, &hr);
  if (!frame) return hr;
  QxHeadless_Pump();
  if (request->pngPath && !QxHeadless_SavePng(frame->Window(), request->pngPath)) hr = E_FAIL;
  if (request->jsonPath) {
    PROPPAGEINFO info{};
    page->GetPageInfo(&info);
    const std::string title = QxUtf16ToUtf8(info.pszTitle ? info.pszTitle : u"");
    CoTaskMemFree(info.pszTitle);
    CoTaskMemFree(info.pszHelpFile);
    char size[64];
    std::snprintf(size, sizeof size, "[%ld, %ld]", static_cast<long>(info.size.cx), static_cast<long>(info.size.cy));
    const std::string json = "{\"title\": \"" + title + "\", \"size\": " + size +
                             ", \"controls\": " + QxDescribeControls(frame->PageWindow()) + "}\n";
    if (!WriteText(request->jsonPath, json)) hr = E_FAIL;
  }
  delete frame;
  return hr;
}

struct QxEmbeddedPage {
  ComPtr<IPropertyPage> page;
  HWND host = nullptr;    // stands for the host's X window
  HWND dialog = nullptr;  // the page's dialog inside it
};

extern "C" HRESULT QxOpenEmbeddedPage(IUnknown* object, void* display, unsigned long parent, QxEmbeddedPage** out,
                                      int* width, int* height, unsigned long* window) {
  if (!object || !display || !out || !width || !height || !window) return E_POINTER;
  auto embedded = std::make_unique<QxEmbeddedPage>();
  HRESULT hr = MakePage(object, &embedded->page);
  if (FAILED(hr)) return hr;
  IPropertyPage* page = embedded->page.Get();
  PROPPAGEINFO info{};
  if (FAILED(hr = page->SetObjects(1, &object)) || FAILED(hr = page->GetPageInfo(&info))) return hr;
  CoTaskMemFree(info.pszTitle);
  CoTaskMemFree(info.pszDocString);
  CoTaskMemFree(info.pszHelpFile);
  embedded->host = QxX11_WrapWindow(static_cast<Display*>(display), parent);
  const RECT rect{0, 0, info.size.cx, info.size.cy};
  if (!embedded->host || FAILED(hr = page->Activate(embedded->host, &rect, FALSE))) {
    page->SetObjects(0, nullptr);
    if (embedded->host) DestroyWindow(embedded->host);
    return FAILED(hr) ? hr : E_FAIL;
  }
  // Inside a host's window the dialog is a top-level of its own, known to its page alone.
  if (auto* base = dynamic_cast<CBasePropertyPage*>(page)) embedded->dialog = base->Window();
  *width = info.size.cx;
  *height = info.size.cy;
  *window = QxX11_WindowOf(embedded->dialog);
  if (!*window) *window = parent;
  *out = embedded.release();
  return S_OK;
}

extern "C" int QxPumpEmbeddedPage(QxEmbeddedPage* page) { return page ? QxUi_ProcessMessages() : 0; }

extern "C" void QxNotifyEmbeddedPage(QxEmbeddedPage* page) {
  if (page && page->dialog) PostMessage(page->dialog, WM_COMMAND, MAKEWPARAM(QX_PAGE_NOTIFY_ID, QX_CHANGE_ALL), 0);
}

extern "C" char* QxDescribeEmbeddedPage(QxEmbeddedPage* page) {
  return page && page->dialog ? strdup(QxDescribeControls(page->dialog).c_str()) : nullptr;
}

extern "C" void QxCloseEmbeddedPage(QxEmbeddedPage* page) {
  if (!page) return;
  page->page->Deactivate();
  page->page->SetObjects(0, nullptr);
  if (page->host) DestroyWindow(page->host);
  delete page;
}
