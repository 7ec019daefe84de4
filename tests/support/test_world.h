// TestWorld: a server's surroundings in a directory of their own, for one test.
//
// It makes a working directory, a program directory and a mail root, opens g_SystemConfig on them, and stands
// in for the program as the receiver of log lines. All of it is gone when the object goes.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/server_app.h"

namespace velnor::test {

class TestWorld {
 public:
  TestWorld();
  ~TestWorld();
  TestWorld(const TestWorld&) = delete;
  TestWorld& operator=(const TestWorld&) = delete;

  const std::filesystem::path& Root() const { return root_; }
  std::filesystem::path Work() const { return root_ / "work"; }
  std::filesystem::path App() const { return root_ / "app"; }
  std::filesystem::path MailRoot() const { return root_ / "mail"; }
  std::filesystem::path Spool() const { return MailRoot() / "send"; }

  // Makes an account with its Inbox and a profile that allows SMTP and POP3; `keys` are further lines of the
  // profile, and come first. The user's directory.
  std::filesystem::path AddAccount(std::string_view domain, std::string_view user, std::string_view password,
                                   std::string_view keys = "");
  std::filesystem::path Inbox(std::string_view domain, std::string_view user) const;

  // The messages of all log lines so far, without time, label and line end.
  std::vector<std::string> LogMessages();

  // Whether a log message that holds the text comes within 10 seconds.
  bool WaitForLog(std::string_view text);

 private:
  std::filesystem::path root_;
  CServerApp app_;
  std::vector<std::string> messages_;
};

// A file's bytes, as stored; empty if it can't be read.
std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view bytes);

// The names in a directory, sorted.
std::vector<std::string> FileNames(const std::filesystem::path& directory);

// A TCP port that nobody listens on at the moment.
int FreePort();

// Polls until the condition holds or the time is over; whether it held.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::seconds most = std::chrono::seconds(10));

// `text` with every occurrence of one piece replaced.
std::string Replaced(std::string text, std::string_view from, std::string_view to);

}  // namespace velnor::test
