// The filter engine: convolution kernels, rank filters and the per-pixel
// operations on cDIBSection working images. It reports progress through three
// notifications that the control re-raises as its own events.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace qorv {

class cDIBSection;

class cImageProcessDIB {
 public:
  cImageProcessDIB();
  ~cImageProcessDIB();
  cImageProcessDIB(const cImageProcessDIB&) = delete;
  cImageProcessDIB& operator=(const cImageProcessDIB&) = delete;

  // Notifications: raised synchronously from inside the loops.
  std::function<void(std::int32_t lMax, const std::string& lDescription)> InitProgress;
  std::function<void(std::int32_t lPosition, const std::string& lDescription)> Progress;
  std::function<void(std::int32_t lTimeMs, const std::string& lDescription)> Complete;

  // (Filters and pixel operations are declared by the processing layer below.)
};

}  // namespace qorv
