#include "support/scripted_peer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace velnor::test {
namespace {

constexpr timeval PATIENCE{.tv_sec = 40, .tv_usec = 0};

int NewSocket() {
  return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

sockaddr_in Loopback(int port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
  endpoint.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return endpoint;
}

}  // namespace

PeerConnection::PeerConnection(int descriptor) : descriptor_(descriptor) {
  for (const int wait : {SO_RCVTIMEO, SO_SNDTIMEO})
    ::setsockopt(descriptor_, SOL_SOCKET, wait, &PATIENCE, sizeof PATIENCE);
}

std::unique_ptr<PeerConnection> PeerConnection::Connect(int port) {
  auto connection = std::make_unique<PeerConnection>(NewSocket());
  const sockaddr_in endpoint = Loopback(port);
  const auto* const where = reinterpret_cast<const sockaddr*>(&endpoint);
  if (::connect(connection->descriptor_, where, sizeof endpoint) != 0) return nullptr;
  return connection;
}

bool PeerConnection::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string PeerConnection::ReadUntil(std::string_view end) {
  for (;;) {
    const std::size_t found = end.empty() ? std::string::npos : unread_.find(end);
    if (found != std::string::npos) {
      const std::string text = unread_.substr(0, found + end.size());
      unread_.erase(0, text.size());
      return text;
    }
    std::array<char, 64 * 1024> room;
    const ssize_t count = ::recv(descriptor_, room.data(), room.size(), 0);
    if (count <= 0) return std::exchange(unread_, {});
    unread_.append(room.data(), static_cast<std::size_t>(count));
  }
}

void PeerConnection::Close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

ScriptedPeer::ScriptedPeer(Script script) : script_(std::move(script)), listener_(NewSocket()) {
  sockaddr_in endpoint = Loopback(0);
  socklen_t size = sizeof endpoint;
  auto* const where = reinterpret_cast<sockaddr*>(&endpoint);
  if (::bind(listener_, where, size) != 0 || ::listen(listener_, SOMAXCONN) != 0 ||
      ::getsockname(listener_, where, &size) != 0) {
    std::perror("scripted peer");
    std::abort();  // a test can do nothing without its peer
  }
  port_ = ntohs(endpoint.sin_port);
  server_ = std::jthread([this] { Serve(); });
}

ScriptedPeer::~ScriptedPeer() {
  ::shutdown(listener_, SHUT_RDWR);
  server_.join();
  ::close(listener_);
}

void ScriptedPeer::Serve() {
  for (;;) {
    const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) break;
    sessions_.emplace_back([this, descriptor] {
      PeerConnection connection(descriptor);
      script_(connection);
    });
  }
  sessions_.clear();
}

}  // namespace velnor::test
