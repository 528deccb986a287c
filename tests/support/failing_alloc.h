// Nothrow array new that fails on demand, for the binaries that test running out of memory. It
// replaces the global operator, so one source file of a binary includes it, no more.
#pragma once
#include <cstddef>
#include <new>

// Nothrow array allocations to let through before failing: -1 never fails, 0 fails every one.
inline int g_failAfter = -1;

// The allocation itself goes through the ordinary array new, so deletes still match.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (g_failAfter == 0) return nullptr;
  if (g_failAfter > 0) --g_failAfter;
  try {
    return ::operator new[](size);
  } catch (...) {
    return nullptr;
  }
}
