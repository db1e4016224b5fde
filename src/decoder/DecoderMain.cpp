// The decoder helper: runs the image library on files the control hands it,
// one at a time, and answers with the pixels in a sealed memory file. It is
// started by the control and kept between loads; whatever a hostile file does
// to the library happens here, where the control sees only a dead helper.
//
//   qorv-decode ADDRESS_SPACE_BYTES      (the socket is descriptor 3)
#include <fcntl.h>
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
      break;
  }
  return false;
}

// Writes all of `data` at the file's position; false on an error.
bool writeAll(int fd, const unsigned char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t put = ::write(fd, data, size);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    data += put;
    size -= static_cast<std::size_t>(put);
  }
  return true;
}

// The picture as 32-bit top-down rows in a sealed memory file; none on failure.
// Plain 24- and 32-bit pictures (nearly every photo) are written straight
// from the library's rows; other layouts are converted by the library first.
UniqueFd pixelsFile(FIBITMAP* dib, DecodeWireReply& reply) {
  DibPtr converted;
  const unsigned bpp = FreeImage_GetBPP(dib);
  const bool direct = FreeImage_GetImageType(dib) == FIT_BITMAP && (bpp == 24 || bpp == 32) &&
                      FreeImage_GetInfoHeader(dib)->biCompression == 0;
  if (!direct) {
    converted.reset(FreeImage_ConvertTo32Bits(dib));
    if (!converted) return UniqueFd();
    dib = converted.get();
  }
  const unsigned w = FreeImage_GetWidth(dib);
  const unsigned h = FreeImage_GetHeight(dib);
  const std::size_t stride = static_cast<std::size_t>(w) * 4;
  const std::size_t bytes = stride * h;
  UniqueFd mem(::memfd_create("qorv-pixels", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!mem || ::ftruncate(mem.get(), static_cast<off_t>(bytes)) != 0) return UniqueFd();
  // Rows are converted into a small buffer that stays in the cache and
  // written into the file from there: the system fills fresh pages straight
  // from it, where a mapping of the file would first zero every page, map it,
  // and unmap it again afterwards.
  const std::size_t rowsPerChunk = std::max<std::size_t>(1, (std::size_t{256} << 10) / stride);
  std::vector<unsigned char> chunk(rowsPerChunk * stride);
  const unsigned pitch = FreeImage_GetPitch(dib);
  const BYTE* bits = FreeImage_GetBits(dib);
  const std::int32_t from = FreeImage_GetBPP(dib) == 24 ? 3 : 4;
  // 32-bit rows keep their fourth byte where it carries the alpha handed over;
  // otherwise it is cleared, as every device bitmap holds it.
  const bool keepX = from == 4 && reply.hasAlpha != 0;
  for (unsigned y0 = 0; y0 < h; y0 += static_cast<unsigned>(rowsPerChunk)) {
    const unsigned rows = std::min<unsigned>(static_cast<unsigned>(rowsPerChunk), h - y0);
    for (unsigned r = 0; r < rows; ++r) {
      const unsigned y = y0 + r;
      const BYTE* src = bits + static_cast<std::size_t>(h - 1 - y) * pitch;  // library rows run bottom-up
      unsigned char* row = chunk.data() + r * stride;
      if (keepX) std::memcpy(row, src, stride);
      else qorv::copyPixelRow(src, from, row, 4, static_cast<std::int32_t>(w), false);
    }
    if (!writeAll(mem.get(), chunk.data(), rows * stride)) return UniqueFd();
  }
  // The control maps this memory: it must not shrink (a read past the new
  // end would kill the control) nor change under it.
  if (::fcntl(mem.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0)
    return UniqueFd();
  reply.width = static_cast<std::int32_t>(w);
  reply.height = static_cast<std::int32_t>(h);
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
  UniqueFd pixels;
  if (decoded.status == DecodeStatus::Ok) {
    pixels = pixelsFile(decoded.dib.get(), reply);
    if (!pixels) {
      reply.status = DecodeStatus::Failed;
      if (!reply.message[0]) setMessage(reply, "the decoder could not hand the pixels over");
    }
  }
  decoded.dib.reset();
  SendDatagram(DecoderSocketFd, &reply, sizeof reply, pixels.get());
}

}  // namespace

int main(int argc, char** argv) {
  FreeImage_Initialise(FALSE);
  FreeImage_SetOutputMessage(&libraryMessage);
  const std::uint64_t addressSpace = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 0;
  if (!qorv::decoder::LimitAddressSpace(addressSpace) || !qorv::decoder::EnterSandbox()) {
    std::fprintf(stderr, "qorv-decode: cannot confine the decoder\n");
    return 3;
  }
  for (;;) {
    DecodeWireRequest request;
    UniqueFd file;
    if (!ReceiveDatagram(DecoderSocketFd, &request, sizeof request, file)) return 0;  // the control has gone
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
