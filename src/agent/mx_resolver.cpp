#include "agent/mx_resolver.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/system_config.h"
#include "platform/host_lookup.h"
#include "platform/socket.h"

namespace velnor {
namespace {

constexpr int REPLY_LIMIT_MS = 6'000;
constexpr std::size_t REPLY_SIZE = 2048;
constexpr std::size_t ADDRESS_LIMIT = 20;
constexpr std::uint16_t CLASS_IN = 1;

void AppendWord(std::string& bytes, unsigned word) {
  bytes.push_back(static_cast<char>(word >> 8));
  bytes.push_back(static_cast<char>(word & 0xFF));
}

std::string BuildQuery(std::string_view encoded_name, std::uint16_t type) {
  std::string query;
  AppendWord(query, 4575);    // id
  AppendWord(query, 0x0100);  // recursion desired
  AppendWord(query, 1);       // one question, and no records
  AppendWord(query, 0);
  AppendWord(query, 0);
  AppendWord(query, 0);
  query.append(encoded_name);
  AppendWord(query, type);
  AppendWord(query, CLASS_IN);
  return query;
}

int Exchange(platform::Socket socket, std::string_view query, std::string_view address, int port,
             std::span<char> reply) {
  if (platform::SendDatagram(socket, query, address, port) < 0) return DNS_NOT_SENT;
  const int ready = platform::WaitReadable(socket, REPLY_LIMIT_MS);
  if (ready == 0) return DNS_TIMEOUT;
  const int count = ready < 0 ? -1 : platform::ReceiveDatagram(socket, reply);
  return count < 0 ? DNS_RECEIVE_FAILED : count;
}

}  // namespace

std::optional<MxResult> LookupMx(std::string_view domain, int port) {
  std::string primary = g_SystemConfig.PrimaryDNS.Get();
  const std::string secondary = g_SystemConfig.SecondaryDNS.Get();
  if (primary.empty()) primary = platform::SystemNameServer().View();

  std::array<char, REPLY_SIZE> reply{};
  int length = QueryNameServer(domain, primary, port, DNS_TYPE_MX, reply);
  if (length <= 0 && !secondary.empty())
    length = QueryNameServer(domain, secondary, port, DNS_TYPE_MX, reply);
  if (length <= 0) return std::nullopt;
  return ParseMxReply(std::span(reply).first(static_cast<std::size_t>(length)));
}

std::optional<MxResult> ResolveMxAddresses(std::optional<MxResult> records) {
  if (!records) return records;
  for (MxRecord& record : *records) {
    record.Addresses = platform::LookupHost(record.HostName);
    if (record.Addresses.size() > ADDRESS_LIMIT) record.Addresses.resize(ADDRESS_LIMIT);
  }
  return records;
}

int QueryNameServer(std::string_view name, std::string_view server, int port, std::uint16_t type,
                    std::span<char> reply) {
  const std::optional<std::string> encoded_name = EncodeDnsName(name);
  if (!encoded_name) return DNS_NOT_SENT;
  const std::vector<platform::DottedAddress> addresses = platform::LookupHost(server);
  if (addresses.empty()) return DNS_NO_SERVER;
  const platform::Socket socket = platform::OpenDatagramSocket();
  if (socket == platform::SOCKET_INVALID) return DNS_NO_SOCKET;
  const int result = Exchange(socket, BuildQuery(*encoded_name, type), addresses.front(), port, reply);
  platform::CloseSocket(socket);
  return result;
}

}  // namespace velnor
