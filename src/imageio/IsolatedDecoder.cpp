#include "imageio/IsolatedDecoder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <QFile>
#include <QString>

#include "imageio/FormatTable.h"
#include "imageio/modFreeImage.h"
#include "platform/GdiSurface.h"
#include "platform/RowParallel.h"
#include "platform/ScopedGdi.h"
#include <QorvPictureBox/gdi.h>

extern char** environ;

namespace qorv::imageio {

namespace {

std::atomic<DecoderTestAction>& testAction() {
  static std::atomic<DecoderTestAction> action{DecoderTestAction::None};
  return action;
}

std::string directoryOf(const std::string& file) {
  const auto slash = file.rfind('/');
  return slash == std::string::npos ? std::string(".") : file.substr(0, slash);
}

bool executable(const std::string& path) { return ::access(path.c_str(), X_OK) == 0; }

// Copies the helper's pixels into a bitmap the control owns. The helper's
// memory file is not mapped as the picture: the helper writes into it again
// on the next load, so a picture over it could be changed on screen by a
// compromised helper. pread() rather than a mapping to copy from: a file
// shorter than announced gives a short read, which fails the load, where a
// read past the end of a mapping would kill the control. The bitmap comes
// from the control's pixel-memory cache, so its pages are reused, not
// faulted in afresh; the copy is split over the row pool.
// `handedOver` turns false when the helper's file held less than announced.
gdi::HBITMAP copyPixels(int fd, std::int32_t w, std::int32_t h, bool& handedOver) {
  struct stat st {};
  const auto rowBytes = static_cast<std::size_t>(w) * 4;
  handedOver = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  if (!handedOver) return 0;
  ScopedBitmap bitmap(gdi::CreateBitmapForOverwrite(w, h));
  gdi::Surface s;
  if (!bitmap || !gdi::BitmapSurface(bitmap.get(), s) || s.bitsPerPixel != 32 || s.bottomUp ||
      static_cast<std::size_t>(s.stride) != rowBytes)
    return 0;
  std::atomic<bool> whole{true};
  parallelRows(0, h - 1, static_cast<std::int64_t>(rowBytes), [&](std::int32_t y0, std::int32_t y1) {
    auto* to = s.row(y0);
    std::size_t left = rowBytes * static_cast<std::size_t>(y1 - y0 + 1);
    auto at = static_cast<off_t>(rowBytes * static_cast<std::size_t>(y0));
    while (left > 0 && whole.load(std::memory_order_relaxed)) {
      const ssize_t got = ::pread(fd, to, left, at);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) {
        whole = false;
        return;
      }
      to += got;
      at += got;
      left -= static_cast<std::size_t>(got);
    }
  });
  handedOver = whole;
  return whole ? bitmap.release() : 0;
}

std::string describeExit(int status) {
  if (WIFSIGNALED(status)) {
    const int sig = WTERMSIG(status);
    const char* name = ::strsignal(sig);
    return "the decoder died from signal " + std::to_string(sig) + " (" + (name ? name : "?") + ")";
  }
  if (WIFEXITED(status)) return "the decoder exited with status " + std::to_string(WEXITSTATUS(status));
  return "the decoder ended";
}

}  // namespace

std::string DecoderPath() {
  if (const char* env = std::getenv("QORV_DECODER"); env && *env) return env;
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&DecoderPath), &info) && info.dli_fname) {
    const std::string beside = directoryOf(info.dli_fname) + "/qorv-decode";
    if (executable(beside)) return beside;
  }
  char self[4096];
  const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
  if (n > 0) {
    self[n] = '\0';
    return directoryOf(self) + "/qorv-decode";
  }
  return "qorv-decode";
}

std::uint64_t DecoderAddressSpace(std::int64_t maxPixels) {
  if (maxPixels <= 0) return 0;
  // Per pixel at the limit: the library's bitmap (up to 8 bytes for 16-bit
  // samples with alpha), its 32-bit conversion (4) and the helper's staging
  // mapping (4), plus a fixed allowance for the program and the decoders' own
  // buffers. The heap the helper keeps between loads adds nothing: the next
  // load reuses those freed blocks instead of growing the heap, and a load
  // that still finds no room fails and gets a fresh helper.
  return static_cast<std::uint64_t>(maxPixels) * 16 + (std::uint64_t{512} << 20);
}

DecoderProcess::~DecoderProcess() { stop(true); }

DecoderProcess& DecoderProcess::shared() {
  static DecoderProcess process;
  return process;
}

bool DecoderProcess::start(std::uint64_t addressSpace, std::string& failure) {
  int pair[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) {
    failure = "the decoder's channel could not be made";
    return false;
  }
  UniqueFd mine(pair[0]);
  UniqueFd theirs(pair[1]);
  const std::string path = DecoderPath();
  const std::string limit = std::to_string(addressSpace);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, theirs.get(), DecoderSocketFd);
  char* argv[] = {const_cast<char*>(path.c_str()), const_cast<char*>(limit.c_str()), nullptr};
  pid_t pid = 0;
  const int rc = ::posix_spawn(&pid, path.c_str(), &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    failure = "the decoder could not be started (" + path + ": " + std::strerror(rc) + ")";
    return false;
  }
  pid_ = pid;
  socket_ = std::move(mine);
  addressSpace_ = addressSpace;
  return true;
}

std::string DecoderProcess::stop(bool kill) {
  if (pid_ <= 0) return "the decoder ended";
  socket_.reset();  // a helper still reading sees the end and leaves
  if (kill) ::kill(pid_, SIGKILL);
  int status = 0;
  pid_t got;
  do got = ::waitpid(pid_, &status, 0);
  while (got < 0 && errno == EINTR);
  pid_ = 0;
  return got == -1 ? std::string("the decoder ended") : describeExit(status);
}

IsolatedOutcome DecoderProcess::decode(int file, const DecodeRequest& request, std::int32_t timeoutMs,
                                       DecoderTestAction action) {
  const std::lock_guard<std::mutex> lock(mutex_);
  IsolatedOutcome out;
  const std::uint64_t space = DecoderAddressSpace(request.maxPixels);
  if (pid_ > 0 && space != addressSpace_) stop(true);
  if (pid_ <= 0 && !start(space, out.failure)) return out;

  const std::int32_t deadline = timeoutMs > 0 ? timeoutMs : DefaultLoadTimeoutMs;
  DecodeWireRequest wire;
  wire.forceType = request.forceType;
  wire.extensionFif = request.extensionFif;
  wire.jpegFlags = request.jpegFlags;
  wire.maxPixels = request.maxPixels;
  wire.allowUnlisted = request.allowUnlisted;
  wire.autoRotate = request.autoRotate;
  wire.keepAlpha = request.keepAlpha ? 1 : 0;
  wire.cpuSeconds = (deadline + 999) / 1000;
  wire.testAction = action;
  if (!SendDatagram(socket_.get(), &wire, sizeof wire, file)) {
    // Died between loads: start afresh once.
    stop(true);
    if (!start(space, out.failure) || !SendDatagram(socket_.get(), &wire, sizeof wire, file)) {
      if (out.failure.empty()) out.failure = stop(true);
      return out;
    }
  }

  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadline);
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()).count();
    if (left <= 0) {
      stop(true);
      out.failure = "the decoder gave no answer within " + std::to_string(deadline) + " ms and was stopped";
      return out;
    }
    pollfd p{socket_.get(), POLLIN, 0};
    const int ready = ::poll(&p, 1, static_cast<int>(left));
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) continue;
    if (ready < 0) {
      out.failure = stop(true);
      return out;
    }
    break;
  }
  UniqueFd pixels;
  if (!ReceiveDatagram(socket_.get(), &out.reply, sizeof out.reply, pixels) ||
      out.reply.magic != DecodeProtocolMagic) {
    out.reply = DecodeWireReply{};
    out.failure = stop(true);  // it closed the channel or broke the protocol
    return out;
  }
  out.reply.message[sizeof out.reply.message - 1] = '\0';
  // A decode that failed may have left the library's memory leaked or worse:
  // the next load gets a fresh helper.
  if (out.reply.status == DecodeStatus::Failed) {
    stop(true);
    return out;
  }
  const std::int64_t w = out.reply.width;
  const std::int64_t h = out.reply.height;
  if (out.reply.status != DecodeStatus::Ok || !pixels || w <= 0 || h <= 0 ||
      (request.maxPixels > 0 && w * h > request.maxPixels))
    return out;
  // Copied while the lock is held: the next load writes the helper's memory.
  bool handedOver = true;
  out.bitmap.reset(copyPixels(pixels.get(), static_cast<std::int32_t>(w), static_cast<std::int32_t>(h), handedOver));
  if (!handedOver) {
    // It answered with less than it announced: not to be trusted again.
    stop(true);
    out.failure = "the decoder handed over fewer pixels than it announced";
  }
  return out;
}

void SetDecoderTestAction(DecoderTestAction action) { testAction() = action; }

LoadedPicture LoadPictureIsolated(const LoadRequest& request) {
  LoadedPicture out;
  IoOutcome& outcome = out.outcome;
  const DecodeRequest decode = ToDecodeRequest(request);
  const QByteArray native = QFile::encodeName(request.path);
  const UniqueFd file(::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat st {};
  if (!file || ::fstat(file.get(), &st) != 0 || !S_ISREG(st.st_mode)) {
    outcome.fif = decode.forceType != FifUnknown ? decode.forceType : decode.extensionFif;
    if (outcome.fif == FifUnknown) failUnknownFormat(outcome, request.path);
    else failLoad(outcome);
    return out;
  }

  IsolatedOutcome got = DecoderProcess::shared().decode(file.get(), decode, request.timeoutMs, testAction());
  const DecodeWireReply& reply = got.reply;
  outcome.fif = reply.fif;
  outcome.bitsPerPixel = reply.bitsPerPixel;
  outcome.hasAlpha = reply.hasAlpha != 0;
  // What the library (or the helper's end) said goes where the library's
  // messages always go.
  if (!got.failure.empty()) modFreeImage::SetBridgeError(QString::fromStdString(got.failure), false);
  else if (reply.message[0]) modFreeImage::OnFreeImageMessage(reply.fif, reply.message);
  if (reply.status == DecodeStatus::UnknownFormat) {
    failUnknownFormat(outcome, request.path);
    return out;
  }
  if (reply.status != DecodeStatus::Ok || !got.bitmap) {
    failLoad(outcome);
    return out;
  }
  ScopedBitmap bitmap = std::move(got.bitmap);
  out.picture = Picture::fromBitmap(bitmap.get());
  if (!out.picture) {
    failLoad(outcome);
    return out;
  }
  bitmap.release();  // the picture owns it now
  return out;
}

}  // namespace qorv::imageio
