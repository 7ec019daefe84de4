#include "support/test_world.h"

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <thread>

#include "core/system_config.h"
#include "platform/socket.h"

namespace velnor::test {
namespace fs = std::filesystem;
namespace {

fs::path MakeRoot() {
  std::string pattern = (fs::temp_directory_path() / "velnor-test-XXXXXX").string();
  return ::mkdtemp(pattern.data()) == nullptr ? fs::path() : fs::path(pattern);
}

}  // namespace

TestWorld::TestWorld() : root_(MakeRoot()), app_({}) {
  for (const fs::path& directory : {Work(), App(), MailRoot()}) fs::create_directories(directory);
  WriteFile(Work() / "velnor.ini", "[System]\nMailPath=" + MailRoot().string() + "\n");
  g_SystemConfig.Open(Work().string(), App().string());
}

TestWorld::~TestWorld() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

fs::path TestWorld::AddAccount(std::string_view domain, std::string_view user, std::string_view password,
                               std::string_view keys) {
  if (g_SystemConfig.IsLocalDomain(domain) == 0) g_SystemConfig.AddDomain(domain);
  fs::create_directories(Inbox(domain, user));
  const fs::path directory = MailRoot() / domain / user;
  std::string profile = "[Profile]\n";
  profile.append(keys).append("Pop3Enable=1\nSmtpEnable=1\nPassword=").append(password).append("\n");
  WriteFile(directory / "config.ini", profile);
  return directory;
}

fs::path TestWorld::Inbox(std::string_view domain, std::string_view user) const {
  return MailRoot() / domain / user / "MailDir" / "Inbox";
}

std::vector<std::string> TestWorld::LogMessages() {
  constexpr std::size_t MESSAGE_START = 26;
  std::uint64_t dropped = 0;
  for (const LogLine& line : app_.LogLines.Take(LogLineQueue::CAPACITY, dropped)) {
    const std::size_t end = line.Text.ends_with("\r\n") ? line.Text.size() - 2 : line.Text.size();
    messages_.push_back(line.Text.substr(MESSAGE_START, end - MESSAGE_START));
  }
  return messages_;
}

bool TestWorld::WaitForLog(std::string_view text) {
  return WaitUntil([&] {
    for (const std::string& message : LogMessages()) {
      if (message.find(text) != std::string::npos) return true;
    }
    return false;
  });
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::string> FileNames(const fs::path& directory) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, ignored)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

int FreePort() {
  const platform::Socket socket = platform::OpenStreamSocket();
  platform::BindSocket(socket, 0);
  const int port = platform::LocalPort(socket);
  platform::CloseSocket(socket);
  return port;
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::seconds most) {
  const auto deadline = std::chrono::steady_clock::now() + most;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

}  // namespace velnor::test
