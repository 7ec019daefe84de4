#include "platform/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <unordered_map>

#include "platform/lock.h"

namespace platform {
namespace {

constexpr int SEND_SILENCE_MS = 60'000;

// One descriptor, closed when the last thread that works on it has let go.
struct Descriptor {
  explicit Descriptor(int number) : fd(number) {}
  ~Descriptor() { ::close(fd); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  const int fd;
  std::atomic<bool> closed = false;
};
using DescriptorPtr = std::shared_ptr<Descriptor>;

class SocketTable {
 public:
  Socket Add(int fd) {
    auto descriptor = std::make_shared<Descriptor>(fd);
    SectionGuard guard(section_);
    const Socket number = next_++;
    open_.emplace(number, std::move(descriptor));
    return number;
  }

  DescriptorPtr Find(Socket number) {
    SectionGuard guard(section_);
    const auto found = open_.find(number);
    return found == open_.end() ? nullptr : found->second;
  }

  DescriptorPtr Remove(Socket number) {
    SectionGuard guard(section_);
    const auto found = open_.find(number);
    if (found == open_.end()) return nullptr;
    DescriptorPtr descriptor = std::move(found->second);
    open_.erase(found);
    return descriptor;
  }

 private:
  CriticalSection section_;
  std::unordered_map<Socket, DescriptorPtr> open_ GUARDED_BY(section_);
  Socket next_ GUARDED_BY(section_) = 1;
};

// Never destroyed: a thread may close its socket while the process is already ending.
SocketTable& Table() {
  static auto* table = new SocketTable;
  return *table;
}

thread_local int t_LastError = 0;

int Failed(int error) {
  t_LastError = error;
  return -1;
}

// The descriptor behind a number, or none with the error set.
DescriptorPtr Use(Socket socket) {
  DescriptorPtr descriptor = Table().Find(socket);
  if (descriptor == nullptr) t_LastError = EBADF;
  return descriptor;
}

Socket Enter(int fd) {
  if (fd < 0) {
    t_LastError = errno;
    return SOCKET_INVALID;
  }
  return Table().Add(fd);
}

using Clock = std::chrono::steady_clock;

// poll on one descriptor until an event, the deadline or a close. 1, 0, or -1 with the error set.
int WaitFor(const Descriptor& descriptor, short events, int milliseconds) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    if (descriptor.closed) return Failed(EBADF);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd waiting{descriptor.fd, events, 0};
    const int result = ::poll(&waiting, 1, left > 0 ? static_cast<int>(left) : 0);
    if (descriptor.closed) return Failed(EBADF);
    if (result > 0) return 1;
    if (result == 0) return 0;
    if (errno != EINTR) return Failed(errno);
  }
}

// How much of what was sent the peer's system has not yet taken, in bytes.
int Unsent(const Descriptor& descriptor) {
  int bytes = 0;
  return ::ioctl(descriptor.fd, SIOCOUTQ, &bytes) == 0 ? bytes : 0;
}

// Waits for room to send. 0, or -1 with the error set. The system reports room only once a good part of its
// buffer is free, which a slow peer may not reach in time; it counts as gone only if it has taken nothing.
int WaitForRoom(const Descriptor& descriptor) {
  for (int unsent = Unsent(descriptor);;) {
    const int ready = WaitFor(descriptor, POLLOUT, SEND_SILENCE_MS);
    if (ready != 0) return ready < 0 ? -1 : 0;
    const int left = Unsent(descriptor);
    if (left >= unsent) return Failed(ETIMEDOUT);
    unsent = left;
  }
}

bool Parse(std::string_view address, in_addr& parsed) {
  const DottedAddress text(address);
  return text.size() == address.size() && ::inet_pton(AF_INET, text.c_str(), &parsed) == 1;
}

sockaddr_in Endpoint(in_addr address, int port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
  endpoint.sin_addr = address;
  return endpoint;
}

// Commands and replies are single small lines; none of them waits for the acknowledgement of the one before.
void SendAtOnce(int fd) {
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool IsPort(int port) {
  return port >= 0 && port <= 65535;
}

// The work of one read, whose flags say whether the bytes stay. The wait has no limit of its own: callers
// wait first where they have one.
int Receive(Socket socket, std::span<char> room, int flags) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  for (;;) {
    if (descriptor->closed) return Failed(EBADF);
    const ssize_t count = ::recv(descriptor->fd, room.data(), room.size(), flags | MSG_DONTWAIT);
    if (descriptor->closed) return Failed(EBADF);
    if (count >= 0) return static_cast<int>(count);
    if (errno != EAGAIN && errno != EINTR) return Failed(errno);
    if (WaitFor(*descriptor, POLLIN, INT_MAX / 2) < 0) return -1;
  }
}

// Bytes that nobody has read would make the system answer the close with a reset, which can overtake the last
// reply on its way to the peer. What has arrived by now is taken away, up to a bound.
void TakeUnread(const Descriptor& descriptor) {
  char room[16 * 1024];
  for (int reads = 0; reads < 64; ++reads) {
    if (::recv(descriptor.fd, room, sizeof room, MSG_DONTWAIT) <= 0) return;
  }
}

}  // namespace

int StartSockets() {
  if (::signal(SIGPIPE, SIG_IGN) == SIG_ERR) return errno;
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return errno;
  limit.rlim_cur = limit.rlim_max;
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0 ? 0 : errno;
}

int LastSocketError() {
  return t_LastError;
}

std::string SocketErrorMessage(int error) {
  if (error == 0) return {};
  FixedText<255> unknown;
  unknown.Format("Unknown error %d", error);
  char room[256];
  const std::string text = ::strerror_r(error, room, sizeof room);
  return text == unknown.View() ? std::string() : text;
}

Socket OpenStreamSocket() {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd >= 0) SendAtOnce(fd);
  return Enter(fd);
}
Socket OpenDatagramSocket() {
  return Enter(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
}

int BindSocket(Socket socket, int port) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  if (!IsPort(port)) return Failed(EINVAL);
  // A port whose last connections still fade away may be bound again; one that is listened on may not.
  const int on = 1;
  ::setsockopt(descriptor->fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in endpoint = Endpoint(in_addr{htonl(INADDR_ANY)}, port);
  if (::bind(descriptor->fd, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0)
    return Failed(errno);
  return 0;
}

int ListenSocket(Socket socket, int leastBacklog) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  return ::listen(descriptor->fd, std::max(leastBacklog, SOMAXCONN)) == 0 ? 0 : Failed(errno);
}

int LocalPort(Socket socket) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  sockaddr_in endpoint{};
  socklen_t size = sizeof endpoint;
  if (::getsockname(descriptor->fd, reinterpret_cast<sockaddr*>(&endpoint), &size) != 0) return Failed(errno);
  return ntohs(endpoint.sin_port);
}

int WaitReadable(Socket socket, int milliseconds) {
  const DescriptorPtr descriptor = Use(socket);
  return descriptor == nullptr ? -1 : WaitFor(*descriptor, POLLIN, milliseconds);
}

Socket AcceptSocket(Socket listener, DottedAddress& peer) {
  const DescriptorPtr descriptor = Use(listener);
  if (descriptor == nullptr) return SOCKET_INVALID;
  // Waiting here would outlast a connection that was reset between the caller's wait and this call.
  if (WaitFor(*descriptor, POLLIN, 0) != 1) return SOCKET_INVALID;
  sockaddr_in endpoint{};
  socklen_t size = sizeof endpoint;
  const int fd = ::accept4(descriptor->fd, reinterpret_cast<sockaddr*>(&endpoint), &size, SOCK_CLOEXEC);
  const Socket accepted = Enter(fd);
  if (accepted == SOCKET_INVALID) return SOCKET_INVALID;
  SendAtOnce(fd);
  char text[INET_ADDRSTRLEN] = {};
  ::inet_ntop(AF_INET, &endpoint.sin_addr, text, sizeof text);
  peer.Set(text);
  return accepted;
}

int ConnectSocket(Socket socket, std::string_view address, int port, int milliseconds) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  in_addr parsed{};
  if (!Parse(address, parsed) || !IsPort(port)) return Failed(EINVAL);
  const int flags = ::fcntl(descriptor->fd, F_GETFL);
  ::fcntl(descriptor->fd, F_SETFL, flags | O_NONBLOCK);
  const sockaddr_in endpoint = Endpoint(parsed, port);
  int error = 0;
  if (::connect(descriptor->fd, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0) {
    error = errno;
    if (error == EINPROGRESS || error == EINTR) {
      const int ready = WaitFor(*descriptor, POLLOUT, milliseconds);
      if (ready < 0) return -1;
      if (ready == 0) return Failed(ETIMEDOUT);
      socklen_t size = sizeof error;
      ::getsockopt(descriptor->fd, SOL_SOCKET, SO_ERROR, &error, &size);
    }
  }
  ::fcntl(descriptor->fd, F_SETFL, flags);
  return error == 0 ? 0 : Failed(error);
}

int ReceiveBytes(Socket socket, std::span<char> room) {
  return Receive(socket, room, 0);
}
int PeekBytes(Socket socket, std::span<char> room) {
  return Receive(socket, room, MSG_PEEK);
}

int SendBytes(Socket socket, std::string_view bytes, SendHint hint) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  const int flags = MSG_NOSIGNAL | MSG_DONTWAIT | (hint == SendHint::MORE ? MSG_MORE : 0);
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    if (descriptor->closed) return Failed(EBADF);
    const ssize_t count = ::send(descriptor->fd, bytes.data() + sent, bytes.size() - sent, flags);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      if (WaitForRoom(*descriptor) != 0) return -1;
    } else if (errno != EINTR) {
      return Failed(errno);
    }
  }
  return static_cast<int>(sent);
}

int SendDatagram(Socket socket, std::string_view bytes, std::string_view address, int port) {
  const DescriptorPtr descriptor = Use(socket);
  if (descriptor == nullptr) return -1;
  in_addr parsed{};
  if (!Parse(address, parsed) || !IsPort(port)) return Failed(EINVAL);
  const sockaddr_in endpoint = Endpoint(parsed, port);
  const ssize_t count = ::sendto(descriptor->fd, bytes.data(), bytes.size(), MSG_NOSIGNAL,
                                 reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint);
  return count >= 0 ? static_cast<int>(count) : Failed(errno);
}

int ReceiveDatagram(Socket socket, std::span<char> room) {
  return Receive(socket, room, 0);
}

int CloseSocket(Socket socket) {
  const DescriptorPtr descriptor = Table().Remove(socket);
  if (descriptor == nullptr) return Failed(EBADF);
  // Whoever waits on it is woken by the shutdown, sees the mark and leaves; the last to leave closes the
  // descriptor.
  descriptor->closed = true;
  TakeUnread(*descriptor);
  ::shutdown(descriptor->fd, SHUT_RDWR);
  return 0;
}

bool IsDottedAddress(std::string_view text) {
  in_addr parsed{};
  return Parse(text, parsed);
}

}  // namespace platform
