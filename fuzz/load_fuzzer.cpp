// Fuzz target for the load path: the bytes become a file (a memfd) that goes
// through detection, the header checks and the library's decode exactly as a
// load does, here in-process so the sanitizers see every fault. Each input is
// tried both as detected and with every listed format forced, since a file's
// extension can force any reader onto any content.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include "imageio/DecodeCore.h"
#include "imageio/UniqueFd.h"

#include <FreeImage.h>

using namespace qorv::imageio;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = [] {
    FreeImage_Initialise(FALSE);
    return true;
  }();
  (void)started;
  if (size < 2) return 0;
  UniqueFd fd(::memfd_create("fuzz", MFD_CLOEXEC));
  // The first byte picks the reader (or detection); the rest is the file.
  if (!fd || ::write(fd.get(), data + 1, size - 1) != static_cast<ssize_t>(size - 1)) return 0;
  DecodeRequest request;
  request.forceType = data[0] % (LastListedFormat + 2) - 1;  // -1 (detect) .. FIF_CUT
  request.maxPixels = 4 << 20;  // keep a single input cheap
  request.autoRotate = true;
  Decoded d = DecodeOpenFile(fd.get(), request, [&](std::int32_t fif, std::int32_t flags) {
    return LoadOpenFile(fd.get(), fif, flags);
  });
  (void)d;
  return 0;
}
