// A name server that a test plays, over UDP on the loopback, and the bytes of replies.
//
// DnsReply builds a reply piece by piece, in the right form or in any wrong one. ScriptedNameServer gives
// each query to the test's function and sends back what that makes of it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace velnor::test {

inline constexpr unsigned DNS_A = 1;
inline constexpr unsigned DNS_CNAME = 5;
inline constexpr unsigned DNS_MX = 15;

// A number of two bytes, a name as labels with its zero byte, and a pointer to an offset of the reply.
std::string DnsWord(unsigned number);
std::string DnsLabels(std::string_view name);
std::string DnsPointer(unsigned offset);

// A reply to a question for the exchangers of a name. The records follow in the order of the calls; counts
// say how many there are unless they are set.
class DnsReply {
 public:
  explicit DnsReply(std::string_view question_name) : question_(DnsLabels(question_name)) {}

  DnsReply& Answer(unsigned type, const std::string& data);
  DnsReply& Mx(unsigned preference, const std::string& wire_name) {
    return Answer(DNS_MX, DnsWord(preference) + wire_name);
  }
  DnsReply& Additional(unsigned type, const std::string& data);
  DnsReply& Counts(unsigned answers, unsigned additional);

  std::string Bytes() const;

 private:
  std::string question_;
  std::string records_;
  unsigned answers_ = 0;
  unsigned additional_ = 0;
};

class ScriptedNameServer {
 public:
  // The datagram to send back for a query; none leaves it without a reply.
  using Answer = std::function<std::optional<std::string>(const std::string& query)>;

  // Answers from now on; port 0 lets the system choose.
  explicit ScriptedNameServer(Answer answer, int port = 0, const char* address = "127.0.0.1");
  ~ScriptedNameServer();
  ScriptedNameServer(const ScriptedNameServer&) = delete;
  ScriptedNameServer& operator=(const ScriptedNameServer&) = delete;

  int Port() const { return port_; }

  // All queries so far, byte for byte.
  std::vector<std::string> Queries() const;

 private:
  void Serve();

  const Answer answer_;
  int socket_ = -1;
  int port_ = 0;
  mutable std::mutex lock_;
  std::vector<std::string> queries_;
  std::jthread server_;
};

// An answer that knows the exchangers of some domains, each with its preference, and tells of any other that
// it does not exist. A dotted address may stand for an exchanger's name: it is its own address in the host
// look-up.
using MxZone = std::map<std::string, std::vector<std::pair<unsigned, std::string>>>;
ScriptedNameServer::Answer AnswerFrom(MxZone zone);

}  // namespace velnor::test
