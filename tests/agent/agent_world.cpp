#include "agent/agent_world.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
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

std::string Stored(std::string_view text) {
  return Replaced(std::string(text), "\n", "\r\n");
}

std::vector<std::string> StoredTexts(const std::vector<std::string>& texts) {
  std::vector<std::string> stored;
  for (const std::string& text : texts) stored.push_back(Stored(text));
  std::sort(stored.begin(), stored.end());
  return stored;
}

std::string SpoolText(std::string_view recipients, std::string_view sender, int retries,
                      std::string_view text) {
  return "Forward-Path: "s.append(recipients)
             .append("\r\nReturn-Path: ")
             .append(sender)
             .append("\r\nRetry-Times: ") +
         std::to_string(retries) + "\r\n" + std::string(text);
}

std::string NoticeText(std::string_view sender, std::string_view recipients, std::string_view reason,
                       std::string_view text) {
  return "From: Postmaster@"s.append(sender.substr(sender.find('@') + 1)).append("\nTo: ").append(sender) +
         "\nDate: <date>\nSubject: Failed Delivery Notification\n\n"
         "Mail transport error, Velnor SMTP Agent could not deliver the following message to <"s
             .append(recipients)
             .append(">\n\nReason: ")
             .append(reason)
             .append("\n\n--======-- Original Message Follows --======--  \n\n")
             .append(text);
}

namespace {

// The messages in a directory whose names begin with a letter.
std::vector<std::string> Texts(const fs::path& directory, const char* letter) {
  static const std::regex date("[A-Z][a-z]{2}, [0-9]{2} [A-Z][a-z]{2} [0-9]{4} [0-9:]{8} [-+][0-9]{4}");
  const std::regex form(letter + "[0-9]{32,}"s);
  std::vector<std::string> texts;
  for (const std::string& name : FileNames(directory)) {
    EXPECT_TRUE(std::regex_match(name, form)) << name;
    texts.push_back(std::regex_replace(ReadFile(directory / name), date, "<date>"));
  }
  std::sort(texts.begin(), texts.end());
  return texts;
}

}  // namespace

rlim_t DescriptorsFor(int more_files) {
  const int next = ::dup(STDERR_FILENO);
  ::close(next);
  return static_cast<rlim_t>(next + more_files);
}

TornText::TornText()
    : page_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
      memory_(::mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
  std::memset(memory_, 'x', page_);
  EXPECT_EQ(::munmap(static_cast<char*>(memory_) + page_, page_), 0);
}

TornText::~TornText() {
  ::munmap(memory_, page_);
}

void TornText::Open(platform::TextReader& stream) const {
  ASSERT_EQ(stream.Open("/proc/self/mem"), 0);
  stream.Seek(static_cast<platform::TextReader::Position>(reinterpret_cast<std::uintptr_t>(memory_)));
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

std::vector<std::string> AgentWorld::Inbox(std::string_view user) const {
  return Texts(world_.Inbox(DOMAIN, user), "n");
}

std::vector<std::string> AgentWorld::Waiting() const {
  return Texts(world_.Spool(), "s");
}

std::vector<std::string> AgentWorld::Log() {
  static const std::regex thread("^\\[[0-9]+\\]");
  const std::vector<std::string> messages = world_.LogMessages();
  std::vector<std::string> log;
  for (; seen_ < messages.size(); ++seen_) {
    log.push_back(
        Replaced(std::regex_replace(messages[seen_], thread, ""), world_.Spool().string(), "<spool>"));
  }
  return log;
}

}  // namespace velnor::test
