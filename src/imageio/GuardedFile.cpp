#include "imageio/GuardedFile.h"

#include <unistd.h>

namespace qorv::imageio {

GuardedFile::GuardedFile(int fd) {
  io_ = FreeImageIO{&GuardedFile::read, &GuardedFile::write, &GuardedFile::seek, &GuardedFile::tell};
  // A duplicate, so closing the stream leaves the caller's descriptor open.
  const int own = fd >= 0 ? ::dup(fd) : -1;
  if (own < 0) return;
  fp_ = ::fdopen(own, "rb");
  if (!fp_) {
    ::close(own);
    return;
  }
  std::rewind(fp_);
}

GuardedFile::~GuardedFile() {
  if (fp_) std::fclose(fp_);
}

unsigned DLL_CALLCONV GuardedFile::read(void* buffer, unsigned size, unsigned count, fi_handle handle) {
  auto* f = static_cast<GuardedFile*>(handle);
  const std::size_t want = static_cast<std::size_t>(size) * count;
  if (want == 0) return 0;
  const std::size_t got = std::fread(buffer, 1, want, f->fp_);
  if (got < want) f->shortRead_ = true;
  if (got == 0) {
    f->emptyRead_ = true;
    if (++f->emptyInARow_ >= EmptyReadsBeforeStop) throw ReadPastEndMessage;
  } else {
    f->emptyInARow_ = 0;
  }
  return static_cast<unsigned>(got / size);
}

unsigned DLL_CALLCONV GuardedFile::write(void*, unsigned, unsigned, fi_handle) { return 0; }

int DLL_CALLCONV GuardedFile::seek(fi_handle handle, long offset, int origin) {
  return std::fseek(static_cast<GuardedFile*>(handle)->fp_, offset, origin);
}

long DLL_CALLCONV GuardedFile::tell(fi_handle handle) { return std::ftell(static_cast<GuardedFile*>(handle)->fp_); }

}  // namespace qorv::imageio
