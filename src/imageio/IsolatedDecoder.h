// The control's side of isolated decoding: starts the decoder helper, keeps it
// between loads, hands it each file as an open descriptor, waits no longer
// than the load's deadline and restarts the helper after it died or was
// stopped. A helper that crashes, hangs or runs out of memory costs the host
// one failed load, never its life.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>

#include "imageio/DecodeProtocol.h"
#include "imageio/ImageLoad.h"
#include "imageio/UniqueFd.h"
#include "platform/ScopedGdi.h"

namespace qorv::imageio {

// Where the helper is: $QORV_DECODER when set, else "qorv-decode" beside
// the library (or, for a program linking the library statically, beside the
// program).
std::string DecoderPath();

// Address space the helper gets for pictures of up to `maxPixels`: room for the
// library's copy, the 32-bit conversion and the staging memory at the limit.
std::uint64_t DecoderAddressSpace(std::int64_t maxPixels);

struct IsolatedOutcome {
  DecodeWireReply reply;  // status Failed when the helper gave no answer
  ScopedBitmap bitmap;    // the pixels, copied into a bitmap of the control's, when status is Ok
  std::string failure;    // why there was no answer (signal, timeout, no helper)
};

class DecoderProcess {
 public:
  DecoderProcess() = default;
  ~DecoderProcess();
  DecoderProcess(const DecoderProcess&) = delete;
  DecoderProcess& operator=(const DecoderProcess&) = delete;

  // The helper shared by every control of the process.
  static DecoderProcess& shared();

  IsolatedOutcome decode(int file, const DecodeRequest& request, std::int32_t timeoutMs,
                         DecoderTestAction action = DecoderTestAction::None);

  // The helper's process id, 0 when none runs (tests watch restarts with it).
  pid_t pid() const { return pid_; }

 private:
  bool start(std::uint64_t addressSpace, std::string& failure);
  // Ends the helper (killing it when `kill`) and collects its exit; returns
  // how it ended, in words.
  std::string stop(bool kill);

  std::mutex mutex_;
  pid_t pid_ = 0;
  UniqueFd socket_;
  std::uint64_t addressSpace_ = 0;
};

// The test action the next isolated loads ask of the helper.
void SetDecoderTestAction(DecoderTestAction action);

// LoadPicture for request.isolated: the decode runs in the helper, the
// device bitmap is made here from the pixels it hands back.
LoadedPicture LoadPictureIsolated(const LoadRequest& request);

}  // namespace qorv::imageio
