// Processor feature detection through the identification instruction, the environment mask over
// it, and the floating-point control word's denormal bits.
#include "kernel/services/qx_cpu.h"

#include <cstdlib>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <xmmintrin.h>
#define QX_CPU_X86 1
#endif

namespace {
constexpr unsigned kMxcsrFlushDenormals = 0x8040;  // FTZ (bit 15) | DAZ (bit 6)

uint32_t Detect() {
  uint32_t bits = 0;
#ifdef QX_CPU_X86
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return 0;
  bits |= QX_CPU_CPUID;
  if (d & (1u << 0)) bits |= QX_CPU_FPU;
  if (d & (1u << 4)) bits |= QX_CPU_TSC;
  if (d & (1u << 15)) bits |= QX_CPU_CMOV;
  if (d & (1u << 23)) bits |= QX_CPU_MMX;
  if (d & (1u << 25)) bits |= QX_CPU_SSE;
  if (d & (1u << 26)) bits |= QX_CPU_SSE2;
  if (c & (1u << 0)) bits |= QX_CPU_SSE3;
  if (c & (1u << 9)) bits |= QX_CPU_SSSE3;
  if (c & (1u << 19)) bits |= QX_CPU_SSE41;
  if (c & (1u << 20)) bits |= QX_CPU_SSE42;
  // The wide registers are usable only when the system saves them: OSXSAVE and XCR0 bits 1, 2.
  const bool osSaves = (c & (1u << 27)) != 0;
  bool ymm = false;
  if (osSaves) {
    unsigned lo, hi;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    ymm = (lo & 0x6u) == 0x6u;
  }
  if (ymm && (c & (1u << 28))) bits |= QX_CPU_AVX;
  if (ymm && (c & (1u << 12))) bits |= QX_CPU_FMA;
  unsigned a7, b7, c7, d7;
  if (ymm && __get_cpuid_count(7, 0, &a7, &b7, &c7, &d7) && (b7 & (1u << 5))) bits |= QX_CPU_AVX2;
#endif
  return bits;
}

uint32_t EnvironmentMask() {
  const char* text = std::getenv(QX_CPU_MASK_ENV);
  if (!text || !*text) return 0xFFFFFFFFu;
  char* end = nullptr;
  const unsigned long v = std::strtoul(text, &end, 0);
  if (*end) return 0xFFFFFFFFu;  // not a number: ignored rather than hiding everything
  return static_cast<uint32_t>(v);
}
}  // namespace

uint32_t QxGetCPUSupport(uint32_t mask) {
  static const uint32_t detected = Detect();
  return detected & mask & EnvironmentMask();
}

void QxCpu_SetFlushDenormals() {
#ifdef QX_CPU_X86
  _mm_setcsr(_mm_getcsr() | kMxcsrFlushDenormals);
#endif
}

bool QxCpu_FlushDenormalsOn() {
#ifdef QX_CPU_X86
  return (_mm_getcsr() & kMxcsrFlushDenormals) == kMxcsrFlushDenormals;
#else
  return false;
#endif
}
