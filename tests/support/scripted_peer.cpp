#include "support/scripted_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace velnor::test {
namespace {

constexpr int WAIT_MS = 40'000;

sockaddr_in Endpoint(const char* address, int port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
  ::inet_pton(AF_INET, address, &endpoint.sin_addr);
  return endpoint;
}

// A test can do nothing without its peer.
void Require(bool done, const char* what) {
  if (done) return;
  std::perror(what);
  std::abort();
}

bool WaitFor(int descriptor, short events) {
  pollfd waiting{descriptor, events, 0};
  return ::poll(&waiting, 1, WAIT_MS) == 1;
}

}  // namespace

std::unique_ptr<PeerConnection> PeerConnection::Connect(int port, const char* address) {
  auto connection = std::make_unique<PeerConnection>(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in endpoint = Endpoint(address, port);
  const auto* const where = reinterpret_cast<const sockaddr*>(&endpoint);
  if (::connect(connection->descriptor_, where, sizeof endpoint) != 0) return nullptr;
  return connection;
}

bool PeerConnection::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!WaitFor(descriptor_, POLLOUT)) return false;
    const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string PeerConnection::ReadUntil(std::string_view end) {
  std::size_t searched = 0;
  for (;;) {
    const std::size_t found = end.empty() ? std::string::npos : unread_.find(end, searched);
    if (found != std::string::npos) {
      const std::string text = unread_.substr(0, found + end.size());
      unread_.erase(0, text.size());
      return text;
    }
    searched = unread_.size() - std::min(unread_.size(), end.size());
    char room[64 * 1024];
    const ssize_t count = WaitFor(descriptor_, POLLIN) ? ::recv(descriptor_, room, sizeof room, 0) : 0;
    if (count <= 0) return std::exchange(unread_, {});
    unread_.append(room, static_cast<std::size_t>(count));
  }
}

void PeerConnection::Close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

ScriptedPeer::ScriptedPeer(Script script, int port, const char* address)
    : script_(std::move(script)), listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int on = 1;
  ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in endpoint = Endpoint(address, port);
  socklen_t size = sizeof endpoint;
  auto* const where = reinterpret_cast<sockaddr*>(&endpoint);
  Require(::bind(listener_, where, size) == 0 && ::listen(listener_, SOMAXCONN) == 0, "scripted peer");
  Require(::getsockname(listener_, where, &size) == 0, "scripted peer");
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

ExchangerLog PlayExchanger(PeerConnection& client, const ExchangerReplies& replies) {
  ExchangerLog log;
  std::string reply = replies.Greeting;
  while (!reply.empty() && client.Send(reply)) {
    const std::string line = client.ReadLine();
    log.Commands += line;
    if (line.empty() || line.starts_with("QUIT")) break;
    if (line.starts_with("HELO")) {
      reply = replies.Helo;
    } else if (line.starts_with("MAIL FROM")) {
      reply = replies.MailFrom;
    } else if (line.starts_with("RCPT TO")) {
      reply = replies.RcptTo(line);
    } else if (line.starts_with("DATA")) {
      reply = replies.Data;
      if (!reply.starts_with("354") || !client.Send(reply)) continue;
      log.Message = client.ReadUntil("\r\n.\r\n");
      reply = replies.EndOfData;
    } else {
      reply = "500 not understood\r\n";
    }
  }
  return log;
}

}  // namespace velnor::test
