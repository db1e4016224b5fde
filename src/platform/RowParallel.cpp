#include "platform/RowParallel.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace qorv {

namespace {

std::atomic<bool>& allowed() {
  static std::atomic<bool> on{true};
  return on;
}

// One split. It lives on the caller's stack; workers touch it only under the
// pool's lock and only while it has unfinished chunks, and the caller returns
// only once every chunk is finished, so it never outlives its users.
struct Job {
  row_parallel::Body body = nullptr;
  void* context = nullptr;
  std::int32_t first = 0;
  std::int64_t rows = 0;
  int chunks = 0;
  int next = 0;      // the next chunk to claim
  int finished = 0;  // chunks run (or skipped after a failure)
  std::exception_ptr error;

  // Chunk k covers rows [first + rows*k/chunks, first + rows*(k+1)/chunks).
  std::int32_t chunkStart(int k) const { return static_cast<std::int32_t>(first + rows * k / chunks); }
};

class Pool {
 public:
  Pool() {
    const unsigned cores = std::thread::hardware_concurrency();
    const unsigned wanted = cores > 1 ? cores - 1 : 0;
    for (unsigned i = 0; i < wanted; ++i) {
      try {
        workers_.emplace_back([this] { work(); });
      } catch (...) {
        break;  // the threads that did start still help
      }
    }
  }
  ~Pool() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    for (std::thread& t : workers_) t.join();
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  int threads() const { return static_cast<int>(workers_.size()) + 1; }

  // Runs every chunk of `job`, with the calling thread taking part.
  void run(Job& job) {
    std::unique_lock<std::mutex> lock(mutex_);
    queue_.push_back(&job);
    wake_.notify_all();
    for (;;) {
      const int k = claim(job);
      if (k < 0) break;
      lock.unlock();
      runChunk(job, k);
      lock.lock();
      ++job.finished;
    }
    done_.wait(lock, [&] { return job.finished == job.chunks; });
  }

 private:
  // Takes the next chunk of `job`, or -1 when all are taken (the job then
  // leaves the queue). Lock held.
  int claim(Job& job) {
    if (job.next < job.chunks) {
      if (!job.error) return job.next++;
      // After a failure the rest is skipped: counted as finished, not run.
      job.finished += job.chunks - job.next;
      job.next = job.chunks;
    }
    const auto it = std::find(queue_.begin(), queue_.end(), &job);
    if (it != queue_.end()) queue_.erase(it);
    return -1;
  }

  void runChunk(Job& job, int k) {
    std::exception_ptr error;
    try {
      job.body(job.context, job.chunkStart(k), job.chunkStart(k + 1) - 1);
    } catch (...) {
      error = std::current_exception();
    }
    if (error) {
      std::lock_guard<std::mutex> lock(mutex_);
      if (!job.error) job.error = error;
    }
  }

  void work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      wake_.wait(lock, [&] { return stop_ || !queue_.empty(); });
      if (stop_) return;
      Job& job = *queue_.front();
      const int k = claim(job);
      if (k < 0) continue;
      lock.unlock();
      runChunk(job, k);
      lock.lock();
      if (++job.finished == job.chunks) done_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;  // workers: a job arrived or the pool stops
  std::condition_variable done_;  // callers: a job's last chunk finished
  std::deque<Job*> queue_;
  bool stop_ = false;
  std::vector<std::thread> workers_;
};

// The pool, started on first use; null when not even its bookkeeping can be
// had (the caller then does all the rows itself).
std::unique_ptr<Pool> makePool() noexcept {
  try {
    return std::make_unique<Pool>();
  } catch (...) {
    return nullptr;
  }
}

Pool* pool() {
  static const std::unique_ptr<Pool> p = makePool();
  return p.get();
}

}  // namespace

void setParallelRowsAllowed(bool on) { allowed().store(on, std::memory_order_relaxed); }
bool parallelRowsAllowed() { return allowed().load(std::memory_order_relaxed); }

int parallelRowsThreads() {
  Pool* p = pool();
  return p ? p->threads() : 1;
}

namespace row_parallel {

void run(std::int32_t first, std::int32_t last, std::int64_t workPerRow, Body body, void* context) {
  if (last < first) return;
  const std::int64_t rows = std::int64_t{last} - first + 1;
  const std::int64_t perRow = std::max<std::int64_t>(workPerRow, 0);
  const std::int64_t work = perRow > std::numeric_limits<std::int64_t>::max() / rows
                                ? std::numeric_limits<std::int64_t>::max()
                                : rows * perRow;
  Pool* p = rows >= 2 && work >= kParallelRowsMinWork && parallelRowsAllowed() ? pool() : nullptr;
  if (p == nullptr || p->threads() < 2) {
    body(context, first, last);
    return;
  }
  // At least half the threshold per chunk: a job just above it splits in two,
  // as large ones spread over every thread.
  const std::int64_t byWork = std::max<std::int64_t>(2, work / (kParallelRowsMinWork / 2));
  Job job;
  job.body = body;
  job.context = context;
  job.first = first;
  job.rows = rows;
  job.chunks = static_cast<int>(std::min<std::int64_t>({byWork, rows, p->threads()}));
  p->run(job);
  if (job.error) std::rethrow_exception(job.error);
}

}  // namespace row_parallel

}  // namespace qorv
