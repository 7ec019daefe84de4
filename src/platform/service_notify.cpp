#include "platform/service_notify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace platform {
namespace {

constexpr timeval SEND_LIMIT = {2, 0};

std::string_view SocketName() {
  const char* const name = std::getenv("NOTIFY_SOCKET");
  return name == nullptr ? std::string_view() : name;
}

// The address that a name stands for, and its size: a path, or with "@" in front a name of the abstract kind,
// whose first byte is 0. Size 0 for any other name.
socklen_t ToAddress(std::string_view name, sockaddr_un& address) {
  address.sun_family = AF_UNIX;
  const bool is_abstract = name.starts_with('@');
  if (!is_abstract && !name.starts_with('/')) return 0;
  if (name.size() >= sizeof address.sun_path) return 0;
  std::memcpy(address.sun_path, name.data(), name.size());
  if (is_abstract) address.sun_path[0] = '\0';
  // The name of an abstract address is as long as the size says; a path has its 0 behind it.
  return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() + (is_abstract ? 0 : 1));
}

void Tell(const std::string& message) {
  sockaddr_un address{};
  const socklen_t size = ToAddress(SocketName(), address);
  if (size == 0) return;
  const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return;
  ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &SEND_LIMIT, sizeof SEND_LIMIT);
  ::sendto(descriptor, message.data(), message.size(), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address), size);
  ::close(descriptor);
}

std::string StatusField(std::string_view status) {
  return "STATUS=" + std::string(status);
}

}  // namespace

bool HasServiceManager() {
  return !SocketName().empty();
}

void NotifyReady(std::string_view status) {
  Tell("READY=1\n" + StatusField(status));
}

void NotifyStatus(std::string_view status) {
  Tell(StatusField(status));
}

void NotifyReloading() {
  // The time tells the manager which of its requests this answers.
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const long long microseconds = now.tv_sec * 1'000'000LL + now.tv_nsec / 1000;
  Tell("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(microseconds));
}

void NotifyStopping(std::string_view status) {
  Tell("STOPPING=1\n" + StatusField(status));
}

}  // namespace platform
