// QxList: the kernel's ordered list of fixed-size items, addressed by index. Operations report
// failure by status instead of throwing, so callers on the audio path can stop cleanly.
#pragma once
#include <cstdint>
#include <new>
#include <vector>

#include "platform/com/hresult.h"

template <class T>
class QxList {
 public:
  uint32_t Count() const { return static_cast<uint32_t>(items_.size()); }
  bool Empty() const { return items_.empty(); }
  T& At(uint32_t index) { return items_[index]; }
  const T& At(uint32_t index) const { return items_[index]; }

  // Inserts before `index` (Count() appends).
  HRESULT Insert(uint32_t index, const T& item) {
    if (index > Count()) return E_INVALIDARG;
    try {
      items_.insert(items_.begin() + index, item);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }
  HRESULT Delete(uint32_t index) {
    if (index >= Count()) return E_INVALIDARG;
    items_.erase(items_.begin() + index);
    return S_OK;
  }
  void Clear() { items_.clear(); }

 private:
  std::vector<T> items_;
};
