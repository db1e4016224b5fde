#include "processing/cImageProcessDIB.h"

namespace qorv {

cImageProcessDIB::cImageProcessDIB() = default;
cImageProcessDIB::~cImageProcessDIB() = default;

}  // namespace qorv
