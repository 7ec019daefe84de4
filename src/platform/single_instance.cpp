#include "platform/single_instance.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace platform {

SingleInstance::~SingleInstance() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool SingleInstance::Acquire(std::string_view name) {
  // A bound address of the abstract kind is no file: it vanishes with its owner, however that one dies.
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.empty() || name.size() >= sizeof address.sun_path) return false;
  std::memcpy(address.sun_path + 1, name.data(), name.size());
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return false;
  if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), size) != 0) {
    ::close(descriptor);
    return false;
  }
  descriptor_ = descriptor;
  return true;
}

}  // namespace platform
