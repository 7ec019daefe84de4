// AgentWorld: the surroundings of the delivery agent's tests, and the agent worked by hand.
//
// The domain example.test with the accounts alice and bob. The operations of the agent run on the test's own
// thread, one delivery after the other, so a test sees each state of the spool between two steps.
#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>

#include "platform/text_stream.h"
#include "support/resource_limit.h"
#include "support/test_world.h"

namespace velnor::test {

inline constexpr const char* DOMAIN = "example.test";
inline constexpr const char* ALICE = "alice@example.test";

// A message text with everything that a careless copy could change.
extern const std::string MESSAGE;

// Messages in no order.
using Texts = std::multiset<std::string>;

// A spool file's text: the head, and the message behind it.
std::string SpoolText(const std::string& recipients, const std::string& sender, int retries,
                      const std::string& text = MESSAGE);

// A notice to a sender of the message, with "<date>" in the place of its date.
std::string NoticeText(const std::string& sender, const std::string& recipients, const std::string& reason);

// The limit on descriptors that leaves so many more files to be opened.
rlim_t DescriptorsFor(int more_files);

// Opens a text whose reading fails in the middle: this process's own memory as a file, with a hole behind a
// page of it. What can be read before.
std::string OpenTornText(platform::TextReader& stream);

class AgentWorld : public testing::Test {
 protected:
  AgentWorld();
  ~AgentWorld() override;

  // Writes a spool file, or any text file, and gives its path.
  std::filesystem::path PutSpoolFile(std::string_view name, std::string_view text);

  // Opens a file with the message behind a line of something else, and leaves the stream at the message. The
  // tests of single operations find the place again by ExpectAtMessage.
  void OpenMessage(platform::TextReader& stream, std::string_view text = MESSAGE);
  void ExpectAtMessage(platform::TextReader& stream, std::string_view text = MESSAGE);

  // One worker from its start to its end.
  static void RunWorker(const std::filesystem::path& spool_path);

  // Claims and delivers until nothing is eligible, an hour from now.
  static void DeliverAll();

  // What a text stream reads from an Inbox and from the spool, "<date>" in the place of each date. A name
  // that is no complete message's is a failure.
  Texts Inbox(std::string_view user) const;
  Texts Waiting() const;

  TestWorld world_;
};

}  // namespace velnor::test
