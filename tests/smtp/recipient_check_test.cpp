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
  TestWorld world_;
  const fs::path alice_ = world_.AddAccount("example.test", "alice", "secret");
};

TEST_F(RecipientCheck, Addresses) {
  fs::create_directories(world_.MailRoot() / "example.test" / "noprofile");
  fs::create_directories(world_.MailRoot() / "stray.test");
  fs::copy(alice_, world_.MailRoot() / "stray.test" / "alice", fs::copy_options::recursive);
  const struct {
    std::string Address;
    bool Relay;
    RecipientVerdict Verdict;
  } cases[] = {
      {"alice@example.test", false, RCPT_OK},
      {"ALICE@EXAMPLE.Test", false, RCPT_OK},
      {"nobody@example.test", false, RCPT_NO_USER},
      {"nobody@example.test", true, RCPT_OK},
      {"noprofile@example.test", false, RCPT_NO_USER},
      {"alice@stray.test", false, RCPT_NOT_LOCAL},
      {"alice@example.tes", false, RCPT_NOT_LOCAL},
      {"alice@example.test.", false, RCPT_NOT_LOCAL},
      {"alice@example.test@far.test", false, RCPT_NOT_LOCAL},
      {"alice@far.test", true, RCPT_OK},
      {"alice", true, RCPT_BAD_ADDRESS},
      {"@example.test", true, RCPT_BAD_ADDRESS},
      {"alice@", true, RCPT_BAD_ADDRESS},
      {"", false, RCPT_BAD_ADDRESS},
      {".@example.test", false, RCPT_NO_USER},
      {"../example.test/alice@example.test", false, RCPT_NO_USER},
      {"nobody/../alice@example.test", false, RCPT_NO_USER},
      {"alice/@example.test", false, RCPT_NO_USER},
      {"al*@example.test", false, RCPT_NO_USER},
      {std::string(300, 'x') + "@example.test", false, RCPT_NO_USER},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(CheckRecipient(each.Address, "s@far.test", each.Relay), each.Verdict) << each.Address;
  }
}

TEST_F(RecipientCheck, SenderLists) {
  constexpr const char* NO_FILE = nullptr;
  const struct {
    const char* Allow;
    const char* Reject;
    const char* Sender;
    RecipientVerdict Verdict;
  } cases[] = {
      {NO_FILE, NO_FILE, "a@far.test", RCPT_OK},
      {NO_FILE, "A@FAR.test\r\n", "a@far.TEST", RCPT_REJECTED},
      {NO_FILE, "a@far.test", "aa@far.test", RCPT_OK},
      {NO_FILE, "b@x\n  far.test \t\n", "a@far.test", RCPT_REJECTED},
      {NO_FILE, "far.test", "far.test@near.test", RCPT_REJECTED},
      {NO_FILE, "FAR.test", "a@far.test", RCPT_OK},
      {NO_FILE, "b@x\n\n", "a@far.test", RCPT_REJECTED},
      {NO_FILE, "", "a@far.test", RCPT_OK},
      {"a@far.test", "far.test", "a@far.test", RCPT_OK},
      {"a@far.test", "far.test", "b@far.test", RCPT_REJECTED},
      {"\n", "far.test", "b@far.test", RCPT_OK},
      {"nothing", NO_FILE, "b@far.test", RCPT_OK},
  };
  for (const auto& each : cases) {
    fs::remove(alice_ / "allow.ini");
    fs::remove(alice_ / "reject.ini");
    if (each.Allow != NO_FILE) WriteFile(alice_ / "allow.ini", each.Allow);
    if (each.Reject != NO_FILE) WriteFile(alice_ / "reject.ini", each.Reject);
    EXPECT_EQ(CheckRecipient("alice@example.test", each.Sender, false), each.Verdict)
        << (each.Allow ? each.Allow : "none") << " / " << (each.Reject ? each.Reject : "none");
  }
  // A line of more than 1023 bytes is several entries.
  WriteFile(alice_ / "reject.ini", std::string(1023, 'x') + "far.test\n");
  EXPECT_EQ(CheckRecipient("alice@example.test", "a@far.test", false), RCPT_REJECTED);
  // A list that can't be opened is none.
  fs::remove(alice_ / "reject.ini");
  fs::create_directory(alice_ / "reject.ini");
  EXPECT_EQ(CheckRecipient("alice@example.test", "a@far.test", false), RCPT_OK);
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
      {"", {{"n1", 50176 * KILOBYTE}}, RCPT_OVER_QUOTA},
      {"", {{"n1", 50175 * KILOBYTE}, {"MailDir/Inbox/n2", KILOBYTE}}, RCPT_OVER_QUOTA},
      {"", {{"n1.INI", GIGABYTE}, {"MailDir/x.ini", GIGABYTE}}, RCPT_OK},
      {"", {{"n1", 4 * GIGABYTE}}, RCPT_OVER_QUOTA},
      {"", {{"n1", 2 * GIGABYTE}, {"n2", 2 * GIGABYTE + 5}}, RCPT_OVER_QUOTA},
      {"MailBoxSize=1\n", {{"n1", 1003 * KILOBYTE - 1}}, RCPT_OK},
      {"MailBoxSize=1\n", {{"n1", 1003 * KILOBYTE}}, RCPT_OVER_QUOTA},
      {"MailBoxSize=0\n", {}, RCPT_OVER_QUOTA},
      {"MailBoxSize=65534\n", {{"n1", GIGABYTE}}, RCPT_OK},
      {"MailBoxSize=99999999999\n", {{"n1", GIGABYTE}}, RCPT_OK},
      {"MaxMailNum=0\n", {}, RCPT_OVER_QUOTA},
      {"MaxMailNum=2\n", {{"n1", 0}}, RCPT_OK},
      {"MaxMailNum=2\n", {{"MailDir/Inbox/n1", 0}, {"MailDir/Inbox/20240101", 0}}, RCPT_OVER_QUOTA},
      {"MaxMailNum=2\n", {{"MailDir/Inbox/n1", 0}, {"ini", 0}}, RCPT_OVER_QUOTA},
  };
  for (const auto& each : cases) {
    fs::remove_all(alice_);
    world_.AddAccount("example.test", "alice", "secret", each.Keys);
    for (const auto& [name, size] : each.Files) {
      WriteFile(alice_ / name, "");
      fs::resize_file(alice_ / name, size);
    }
    EXPECT_EQ(CheckRecipient("alice@example.test", "s@far.test", false), each.Verdict)
        << each.Keys << each.Files.size() << " files";
  }
  // The lists come first, so a rejected sender hears of the rejection.
  WriteFile(alice_ / "reject.ini", "s@far.test");
  EXPECT_EQ(CheckRecipient("alice@example.test", "s@far.test", false), RCPT_REJECTED);
}

}  // namespace
}  // namespace velnor::test
