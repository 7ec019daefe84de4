// AgentWorld: the surroundings of the delivery agent's tests, and the agent worked by hand.
//
// The domain example.test with the accounts alice and bob. The operations of the agent run on the test's own
// thread, one delivery after the other, so a test sees each state of the spool between two steps.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/text_stream.h"
#include "support/resource_limit.h"
#include "support/test_world.h"

namespace velnor::test {

inline constexpr std::string_view DOMAIN = "example.test";
inline constexpr std::string_view ALICE = "alice@example.test";

// A message text with everything that a careless copy could change.
extern const std::string MESSAGE;

// The bytes that a text has in a file of the mail store.
std::string Stored(std::string_view text);

// A spool file's text: the head, and the message behind it.
std::string SpoolText(std::string_view recipients, std::string_view sender, int retries,
                      std::string_view text = MESSAGE);

// A notice to a sender, with "<date>" in the place of its date.
std::string NoticeText(std::string_view sender, std::string_view recipients, std::string_view reason,
                       std::string_view text = MESSAGE);

// A copy of each text, as it is stored, in order.
std::vector<std::string> StoredTexts(const std::vector<std::string>& texts);

// The limit on descriptors that leaves so many more files to be opened.
rlim_t DescriptorsFor(int more_files);

// A text whose reading fails in the middle: this process's own memory as a file, a page of x with a hole
// behind it.
class TornText {
 public:
  TornText();
  ~TornText();
  TornText(const TornText&) = delete;
  TornText& operator=(const TornText&) = delete;

  // Leaves the stream at the text's beginning.
  void Open(platform::TextReader& stream) const;
  std::string WhatCanBeRead() const { return std::string(page_, 'x'); }

 private:
  const std::size_t page_;
  void* const memory_;
};

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

  // What is stored in an Inbox and waits in the spool, "<date>" in the place of each date, in order. A name
  // that is no complete message's is a failure.
  std::vector<std::string> Inbox(std::string_view user) const;
  std::vector<std::string> Waiting() const;

  // The log since the last call, without the threads' numbers and with "<spool>" in the place of the spool's
  // path.
  std::vector<std::string> Log();

  TestWorld world_;

 private:
  std::size_t seen_ = 0;  // log lines of earlier calls
};

}  // namespace velnor::test
