// What the decoder helper may do once it runs: a cap on its address space and
// a system-call filter that leaves only what decoding an already-open file
// needs. No file can be opened, no process started, no socket made.
#pragma once

#include <cstdint>

namespace qorv::decoder {

// Caps the address space at `bytes` (0: no cap). False when the cap could not be set.
bool LimitAddressSpace(std::uint64_t bytes);
// Lets this decode use `seconds` more CPU time; past that the kernel stops
// the helper.
void AllowCpuSeconds(int seconds);
// Installs the filter; irreversible. False when the kernel refused it.
bool EnterSandbox();

}  // namespace qorv::decoder
