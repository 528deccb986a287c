// ISpecifyPropertyPages and its counted array of class identifiers: how an object names the pages
// that edit it. Filters answer it without knowing anything of windows.
#pragma once
#include "platform/com/task_mem.h"
#include "platform/com/unknown.h"

inline constexpr IID IID_ISpecifyPropertyPages = MakeGuid("B196B28B-BAB4-101A-B69C-00AA00341D07");

// The caller frees pElems with CoTaskMemFree.
struct CAUUID {
  ULONG cElems;
  GUID* pElems;
};

struct ISpecifyPropertyPages : IUnknown {
  virtual HRESULT GetPages(CAUUID* pages) = 0;
};

// The common answer of an object with one page: that page's identifier in task memory.
inline HRESULT QxSpecifyOnePage(REFCLSID page, CAUUID* pages) {
  if (!pages) return E_POINTER;
  pages->cElems = 0;
  pages->pElems = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
  if (!pages->pElems) return E_OUTOFMEMORY;
  pages->pElems[0] = page;
  pages->cElems = 1;
  return S_OK;
}
