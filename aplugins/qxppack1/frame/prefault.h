// Maps the pages of a freshly allocated buffer in one call before the audio thread writes them:
// a page first touched inside a frame loop costs a fault each, many times the work done on it.
#pragma once
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

// MADV_POPULATE_WRITE is Linux 5.14's; where it is unknown the buffer simply faults in as it is used.
inline void QxPrefault(void* p, size_t bytes) {
#if defined(__linux__)
  if (!p || bytes == 0) return;
  constexpr int kPopulateWrite = 23;  // MADV_POPULATE_WRITE
  constexpr uintptr_t kPage = 4096;
  const uintptr_t begin = reinterpret_cast<uintptr_t>(p) & ~(kPage - 1);
  const uintptr_t end = reinterpret_cast<uintptr_t>(p) + bytes;
  // Touches only the caller's pages (and the allocation's own header page), writes nothing.
  (void)madvise(reinterpret_cast<void*>(begin), end - begin, kPopulateWrite);
#else
  (void)p;
  (void)bytes;
#endif
}
