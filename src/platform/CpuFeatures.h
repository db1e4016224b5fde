// The processor extensions the pixel loops have faster paths for, detected once
// per process. Every fast path has a generic twin that gives the same bytes;
// tests and benchmarks can hide the extensions to run those twins.
#pragma once

namespace qorv {

struct CpuFeatures {
  bool avx2 = false;
  bool fma = false;
};

// What this processor offers (nothing while generic paths are forced). The
// detection runs on the first call; later calls only read the result.
CpuFeatures cpuFeatures();

// Process-wide: true makes cpuFeatures() report no extension, so that every
// caller takes its generic path from its next call on; false undoes it.
void forceGenericPaths(bool generic);

}  // namespace qorv
