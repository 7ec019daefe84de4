#include "platform/instance_probe.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <ctime>
#include <fstream>
#include <sstream>

#include "platform/account.h"
#include "platform/directory_walk.h"

namespace platform {
namespace {

constexpr std::string_view GONE = " (deleted)";  // behind the path of a program that was replaced
constexpr std::string_view LISTENING = "0A";

// The number that a whole text is, or none.
template <typename Number>
std::optional<Number> WholeNumber(std::string_view text, int base = 10) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  std::string word;
  while (stream >> word) words.push_back(word);
  return words;
}

std::string LinkTarget(const std::string& path) {
  char room[PATH_MAX];
  const ssize_t length = ::readlink(path.c_str(), room, sizeof room);
  return length <= 0 ? std::string() : std::string(room, static_cast<std::size_t>(length));
}

// How a socket is shown among a process's descriptors; empty if nobody holds the name.
std::string NameSocket(std::string_view name) {
  constexpr std::size_t INODE = 6;
  constexpr std::size_t PATH = 7;
  std::ifstream sockets("/proc/net/unix");
  std::string line;
  while (std::getline(sockets, line)) {
    const std::vector<std::string> words = Words(line);
    if (words.size() > PATH && words[PATH] == "@" + std::string(name)) return "socket:[" + words[INODE] + "]";
  }
  return {};
}

// What the descriptors of a process point to; none if this account may not look at each of them.
std::optional<std::vector<std::string>> DescriptorTargets(const std::string& process) {
  std::vector<std::string> targets;
  DirectoryWalk walk;
  if (walk.Open(process + "/fd") != 0) return std::nullopt;
  WalkEntry entry;
  while (walk.Next(entry)) {
    if (entry.isDirectory) continue;
    targets.push_back(LinkTarget(process + "/fd/" + entry.name));
    // One that was closed meanwhile is none.
    if (targets.back().empty() && errno != ENOENT) return std::nullopt;
  }
  return walk.Failed() ? std::nullopt : std::optional(targets);
}

std::string ShortName(const std::string& process) {
  std::ifstream file(process + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

bool Holds(const std::vector<std::string>& targets, const std::string& target) {
  return std::find(targets.begin(), targets.end(), target) != targets.end();
}

std::int64_t StartTime(const std::string& process) {
  constexpr std::size_t START_TICKS = 19;  // counted from the field behind the name
  std::ifstream file(process + "/stat");
  std::string line;
  std::getline(file, line);
  // The name stands in parentheses and may hold blanks and parentheses itself.
  const std::vector<std::string> words = Words(line.substr(std::min(line.rfind(')') + 1, line.size())));
  const auto ticks =
      words.size() > START_TICKS ? WholeNumber<std::int64_t>(words[START_TICKS]) : std::nullopt;
  timespec since_boot{};
  if (!ticks || ::clock_gettime(CLOCK_BOOTTIME, &since_boot) != 0) return 0;
  return std::time(nullptr) - (since_boot.tv_sec - *ticks / ::sysconf(_SC_CLK_TCK));
}

std::vector<int> ListeningPorts(const std::string& process, const std::vector<std::string>& targets) {
  constexpr std::size_t LOCAL = 1;
  constexpr std::size_t STATE = 3;
  constexpr std::size_t INODE = 9;
  std::vector<int> ports;
  std::ifstream sockets(process + "/net/tcp");
  std::string line;
  while (std::getline(sockets, line)) {
    const std::vector<std::string> words = Words(line);
    if (words.size() <= INODE || words[STATE] != LISTENING) continue;
    if (!Holds(targets, "socket:[" + words[INODE] + "]")) continue;
    const std::string_view local = words[LOCAL];
    if (const auto port = WholeNumber<int>(local.substr(local.find(':') + 1), 16)) ports.push_back(*port);
  }
  std::sort(ports.begin(), ports.end());
  return ports;
}

InstanceProcess Describe(std::int64_t id, const std::vector<std::string>& targets) {
  const std::string process = "/proc/" + std::to_string(id);
  InstanceProcess instance;
  instance.Id = id;
  instance.Started = StartTime(process);
  instance.Program = LinkTarget(process + "/exe");
  if (instance.Program.ends_with(GONE)) instance.Program.resize(instance.Program.size() - GONE.size());
  instance.Directory = LinkTarget(process + "/cwd");
  instance.Ports = ListeningPorts(process, targets);
  return instance;
}

// Whether a process is the instance, as far as can be seen.
bool MayBe(const InstanceProcess& instance, std::int64_t id) {
  if (instance.Id != 0) return instance.Id == id;
  return std::any_of(instance.Hidden.begin(), instance.Hidden.end(),
                     [id](const HiddenProcess& process) { return process.Id == id; });
}

}  // namespace

std::optional<InstanceProcess> ProbeInstance(std::string_view name) {
  const OwnFileRights rights;  // any account may have started the process
  const std::string socket = NameSocket(name);
  if (socket.empty()) return std::nullopt;
  InstanceProcess unknown;
  DirectoryWalk walk;
  if (walk.Open("/proc") != 0) return unknown;
  WalkEntry entry;
  while (walk.Next(entry)) {
    const auto id = WholeNumber<std::int64_t>(entry.name);
    if (!id) continue;
    const std::string process = "/proc/" + entry.name;
    const std::optional<std::vector<std::string>> targets = DescriptorTargets(process);
    if (targets && Holds(*targets, socket)) return Describe(*id, *targets);
    if (targets) continue;
    const std::string short_name = ShortName(process);  // empty if the process has ended
    if (!short_name.empty()) unknown.Hidden.push_back({*id, short_name});
  }
  return unknown;
}

bool RequestReload(std::string_view name, std::int64_t id) {
  // The descriptor stands for this very process, so its number can't come to mean another one meanwhile.
  const auto process = static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(id), 0));
  if (process < 0) return false;
  const std::optional<InstanceProcess> holder = ProbeInstance(name);
  const bool done =
      holder && MayBe(*holder, id) && ::syscall(SYS_pidfd_send_signal, process, SIGHUP, nullptr, 0) == 0;
  ::close(process);
  return done;
}

}  // namespace platform
