// The command loop that SMTP and POP3 sessions share: greet, read a line, hand it to the protocol, and take
// the session apart at its end. A protocol brings a SessionProtocol and a table of commands. Runs on the
// session's own thread.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "core/session_service.h"
#include "core/text.h"

namespace velnor {

inline constexpr std::size_t COMMAND_LINE_LIMIT = 128;  // bytes; a longer line arrives in pieces

// A command line is cut at its first NUL.
using CommandText = FixedText<COMMAND_LINE_LIMIT>;

// Whether a session goes on after a line.
enum class Session { GOES_ON, ENDS };

// One protocol's part in one session.
class SessionProtocol {
 public:
  virtual ~SessionProtocol() = default;

  virtual void Greet() = 0;

  // Asked before each read; false ends the session.
  virtual bool MayRead() { return true; }

  // The trimmed line, first for the log and then to be carried out.
  virtual void LogLine(std::string_view line) = 0;
  virtual Session HandleLine(std::string_view line) = 0;

  // Nothing has come for 60 seconds; the session ends behind this.
  virtual void TimedOut() = 0;

  // The connection is closed and the slot still filled: release what the session holds and log its end.
  virtual void Disconnected() = 0;
};

// Runs one session from its greeting to the freeing of its slot.
void RunSession(SessionService& service, SessionSlot& slot, SessionProtocol& protocol);

// States as a set of bits.
using StateSet = unsigned;
template <typename... State>
constexpr StateSet States(State... state) {
  return (0u | ... | (1u << static_cast<unsigned>(state)));
}

// A row of a protocol's command table. The word is compared without regard to case over its own length alone,
// so anything may follow it; the first row that matches counts.
template <typename Machine>
struct Command {
  std::string_view Word;
  StateSet OpenIn;  // elsewhere the command is refused
  Session (Machine::*Handler)(std::string_view line);
};

template <typename Machine>
const Command<Machine>* FindCommand(std::span<const Command<Machine>> table, std::string_view line) {
  for (const Command<Machine>& command : table) {
    if (StartsWithIgnoreCase(line, command.Word)) return &command;
  }
  return nullptr;
}

}  // namespace velnor
