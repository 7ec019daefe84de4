// The mail store: names that lead nowhere else, and the walks over a tree.

#include "core/mail_store.h"

#include <gtest/gtest.h>

#include "core/system_config.h"
#include "support/resource_limit.h"
#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

class MailStore : public ::testing::Test {
 protected:
  TestWorld world_;
  const fs::path alice_ = world_.AddAccount("example.test", "Alice", "Secret");
};

TEST_F(MailStore, NamesMatchWithoutCaseAndStayInTheTree) {
  const fs::path domain = world_.MailRoot() / "example.test";
  for (const char* name : {"bob", "BOB", "Bob"}) fs::create_directory(domain / name);
  const struct {
    std::string Domain, User, Directory;  // the last one below the mail root; none for a name that is refused
  } cases[] = {
      {"EXAMPLE.test", "alice", "example.test/Alice"},
      {"example.test", "bob", "example.test/bob"},
      {"example.test", "...", "example.test/..."},
      {"example.test", "..", ""},
      {"..", "mail", ""},
      {"", "alice", ""},
      {"example.test", "../example.test/Alice", ""},
      {"example.test", "a\\b", ""},
      {"example.test", std::string("a\0b", 3), ""},
  };
  for (const auto& each : cases) {
    const auto directory = UserDirectory(each.Domain, each.User);
    EXPECT_EQ(directory.has_value(), !each.Directory.empty()) << each.User;
    EXPECT_EQ(directory.value_or(world_.MailRoot() / ""), world_.MailRoot() / each.Directory);
  }
}

TEST_F(MailStore, AFaultIsNotAMissingInbox) {
  std::string inbox;
  EXPECT_EQ(FindInbox("example.test", "ALICE", inbox), InboxState::PRESENT);
  EXPECT_EQ(inbox, world_.Inbox("example.test", "Alice").string());
  EXPECT_EQ(FindInbox("example.test", "nobody", inbox), InboxState::MISSING);
  EXPECT_EQ(FindInbox("example.test", std::string(300, 'x'), inbox), InboxState::MISSING);

  {
    const ResourceLimit no_descriptor(RLIMIT_NOFILE, 0);
    EXPECT_EQ(FindInbox("example.test", "Alice", inbox), InboxState::PRESENT);
    EXPECT_EQ(FindInbox("example.test", "ALICE", inbox), InboxState::FAULT);
  }

  fs::remove_all(alice_ / "MailDir");
  EXPECT_EQ(FindInbox("example.test", "Alice", inbox), InboxState::MISSING);
  fs::rename(world_.MailRoot(), world_.Root() / "away");
  EXPECT_EQ(FindInbox("example.test", "Alice", inbox), InboxState::FAULT);
}

TEST_F(MailStore, DeleteTreeTakesLinksAndNotWhatTheyPointTo) {
  const fs::path outside = world_.Root() / "outside";
  fs::create_directories(outside / "below");
  WriteFile(outside / "file", "kept");
  fs::create_directory_symlink(outside, alice_ / "link");
  fs::create_symlink(outside / "file", alice_ / "MailDir" / "link");
  WriteFile(alice_ / "MailDir" / "Inbox" / ".hidden", "x");
  EXPECT_EQ(DeleteTree(alice_.string()), 1);
  EXPECT_FALSE(fs::exists(alice_));

  fs::create_directory_symlink(outside, alice_);
  EXPECT_EQ(DeleteTree(alice_.string()), 1);
  EXPECT_FALSE(fs::is_symlink(alice_));
  EXPECT_EQ(FileNames(outside), (std::vector<std::string>{"below", "file"}));
  EXPECT_EQ(DeleteTree((outside / "missing").string()), 0);
  EXPECT_EQ(DeleteTree((outside / "file").string()), 0);
}

}  // namespace
}  // namespace velnor::test
