#include "platform/CpuFeatures.h"

#include <atomic>

namespace qorv {

namespace {

CpuFeatures detect() {
  CpuFeatures f;
#if defined(__x86_64__) && defined(__GNUC__)
  __builtin_cpu_init();
  f.avx2 = __builtin_cpu_supports("avx2");
  f.fma = __builtin_cpu_supports("fma");
#endif
  return f;
}

std::atomic<bool>& forcedGeneric() {
  static std::atomic<bool> forced{false};
  return forced;
}

}  // namespace

CpuFeatures cpuFeatures() {
  static const CpuFeatures detected = detect();
  if (forcedGeneric().load(std::memory_order_relaxed)) return CpuFeatures{};
  return detected;
}

void forceGenericPaths(bool generic) { forcedGeneric().store(generic, std::memory_order_relaxed); }

}  // namespace qorv
