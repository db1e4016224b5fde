// The messages between the control and its decoder helper, one datagram each
// way per load over a sequenced-packet socket, with the file's descriptor
// riding along the request and the helper's memory file holding the pixels
// along the reply.
// Free of Qt: both sides include it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imageio/DecodeCore.h"
#include "imageio/UniqueFd.h"

namespace qorv::imageio {

inline constexpr std::uint32_t DecodeProtocolMagic = 0x51504431;  // "QPD1"
// The helper finds its end of the socket here.
inline constexpr int DecoderSocketFd = 3;

// Ways to make the helper misbehave on purpose, so tests can prove the
// control survives a decoder that crashes, hangs or runs out of memory
// without relying on a library bug.
// Escape tries what an exploited decoder would: open a file. ShortPixels
// decodes, then hands over less memory than the reply announces.
enum class DecoderTestAction : std::int32_t {
  None = 0,
  Crash = 1,
  Hang = 2,
  Allocate = 3,
  Escape = 4,
  ShortPixels = 5
};

struct DecodeWireRequest {
  std::uint32_t magic = DecodeProtocolMagic;
  std::int32_t forceType = -1;
  std::int32_t extensionFif = -1;
  std::int32_t jpegFlags = 0;
  std::int64_t maxPixels = 0;
  std::int32_t allowUnlisted = 0;
  std::int32_t autoRotate = 0;
  std::int32_t cpuSeconds = 0;  // CPU time this decode may use
  std::int32_t keepAlpha = 0;
  DecoderTestAction testAction = DecoderTestAction::None;
};

// Pixels come back as 32-bit B,G,R,X rows, top-down, `width * 4` bytes each:
// the device bitmap's own layout (X is the alpha when hasAlpha is set).
struct DecodeWireReply {
  std::uint32_t magic = DecodeProtocolMagic;
  DecodeStatus status = DecodeStatus::Failed;
  std::int32_t fif = -1;
  std::int32_t bitsPerPixel = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t hasAlpha = 0;
  char message[480] = {};  // the library's last message, or why the helper gave up
};

// Sends one datagram, passing `fd` along when it is not -1. Never raises
// SIGPIPE when the peer has gone.
bool SendDatagram(int socket, const void* data, std::size_t size, int fd);
// Receives one datagram of exactly `size` bytes and the descriptor passed
// with it, if any; false on end of stream, error or a datagram of another size.
bool ReceiveDatagram(int socket, void* data, std::size_t size, UniqueFd& fd);

}  // namespace qorv::imageio
