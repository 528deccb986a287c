// Processor feature query: which instruction-set families the running processor offers, as bits
// that a user or a test can mask through an environment variable, and the denormal control word.
#pragma once
#include <cstdint>

// Feature bits. The 0xFF0 group is the vector families that engines choose their forms by.
inline constexpr uint32_t QX_CPU_CPUID = 0x0001;  // the processor answers the identification query
inline constexpr uint32_t QX_CPU_FPU = 0x0002;
inline constexpr uint32_t QX_CPU_TSC = 0x0004;
inline constexpr uint32_t QX_CPU_CMOV = 0x0008;
inline constexpr uint32_t QX_CPU_MMX = 0x0010;
inline constexpr uint32_t QX_CPU_SSE = 0x0020;
inline constexpr uint32_t QX_CPU_SSE2 = 0x0040;   // double-precision vectors, flush-to-zero and DAZ
inline constexpr uint32_t QX_CPU_SSE3 = 0x0080;
inline constexpr uint32_t QX_CPU_SSSE3 = 0x0100;
inline constexpr uint32_t QX_CPU_SSE41 = 0x0200;
inline constexpr uint32_t QX_CPU_SSE42 = 0x0400;
inline constexpr uint32_t QX_CPU_AVX = 0x0800;    // only when the system saves the wide registers
inline constexpr uint32_t QX_CPU_AVX2 = 0x1000;
inline constexpr uint32_t QX_CPU_FMA = 0x2000;

// Environment variable holding a mask (decimal, or hex with 0x) ANDed with the detected bits, so
// a user or a test can hide features: QX_CPU_MASK=0 forces every plain form.
inline constexpr char QX_CPU_MASK_ENV[] = "QX_CPU_MASK";

// The detected features within `mask`, less any hidden by the environment mask. Detection runs
// once; the environment is read at every call.
uint32_t QxGetCPUSupport(uint32_t mask);

// Sets flush-to-zero and denormals-are-zero (0x8040) in the calling thread's floating-point
// control word and leaves them set. Does nothing on processors without that word.
void QxCpu_SetFlushDenormals();
// True when both bits are set in the calling thread's control word.
bool QxCpu_FlushDenormalsOn();
