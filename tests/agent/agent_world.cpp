#include "agent/agent_world.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <regex>

#include "agent/delivery_worker.h"
#include "agent/spool_queue.h"
#include "platform/clock.h"
#include "platform/file.h"

namespace velnor::test {
namespace fs = std::filesystem;
using namespace std::string_literals;

const std::string MESSAGE =
    "Received: from client by host (Velnor Smtp v1.0) ; then\r\nSubject: all bytes\r\n\r\n..dots\r\n\r\n"s +
    "a NUL: \0, a CR: \r, an LF: \n, 8 bits: \xe4\xff\r\n"s + std::string(1022, 'x') + "\r\n" +
    std::string(3000, 'y') + "\r\nno line end";

std::string SpoolText(const std::string& recipients, const std::string& sender, int retries,
                      const std::string& text) {
  return "Forward-Path: " + recipients + "\r\nReturn-Path: " + sender +
         "\r\nRetry-Times: " + std::to_string(retries) + "\r\n" + text;
}

std::string NoticeText(const std::string& sender, const std::string& recipients, const std::string& reason) {
  return "From: Postmaster@" + sender.substr(sender.find('@') + 1) + "\nTo: " + sender +
         "\nDate: <date>\nSubject: Failed Delivery Notification\n\n"
         "Mail transport error, Velnor SMTP Agent could not deliver the following message to <" +
         recipients + ">\n\nReason: " + reason + "\n\n--======-- Original Message Follows --======--  \n\n" +
         MESSAGE;
}

namespace {

// The bytes that a text has in a file of the mail store.
std::string Stored(std::string_view text) {
  return Replaced(std::string(text), "\n", "\r\n");
}

// The messages in a directory whose names begin with a letter.
Texts Messages(const fs::path& directory, const char* letter) {
  static const std::regex date("[A-Z][a-z]{2}, [0-9]{2} [A-Z][a-z]{2} [0-9]{4} [0-9:]{8} [-+][0-9]{4}");
  Texts texts;
  for (const std::string& name : FileNames(directory)) {
    EXPECT_TRUE(std::regex_match(name, std::regex(letter + "[0-9]{32,}"s))) << name;
    texts.insert(Replaced(std::regex_replace(ReadFile(directory / name), date, "<date>"), "\r\n", "\n"));
  }
  return texts;
}

}  // namespace

rlim_t DescriptorsFor(int more_files) {
  const int next = ::dup(STDERR_FILENO);
  ::close(next);
  return static_cast<rlim_t>(next + more_files);
}

std::string OpenTornText(platform::TextReader& stream) {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* const memory = ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  std::memset(memory, 'x', page);
  EXPECT_EQ(::munmap(static_cast<char*>(memory) + page, page), 0);
  EXPECT_EQ(stream.Open("/proc/self/mem"), 0);
  stream.Seek(static_cast<platform::TextReader::Position>(reinterpret_cast<std::uintptr_t>(memory)));
  return std::string(page, 'x');
}

AgentWorld::AgentWorld() {
  platform::StartFiles();
  for (const char* user : {"alice", "bob"}) world_.AddAccount(DOMAIN, user, "password");
}

AgentWorld::~AgentWorld() {
  platform::SetClockOffset(0);
}

fs::path AgentWorld::PutSpoolFile(std::string_view name, std::string_view text) {
  const fs::path path = world_.Spool() / name;
  WriteFile(path, Stored(text));
  return path;
}

void AgentWorld::OpenMessage(platform::TextReader& stream, std::string_view text) {
  const fs::path path = world_.Root() / "open message";
  WriteFile(path, Stored("a head line\r\n" + std::string(text)));
  ASSERT_EQ(stream.Open(path), 0);
  std::string head;
  ASSERT_TRUE(stream.ReadLine(100, head));
}

void AgentWorld::ExpectAtMessage(platform::TextReader& stream, std::string_view text) {
  std::string rest;
  stream.ReadBlock(text.size() + 1, rest);
  EXPECT_EQ(rest, text);
}

void AgentWorld::RunWorker(const fs::path& spool_path) {
  AgentTask task;
  task.SpoolPath = spool_path;
  AgentWorkerThread(task);
}

void AgentWorld::DeliverAll() {
  platform::SetClockOffset(3600);
  std::string spool_path;
  for (int turns = 0; turns < 1000 && ClaimNextSpoolFile(spool_path) == 1; ++turns) RunWorker(spool_path);
}

Texts AgentWorld::Inbox(std::string_view user) const {
  return Messages(world_.Inbox(DOMAIN, user), "n");
}

Texts AgentWorld::Waiting() const {
  return Messages(world_.Spool(), "s");
}

}  // namespace velnor::test
