// The decoder helper: runs the image library on files the control hands it,
// one at a time, and answers with the pixels in a sealed memory file. It is
// started by the control and kept between loads; whatever a hostile file does
// to the library happens here, where the control sees only a dead helper.
//
//   qorv-decode ADDRESS_SPACE_BYTES      (the socket is descriptor 3)
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "decoder/Sandbox.h"
#include "imageio/DecodeCore.h"
#include "imageio/DecodeProtocol.h"
#include "platform/PixelRow.h"

#include <FreeImage.h>

namespace {

using namespace qorv::imageio;

DecodeWireReply* currentReply = nullptr;

void setMessage(DecodeWireReply& reply, const char* text) {
  std::snprintf(reply.message, sizeof reply.message, "%s", text ? text : "");
}

void libraryMessage(FREE_IMAGE_FORMAT, const char* message) {
  if (currentReply) setMessage(*currentReply, message);
}

// Misbehaviour on request, for the control's tests. True when the decode is
// to end here, as a decoder that ran out of memory ends.
bool misbehave(DecoderTestAction action, DecodeWireReply& reply) {
  switch (action) {
    case DecoderTestAction::Crash:
      std::raise(SIGSEGV);
      return true;
    case DecoderTestAction::Hang:
      for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
    case DecoderTestAction::Allocate: {
      // Address space, not touched memory: the limit is what is tested.
      std::vector<std::unique_ptr<char[]>> hoard;
      try {
        for (;;) hoard.emplace_back(new char[std::size_t{64} << 20]);
      } catch (const std::bad_alloc&) {
        setMessage(reply, "out of memory: the decoder's address-space limit was reached");
      }
      return true;
    }
    case DecoderTestAction::Escape:
      if (::open("/etc/hostname", O_RDONLY) >= 0) setMessage(reply, "the sandbox let a file be opened");
      return true;
    case DecoderTestAction::None:
    case DecoderTestAction::ShortPixels:  // decodes, then misbehaves in the hand-over
      break;
  }
  return false;
}

// The hand-over memory: ONE memory file the helper keeps for its life, with
// a shared mapping it converts each picture's rows into. Reusing it spares
// every load the kernel's filling, mapping and freeing of fresh pages. It grows
// when a larger picture comes and never shrinks while it lives; the seal
// against shrinking keeps whoever holds a descriptor of it from having the
// file cut under a mapping. The control never maps it as a picture (the
// helper writes it again on the next load): it copies the pixels out.
class Staging {
 public:
  // Writable memory for `bytes` of pixels at the start of the file, or null.
  unsigned char* reserve(std::size_t bytes) {
    if (!fd_) {
      fd_.reset(::memfd_create("qorv-pixels", MFD_CLOEXEC | MFD_ALLOW_SEALING));
      if (!fd_ || ::fcntl(fd_.get(), F_ADD_SEALS, F_SEAL_SHRINK) != 0) {
        drop();
        return nullptr;
      }
    }
    if (bytes > capacity_) {
      // Whole mebibytes, so that a series of slightly larger pictures does
      // not remap on every load.
      const std::size_t grown = (bytes + kGrain - 1) / kGrain * kGrain;
      // The old mapping goes first: old and new at once might not fit the
      // address-space limit. The file's pages stay, only the tail is new.
      unmap();
      if (::ftruncate(fd_.get(), static_cast<off_t>(grown)) != 0) {
        drop();
        return nullptr;
      }
      void* p = ::mmap(nullptr, grown, PROT_READ | PROT_WRITE, MAP_SHARED, fd_.get(), 0);
      if (p == MAP_FAILED) {
        drop();
        return nullptr;
      }
      map_ = static_cast<unsigned char*>(p);
      capacity_ = grown;
    }
    return map_;
  }
  int fd() const { return fd_.get(); }
  // Gives the memory back to the system (the control holds no descriptor of
  // it once it has copied a picture out).
  void drop() {
    unmap();
    fd_.reset();
  }

 private:
  static constexpr std::size_t kGrain = std::size_t{1} << 20;
  void unmap() {
    if (map_) ::munmap(map_, capacity_);
    map_ = nullptr;
    capacity_ = 0;
  }
  UniqueFd fd_;
  unsigned char* map_ = nullptr;
  std::size_t capacity_ = 0;
};

Staging staging;

// The picture as 32-bit top-down rows at the start of the staging memory;
// false on failure. Plain 24- and 32-bit pictures (nearly every photo) are
// converted straight from the library's rows; other layouts are converted by
// the library first.
bool stagePixels(FIBITMAP* dib, DecodeWireReply& reply) {
  DibPtr converted;
  const unsigned bpp = FreeImage_GetBPP(dib);
  const bool direct = FreeImage_GetImageType(dib) == FIT_BITMAP && (bpp == 24 || bpp == 32) &&
                      FreeImage_GetInfoHeader(dib)->biCompression == 0;
  if (!direct) {
    converted.reset(FreeImage_ConvertTo32Bits(dib));
    if (!converted) return false;
    dib = converted.get();
  }
  const unsigned w = FreeImage_GetWidth(dib);
  const unsigned h = FreeImage_GetHeight(dib);
  const std::size_t stride = static_cast<std::size_t>(w) * 4;
  unsigned char* out = staging.reserve(stride * h);
  if (!out) return false;
  const unsigned pitch = FreeImage_GetPitch(dib);
  const BYTE* bits = FreeImage_GetBits(dib);
  const std::int32_t from = FreeImage_GetBPP(dib) == 24 ? 3 : 4;
  // 32-bit rows keep their fourth byte where it carries the alpha handed over;
  // otherwise it is cleared, as every device bitmap holds it.
  const bool keepX = from == 4 && reply.hasAlpha != 0;
  // The rows are streamed past the cache: the control reads them next, from
  // another process and core, and a picture's worth would only evict the
  // helper's cache for nothing.
  for (unsigned y = 0; y < h; ++y) {
    const BYTE* src = bits + static_cast<std::size_t>(h - 1 - y) * pitch;  // library rows run bottom-up
    unsigned char* row = out + y * stride;
    if (keepX) std::memcpy(row, src, stride);
    else qorv::copyPixelRow(src, from, row, 4, static_cast<std::int32_t>(w), true);
  }
  reply.width = static_cast<std::int32_t>(w);
  reply.height = static_cast<std::int32_t>(h);
  return true;
}

// For the control's tests: a memory file holding half of what the reply
// announces, as a hostile helper might send.
UniqueFd shortPixels(const DecodeWireReply& reply) {
  const auto half = static_cast<off_t>(std::int64_t{reply.width} * reply.height * 2);
  UniqueFd mem(::memfd_create("qorv-short", MFD_CLOEXEC));
  if (mem && ::ftruncate(mem.get(), half) != 0) mem.reset();
  return mem;
}

void serve(const DecodeWireRequest& request, int file, DecodeWireReply& reply) {
  if (misbehave(request.testAction, reply)) {
    SendDatagram(DecoderSocketFd, &reply, sizeof reply, -1);
    return;
  }
  qorv::decoder::AllowCpuSeconds(request.cpuSeconds);
  DecodeRequest d;
  d.forceType = request.forceType;
  d.extensionFif = request.extensionFif;
  d.jpegFlags = request.jpegFlags;
  d.maxPixels = request.maxPixels;
  d.allowUnlisted = request.allowUnlisted != 0;
  d.autoRotate = request.autoRotate != 0;
  d.keepAlpha = request.keepAlpha != 0;
  Decoded decoded;
  try {
    decoded = DecodeOpenFile(file, d, [file](std::int32_t fif, std::int32_t flags) {
      return LoadOpenFile(file, fif, flags);
    });
  } catch (const std::bad_alloc&) {
    setMessage(reply, "out of memory: the decoder's address-space limit was reached");
  } catch (...) {
  }
  reply.status = decoded.status;
  reply.fif = decoded.fif;
  reply.bitsPerPixel = decoded.bitsPerPixel;
  reply.hasAlpha = decoded.hasAlpha ? 1 : 0;
  bool staged = false;
  if (decoded.status == DecodeStatus::Ok) {
    staged = stagePixels(decoded.dib.get(), reply);
    if (!staged) {
      reply.status = DecodeStatus::Failed;
      if (!reply.message[0]) setMessage(reply, "the decoder could not hand the pixels over");
    }
  }
  decoded.dib.reset();
  UniqueFd cut;
  if (staged && request.testAction == DecoderTestAction::ShortPixels) cut = shortPixels(reply);
  SendDatagram(DecoderSocketFd, &reply, sizeof reply, cut ? cut.get() : staged ? staging.fd() : -1);
}

// How long the helper keeps its memory after a load. Between loads it holds
// the staging memory (4 bytes a pixel of the largest picture since it last
// let go) and the freed heap the library used (its bitmap and the decoders'
// buffers); a viewer stepping through a folder reuses both, while a host that
// loaded one picture gets them back this long after.
constexpr int kIdleReleaseMs = 10000;

// Waits for the control's next request; gives the memory back once the
// control has been quiet for kIdleReleaseMs. False when the channel broke.
bool awaitRequest() {
  pollfd p{DecoderSocketFd, POLLIN, 0};
  int timeout = kIdleReleaseMs;
  for (;;) {
    const int ready = ::poll(&p, 1, timeout);
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
    if (ready == 0 && timeout >= 0) {
      staging.drop();
      ::malloc_trim(0);
      timeout = -1;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  FreeImage_Initialise(FALSE);
  FreeImage_SetOutputMessage(&libraryMessage);
  // Freed memory stays in the helper's heap for the next load instead of
  // going back to the system and being faulted in afresh (the library's
  // bitmap alone is 3 bytes a pixel); awaitRequest bounds how long. Set here,
  // never in the control: a library must not change its host's allocator.
  ::mallopt(M_MMAP_MAX, 0);
  ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
  const std::uint64_t addressSpace = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 0;
  if (!qorv::decoder::LimitAddressSpace(addressSpace) || !qorv::decoder::EnterSandbox()) {
    std::fprintf(stderr, "qorv-decode: cannot confine the decoder\n");
    return 3;
  }
  for (;;) {
    DecodeWireRequest request;
    UniqueFd file;
    // The control has gone when the channel ends.
    if (!awaitRequest() || !ReceiveDatagram(DecoderSocketFd, &request, sizeof request, file)) return 0;
    DecodeWireReply reply;
    currentReply = &reply;
    if (request.magic == DecodeProtocolMagic && file) {
      serve(request, file.get(), reply);
    } else {
      setMessage(reply, "malformed request");
      SendDatagram(DecoderSocketFd, &reply, sizeof reply, -1);
    }
    currentReply = nullptr;
  }
}
