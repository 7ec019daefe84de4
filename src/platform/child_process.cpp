#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

#include "platform/thread.h"

namespace platform {
namespace {

constexpr std::size_t OUTPUT_CAPACITY = 64UL * 1024;

using Clock = std::chrono::steady_clock;

// Where the standard output of a program goes when nobody reads it.
constexpr int NOWHERE = -1;

void AddStreams(posix_spawn_file_actions_t& actions, int output, ErrorOutput errors) {
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output == NOWHERE) {
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  } else {
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  }
  if (errors == ErrorOutput::DROPPED) {
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  }
}

// What this process holds back or ignores is its own affair.
void AddPlainSignals(posix_spawnattr_t& attributes) {
  sigset_t none;
  sigset_t plain;
  ::sigemptyset(&none);
  ::sigfillset(&plain);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setsigdefault(&attributes, &plain);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

// The process's id, or -1.
pid_t Spawn(const std::vector<std::string>& words, int output, ErrorOutput errors) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawnattr_init(&attributes);
  AddStreams(actions, output, errors);
  AddPlainSignals(attributes);
  pid_t id = -1;
  const int error = ::posix_spawnp(&id, arguments[0], &actions, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? id : -1;
}

// Takes what there is to read. False once there is nothing more to come, or nothing at the moment.
bool TakeOutput(int descriptor, std::string& output) {
  std::array<char, 4096> block;
  const ssize_t count = ::read(descriptor, block.data(), block.size());
  if (count < 0 && errno == EINTR) return true;
  if (count <= 0) return false;
  const std::size_t room = OUTPUT_CAPACITY - output.size();
  output.append(block.data(), std::min(room, static_cast<std::size_t>(count)));
  return true;
}

// Reads until the process has ended. False if it had not by then.
bool ReadUntilEnd(int process, int descriptor, Clock::time_point until, std::string& output) {
  std::array<pollfd, 2> waits = {pollfd{process, POLLIN, 0}, pollfd{descriptor, POLLIN, 0}};
  bool ended = false;
  while (!ended) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    if (left <= 0) return false;
    if (::poll(waits.data(), waits.size(), static_cast<int>(left)) <= 0) continue;
    ended = waits[0].revents != 0;
    // A stream that was closed early must not keep this loop awake.
    if (waits[1].revents != 0 && !TakeOutput(descriptor, output)) waits[1].fd = -1;
  }
  while (TakeOutput(descriptor, output)) continue;
  return true;
}

int EndStatus(pid_t id) {
  int status = 0;
  while (::waitpid(id, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& words, int milliseconds, ErrorOutput errors) {
  ProgramResult result;
  const Clock::time_point until = Clock::now() + std::chrono::milliseconds(milliseconds);
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return result;
  // What a grandchild still holds open must not make the last reads wait.
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  const pid_t id = Spawn(words, ends[1], errors);
  ::close(ends[1]);
  if (id > 0) {
    const auto process = static_cast<int>(::syscall(SYS_pidfd_open, id, 0));
    if (process < 0 || !ReadUntilEnd(process, ends[0], until, result.Output)) ::kill(id, SIGKILL);
    result.Status = EndStatus(id);
    if (process >= 0) ::close(process);
  }
  ::close(ends[0]);
  return result;
}

bool StartProgram(const std::vector<std::string>& words) {
  const pid_t id = Spawn(words, NOWHERE, ErrorOutput::DROPPED);
  if (id <= 0) return false;
  // Somebody has to take its end, or it stays in the system's table for as long as this process lives.
  CloseThreadHandle(StartThread([id] { EndStatus(id); }));
  return true;
}

}  // namespace platform
