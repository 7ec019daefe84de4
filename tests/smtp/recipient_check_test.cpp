// The verdicts on recipients: addresses, sender lists and quotas.

#include "smtp/recipient_check.h"

#include <gtest/gtest.h>

#include "core/system_config.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

class RecipientCheck : public ::testing::Test {
 protected:
  static RecipientVerdict CheckAlice(std::string_view sender) {
    return CheckRecipient("alice@example.test", sender, false);
  }

  TestWorld world_;
  const fs::path alice_ = world_.AddAccount("example.test", "alice", "secret");
};

TEST_F(RecipientCheck, Addresses) {
  fs::create_directories(world_.MailRoot() / "example.test" / "noprofile");
  fs::create_directories(world_.MailRoot() / "stray.test");
  fs::copy(alice_, world_.MailRoot() / "stray.test" / "alice", fs::copy_options::recursive);
  const struct {
    bool Relay;
    RecipientVerdict Verdict;
    std::vector<std::string> Addresses;
  } cases[] = {
      {false, RCPT_OK, {"alice@example.test", "ALICE@EXAMPLE.Test"}},
      {true, RCPT_OK, {"nobody@example.test", "alice@far.test"}},
      {false,
       RCPT_NOT_LOCAL,
       {"alice@stray.test", "alice@example.tes", "alice@example.test.", "alice@example.test@far.test"}},
      {true, RCPT_BAD_ADDRESS, {"alice", "@example.test", "alice@", ""}},
      {false,
       RCPT_NO_USER,
       {"nobody@example.test", "noprofile@example.test", ".@example.test", "alice/@example.test",
        "../example.test/alice@example.test", "nobody/../alice@example.test", "al*@example.test",
        std::string(300, 'x') + "@example.test"}},
  };
  for (const auto& [relay, verdict, addresses] : cases) {
    for (const std::string& address : addresses) {
      EXPECT_EQ(CheckRecipient(address, "s@far.test", relay), verdict) << address;
    }
  }
}

TEST_F(RecipientCheck, SenderLists) {
  const struct {
    std::string Allow, Reject, Sender;  // an empty list is no file
    RecipientVerdict Verdict;
  } cases[] = {
      {"", "A@FAR.test\r\n", "a@far.TEST", RCPT_REJECTED},
      {"", "a@far.test", "aa@far.test", RCPT_OK},
      {"", "b@x\n  far.test \t\n", "a@far.test", RCPT_REJECTED},
      {"", "far.test", "far.test@near.test", RCPT_REJECTED},
      {"", "FAR.test", "a@far.test", RCPT_OK},
      {"", "b@x\n\n", "a@far.test", RCPT_REJECTED},
      {"a@far.test", "far.test", "a@far.test", RCPT_OK},
      {"a@far.test", "far.test", "b@far.test", RCPT_REJECTED},
      {"\n", "far.test", "b@far.test", RCPT_OK},
      {"nothing", "", "b@far.test", RCPT_OK},
      // A line of more than 1023 bytes is several entries.
      {"", std::string(1023, 'x') + "far.test\n", "a@far.test", RCPT_REJECTED},
  };
  for (const auto& [allow, reject, sender, verdict] : cases) {
    fs::remove(alice_ / "allow.ini");
    fs::remove(alice_ / "reject.ini");
    if (!allow.empty()) WriteFile(alice_ / "allow.ini", allow);
    if (!reject.empty()) WriteFile(alice_ / "reject.ini", reject);
    EXPECT_EQ(CheckAlice(sender), verdict) << allow << " / " << reject;
  }
}

TEST_F(RecipientCheck, Quota) {
  constexpr std::uintmax_t KILOBYTE = 1024;
  constexpr std::uintmax_t GIGABYTE = 1024 * 1024 * KILOBYTE;
  const struct {
    const char* Keys;
    std::vector<std::pair<std::string, std::uintmax_t>> Files;  // name below the user's directory, bytes
    RecipientVerdict Verdict;
  } cases[] = {
      {"", {{"n1", 50176 * KILOBYTE - 1}}, RCPT_OK},
      {"", {{"n1", 50175 * KILOBYTE}, {"MailDir/Inbox/n2", KILOBYTE}}, RCPT_OVER_QUOTA},
      {"", {{"n1.INI", GIGABYTE}, {"MailDir/x.ini", GIGABYTE}}, RCPT_OK},
      {"", {{"n1", 2 * GIGABYTE}, {"n2", 2 * GIGABYTE + 5}}, RCPT_OVER_QUOTA},
      {"MailBoxSize=1\n", {{"n1", 1003 * KILOBYTE - 1}}, RCPT_OK},
      {"MailBoxSize=1\n", {{"n1", 1003 * KILOBYTE}}, RCPT_OVER_QUOTA},
      {"MailBoxSize=0\n", {}, RCPT_OVER_QUOTA},
      {"MailBoxSize=99999999999\n", {{"n1", GIGABYTE}}, RCPT_OK},
      {"MaxMailNum=2\n", {{"n1", 0}}, RCPT_OK},
      {"MaxMailNum=2\n", {{"MailDir/Inbox/20240101", 0}, {"ini", 0}}, RCPT_OVER_QUOTA},
  };
  for (const auto& [keys, files, verdict] : cases) {
    fs::remove_all(alice_);
    world_.AddAccount("example.test", "alice", "secret", keys);
    for (const auto& [name, size] : files) {
      WriteFile(alice_ / name, "");
      fs::resize_file(alice_ / name, size);
    }
    EXPECT_EQ(CheckAlice("s@far.test"), verdict) << keys << files.size() << " files";
  }
  // The lists come first, so a rejected sender hears of the rejection.
  WriteFile(alice_ / "reject.ini", "s@far.test");
  EXPECT_EQ(CheckAlice("s@far.test"), RCPT_REJECTED);
}

}  // namespace
}  // namespace velnor::test
