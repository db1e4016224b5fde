#include "decoder/Sandbox.h"

#include <seccomp.h>
#include <sys/resource.h>

#include <cerrno>
#include <memory>

namespace qorv::decoder {

bool LimitAddressSpace(std::uint64_t bytes) {
  if (bytes == 0) return true;
  const rlimit limit{bytes, bytes};
  return ::setrlimit(RLIMIT_AS, &limit) == 0;
}

void AllowCpuSeconds(int seconds) {
  rusage used{};
  ::getrusage(RUSAGE_SELF, &used);
  const auto spent = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec);
  rlimit limit{};
  ::getrlimit(RLIMIT_CPU, &limit);
  // Only the soft limit moves; SIGXCPU at the soft limit ends the helper.
  const rlim_t wanted = spent + static_cast<rlim_t>(seconds > 0 ? seconds : 1) + 1;
  limit.rlim_cur = limit.rlim_max == RLIM_INFINITY || wanted < limit.rlim_max ? wanted : limit.rlim_max;
  ::setrlimit(RLIMIT_CPU, &limit);
}

bool EnterSandbox() {
  struct Release {
    void operator()(void* ctx) const { seccomp_release(ctx); }
  };
  // Anything not listed fails with EPERM, so an unexpected call in a library
  // is a failed decode rather than a dead helper.
  std::unique_ptr<void, Release> ctx(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
  if (!ctx) return false;
  static const int allowed[] = {
      // reading the file, answering the control
      SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(readv), SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(lseek),
      SCMP_SYS(fstat), SCMP_SYS(newfstatat), SCMP_SYS(close), SCMP_SYS(dup), SCMP_SYS(fcntl),
      SCMP_SYS(recvmsg), SCMP_SYS(sendmsg), SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(memfd_create),
      SCMP_SYS(ftruncate),
      // memory
      SCMP_SYS(mmap), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(mprotect), SCMP_SYS(brk), SCMP_SYS(madvise),
      // limits, time, signals and leaving
      SCMP_SYS(getrusage), SCMP_SYS(getrlimit), SCMP_SYS(setrlimit), SCMP_SYS(prlimit64), SCMP_SYS(clock_gettime),
      SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep), SCMP_SYS(futex), SCMP_SYS(getpid), SCMP_SYS(gettid),
      SCMP_SYS(tgkill), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(restart_syscall),
      SCMP_SYS(exit), SCMP_SYS(exit_group)};
  for (const int call : allowed)
    if (seccomp_rule_add(ctx.get(), SCMP_ACT_ALLOW, call, 0) != 0) return false;
  // What an exploit would want ends the helper at once, visibly.
  static const int fatal[] = {SCMP_SYS(open),   SCMP_SYS(openat),  SCMP_SYS(execve), SCMP_SYS(execveat),
                              SCMP_SYS(socket), SCMP_SYS(connect), SCMP_SYS(fork),   SCMP_SYS(vfork),
                              SCMP_SYS(clone),  SCMP_SYS(clone3),  SCMP_SYS(ptrace)};
  for (const int call : fatal)
    if (seccomp_rule_add(ctx.get(), SCMP_ACT_KILL_PROCESS, call, 0) != 0) return false;
  return seccomp_load(ctx.get()) == 0;
}

}  // namespace qorv::decoder
