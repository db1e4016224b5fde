#include "imageio/DecodeProtocol.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace qorv::imageio {

bool SendDatagram(int socket, const void* data, std::size_t size, int fd) {
  iovec iov{const_cast<void*>(data), size};
  msghdr msg{};
  msg.msg_iov = &iov;
  msg.msg_iovlen = 1;
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  if (fd >= 0) {
    msg.msg_control = control;
    msg.msg_controllen = sizeof control;
    cmsghdr* c = CMSG_FIRSTHDR(&msg);
    c->cmsg_level = SOL_SOCKET;
    c->cmsg_type = SCM_RIGHTS;
    c->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(c), &fd, sizeof(int));
  }
  ssize_t sent;
  do sent = ::sendmsg(socket, &msg, MSG_NOSIGNAL);
  while (sent < 0 && errno == EINTR);
  return sent == static_cast<ssize_t>(size);
}

bool ReceiveDatagram(int socket, void* data, std::size_t size, UniqueFd& fd) {
  fd.reset();
  iovec iov{data, size};
  msghdr msg{};
  msg.msg_iov = &iov;
  msg.msg_iovlen = 1;
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msg.msg_control = control;
  msg.msg_controllen = sizeof control;
  ssize_t got;
  do got = ::recvmsg(socket, &msg, MSG_CMSG_CLOEXEC);
  while (got < 0 && errno == EINTR);
  for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c; c = CMSG_NXTHDR(&msg, c)) {
    if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_RIGHTS && c->cmsg_len == CMSG_LEN(sizeof(int))) {
      int passed = -1;
      std::memcpy(&passed, CMSG_DATA(c), sizeof(int));
      fd.reset(passed);
    }
  }
  return got == static_cast<ssize_t>(size) && !(msg.msg_flags & (MSG_TRUNC | MSG_CTRUNC));
}

}  // namespace qorv::imageio
