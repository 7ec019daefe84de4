#include "support/scripted_name_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace velnor::test {

std::string DnsWord(unsigned number) {
  return {static_cast<char>(number >> 8 & 0xFF), static_cast<char>(number & 0xFF)};
}

std::string DnsLabels(std::string_view name) {
  std::string labels;
  while (!name.empty()) {
    const std::string_view label = name.substr(0, name.find('.'));
    labels += static_cast<char>(label.size());
    labels += label;
    name.remove_prefix(label.size() == name.size() ? label.size() : label.size() + 1);
  }
  return labels + '\0';
}

std::string DnsPointer(unsigned offset) {
  return DnsWord(0xC000 | offset);
}

std::string DnsRecord(unsigned type, const std::string& data) {
  constexpr unsigned QUESTION_NAME = 12;
  const std::string time_to_live(4, '\0');
  return DnsPointer(QUESTION_NAME) + DnsWord(type) + DnsWord(1) + time_to_live +
         DnsWord(static_cast<unsigned>(data.size())) + data;
}

std::string DnsMx(unsigned preference, const std::string& wire_name) {
  return DnsRecord(DNS_MX, DnsWord(preference) + wire_name);
}

std::string DnsReply(std::string_view question, const std::vector<std::string>& answers,
                     const std::vector<std::string>& additional) {
  const auto count = [](const auto& records) { return DnsWord(static_cast<unsigned>(records.size())); };
  std::string reply = DnsWord(4575) + DnsWord(0x8180) + DnsWord(1) + count(answers) + DnsWord(0) +
                      count(additional) + DnsLabels(question) + DnsWord(DNS_MX) + DnsWord(1);
  for (const std::string& record : answers) reply += record;
  for (const std::string& record : additional) reply += record;
  return reply;
}

ScriptedNameServer::ScriptedNameServer(Answer answer, int port, const char* address)
    : answer_(std::move(answer)), socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
  ::inet_pton(AF_INET, address, &endpoint.sin_addr);
  socklen_t size = sizeof endpoint;
  auto* const where = reinterpret_cast<sockaddr*>(&endpoint);
  if (::bind(socket_, where, size) != 0 || ::getsockname(socket_, where, &size) != 0) return;
  port_ = ntohs(endpoint.sin_port);
  server_ = std::jthread([this] { Serve(); });
}

ScriptedNameServer::~ScriptedNameServer() {
  ::shutdown(socket_, SHUT_RDWR);  // wakes the server with an empty read
  if (server_.joinable()) server_.join();
  ::close(socket_);
}

std::vector<std::string> ScriptedNameServer::Queries() const {
  const std::lock_guard guard(lock_);
  return queries_;
}

void ScriptedNameServer::Serve() {
  std::array<char, 2048> room;
  for (;;) {
    sockaddr_in client{};
    socklen_t size = sizeof client;
    auto* const where = reinterpret_cast<sockaddr*>(&client);
    const ssize_t count = ::recvfrom(socket_, room.data(), room.size(), 0, where, &size);
    if (count <= 0) return;
    const std::string query(room.data(), static_cast<std::size_t>(count));
    {
      const std::lock_guard guard(lock_);
      queries_.push_back(query);
    }
    if (const auto reply = answer_(query)) ::sendto(socket_, reply->data(), reply->size(), 0, where, size);
  }
}

}  // namespace velnor::test
