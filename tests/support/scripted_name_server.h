// A name server that a test plays, over UDP on the loopback, and the bytes of replies.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace velnor::test {

inline constexpr unsigned DNS_A = 1;
inline constexpr unsigned DNS_CNAME = 5;
inline constexpr unsigned DNS_MX = 15;

// A number of two bytes, a name as labels with its zero byte, and a pointer to an offset of the reply.
std::string DnsWord(unsigned number);
std::string DnsLabels(std::string_view name);
std::string DnsPointer(unsigned offset);

// A record of the question's name, and one that tells of an exchanger.
std::string DnsRecord(unsigned type, const std::string& data);
std::string DnsMx(unsigned preference, const std::string& wire_name);

// A reply to a question for the exchangers of a name. A wrong one is made by changing its bytes.
std::string DnsReply(std::string_view question, const std::vector<std::string>& answers,
                     const std::vector<std::string>& additional = {});

class ScriptedNameServer {
 public:
  // The datagram to send back for a query; none leaves it without a reply.
  using Answer = std::function<std::optional<std::string>(const std::string& query)>;

  // Answers from now on; port 0 lets the system choose.
  explicit ScriptedNameServer(Answer answer, int port = 0, const char* address = "127.0.0.1");
  ~ScriptedNameServer();
  ScriptedNameServer(const ScriptedNameServer&) = delete;
  ScriptedNameServer& operator=(const ScriptedNameServer&) = delete;

  // The port, or -1 where this process may not have the one that was asked for.
  int Port() const { return port_; }

  // All queries so far, byte for byte.
  std::vector<std::string> Queries() const;

 private:
  void Serve();

  const Answer answer_;
  int socket_ = -1;
  int port_ = -1;
  mutable std::mutex lock_;
  std::vector<std::string> queries_;
  std::jthread server_;
};

}  // namespace velnor::test
