// An already-open file read through the image library's I/O callbacks, with
// two guards the plug-ins lack: it remembers whether a read came up short (some
// readers pad a truncated file silently), and it ends a decode whose reader
// keeps asking for bytes past the end of the file instead of feeding it
// nothing forever. Free of Qt: the decoder helper uses it too.
#pragma once

#include <cstdint>
#include <cstdio>

#include <FreeImage.h>

namespace qorv::imageio {

// Thrown from the read callback once a reader has asked this many times in a
// row at the end of the file. Plug-ins that catch their own text errors report
// it through the library's message callback and clean up; the rest unwind to
// the load call, which treats it as a failed load.
inline constexpr int EmptyReadsBeforeStop = 1024;
inline constexpr const char* ReadPastEndMessage = "read past the end of the file";

class GuardedFile {
 public:
  // Reads `fd` from its start; the descriptor stays the caller's.
  explicit GuardedFile(int fd);
  ~GuardedFile();
  GuardedFile(const GuardedFile&) = delete;
  GuardedFile& operator=(const GuardedFile&) = delete;

  bool valid() const { return fp_ != nullptr; }
  FreeImageIO* io() { return &io_; }
  fi_handle handle() { return this; }

  bool shortRead() const { return shortRead_; }  // fewer bytes than asked for
  bool emptyRead() const { return emptyRead_; }  // nothing at all, at the end

 private:
  static unsigned DLL_CALLCONV read(void* buffer, unsigned size, unsigned count, fi_handle handle);
  static unsigned DLL_CALLCONV write(void*, unsigned, unsigned, fi_handle);
  static int DLL_CALLCONV seek(fi_handle handle, long offset, int origin);
  static long DLL_CALLCONV tell(fi_handle handle);

  std::FILE* fp_ = nullptr;
  FreeImageIO io_{};
  bool shortRead_ = false;
  bool emptyRead_ = false;
  int emptyInARow_ = 0;
};

}  // namespace qorv::imageio
