#include "platform/host_lookup.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace platform {

std::vector<DottedAddress> LookupHost(std::string_view name) {
  std::vector<DottedAddress> addresses;
  if (name.empty() || name.find('\0') != std::string_view::npos) return addresses;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  if (::getaddrinfo(std::string(name).c_str(), nullptr, &hints, &list) != 0) return addresses;
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(list, &::freeaddrinfo);
  for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
    char text[INET_ADDRSTRLEN] = {};
    const auto* endpoint = reinterpret_cast<const sockaddr_in*>(entry->ai_addr);
    if (::inet_ntop(AF_INET, &endpoint->sin_addr, text, sizeof text) != nullptr) addresses.emplace_back(text);
  }
  return addresses;
}

DottedAddress SystemNameServer() {
  std::ifstream file("/etc/resolv.conf");
  std::string line;
  while (std::getline(file, line)) {
    std::istringstream words(line);
    std::string keyword;
    std::string server;
    if (words >> keyword >> server && keyword == "nameserver" && IsDottedAddress(server))
      return DottedAddress(server);
  }
  return {};
}

}  // namespace platform
