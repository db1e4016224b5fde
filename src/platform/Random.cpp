#include "platform/Random.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <mutex>

namespace qorv {

namespace {

// The classic 24-bit linear congruential generator: same start value and
// recurrence, so a sequence is reproducible from run to run.
constexpr std::uint32_t kStartSeed = 0x50000;

struct State {
  std::mutex mutex;
  std::uint32_t seed = kStartSeed;
  std::function<double()> source;
};

State& state() {
  static State s;
  return s;
}

double nextDefault(std::uint32_t& seed) {
  seed = (seed * 0x43FD43FDu + 0xC39EC3u) & 0xFFFFFFu;
  return static_cast<double>(seed) / 16777216.0;
}

}  // namespace

double rnd() {
  State& s = state();
  std::function<double()> src;
  {
    std::lock_guard lock(s.mutex);
    if (!s.source) return nextDefault(s.seed);
    src = s.source;
  }
  // A test source is called outside the lock so that it may itself call rnd().
  return src();
}

void randomize(double seed) {
  // The seed's high word is folded into the middle bytes of the state, as the
  // classic reseeding does; the low byte of the old state survives.
  std::uint64_t bits = 0;
  std::memcpy(&bits, &seed, sizeof bits);
  const auto hi = static_cast<std::uint32_t>(bits >> 32);
  const std::uint32_t folded = ((hi >> 16) ^ hi) & 0xFFFFu;
  State& s = state();
  std::lock_guard lock(s.mutex);
  s.seed = (s.seed & 0xFFu) | (folded << 8);
}

void resetRandom() {
  State& s = state();
  std::lock_guard lock(s.mutex);
  s.seed = kStartSeed;
}

double timer() {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const std::time_t t = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&t, &local);
  const double frac = static_cast<double>(duration_cast<microseconds>(now.time_since_epoch()).count() % 1000000) / 1e6;
  return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + frac;
}

void setRandomSource(std::function<double()> source) {
  State& s = state();
  std::lock_guard lock(s.mutex);
  s.source = std::move(source);
}

}  // namespace qorv
