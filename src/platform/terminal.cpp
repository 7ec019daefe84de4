#include "platform/terminal.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "platform/standard_output.h"

namespace platform {
namespace {

constexpr std::size_t LONGEST_LINE = 64 * 1024;

volatile std::sig_atomic_t g_Caught = 0;

// Notes the signals of the keyboard and of an orderly end; the last of them acts when the object goes.
class NotedSignals {
 public:
  NotedSignals() {
    g_Caught = 0;
    struct sigaction note {};
    note.sa_handler = [](int number) { g_Caught = number; };
    for (std::size_t i = 0; i < NUMBERS.size(); ++i) ::sigaction(NUMBERS[i], &note, &before_[i]);
  }
  ~NotedSignals() {
    for (std::size_t i = 0; i < NUMBERS.size(); ++i) ::sigaction(NUMBERS[i], &before_[i], nullptr);
    if (g_Caught != 0) ::raise(g_Caught);
  }
  NotedSignals(const NotedSignals&) = delete;
  NotedSignals& operator=(const NotedSignals&) = delete;

 private:
  static constexpr std::array NUMBERS = {SIGINT, SIGTERM, SIGQUIT, SIGTSTP, SIGHUP};
  std::array<struct sigaction, NUMBERS.size()> before_{};
};

}  // namespace

bool InputIsTerminal() {
  return ::isatty(STDIN_FILENO) == 1;
}

std::optional<std::string> ReadInputLine() {
  // Byte by byte: what stands behind the line belongs to the next call, or to another program.
  std::string line;
  char byte = 0;
  while (line.size() < LONGEST_LINE) {
    const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
    if (count < 0 && errno == EINTR && g_Caught == 0) continue;
    if (count <= 0 && (line.empty() || g_Caught != 0)) return std::nullopt;
    if (count <= 0 || byte == '\n') break;
    line.push_back(byte);
  }
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

std::optional<std::string> ReadSecretLine(std::string_view prompt) {
  termios shown{};
  if (::tcgetattr(STDIN_FILENO, &shown) != 0) return ReadInputLine();
  const NotedSignals noted;
  termios hidden = shown;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  // The prompt comes last: what is typed after it is kept, and not shown.
  ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  WriteStandardError(prompt);
  std::optional<std::string> line = ReadInputLine();
  ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
  WriteStandardError("\n");
  return line;
}

}  // namespace platform
