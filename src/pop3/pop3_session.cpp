#include "pop3/pop3_session.h"

#include <array>
#include <cstdarg>
#include <optional>

#include "core/command_loop.h"
#include "core/log_service.h"
#include "core/mail_store.h"
#include "core/socket_text.h"
#include "core/system_config.h"
#include "pop3/maildrop.h"
#include "pop3/pop3_listener.h"

namespace velnor {
namespace {

using enum Pop3ReplyKind;

constexpr int MAX_ERRORS = 5;

constexpr StateSet ANY_STATE = States(POP3_START, POP3_USER_OK, POP3_TRANSACTION);
constexpr StateSet LOGGED_ON = States(POP3_TRANSACTION);

// A message number, or a number of lines, from the argument of a command.
std::int32_t NumberArgument(std::string_view line, std::size_t from) {
  return LeadingNumber(TextFrom(line, from));
}

class Pop3Session : public SessionProtocol {
 public:
  explicit Pop3Session(SessionSlot& slot) : slot_(slot) {}

  void Greet() override { Reply(POSITIVE, "Velnor pop3 service ready"); }

  bool MayRead() override { return g_Pop3Service.Listening != 0; }

  void LogLine(std::string_view line) override {
    WriteLog(LOG_POP3, "[%d]R: %s\n", static_cast<int>(slot_.ThreadId), LogSafe(line).c_str());
  }

  Session HandleLine(std::string_view line) override;

  void TimedOut() override { Reply(NEGATIVE, "timeout, connection closed"); }

  void Disconnected() override {
    maildrop_ = {};
    WriteLog(LOG_POP3, "[%d][%s]session disconnected", static_cast<int>(slot_.ThreadId),
             slot_.PeerAddress.c_str());
  }

 private:
  static const std::array<Command<Pop3Session>, 11> COMMANDS;

  Session Noop(std::string_view line);
  Session Quit(std::string_view line);
  Session User(std::string_view line);
  Session Pass(std::string_view line);
  Session Stat(std::string_view line);
  Session List(std::string_view line);
  Session Dele(std::string_view line);
  Session Rset(std::string_view line);
  Session Uidl(std::string_view line);
  Session Retr(std::string_view line);
  Session Top(std::string_view line);

  // The rows of LIST and UIDL differ in their second word alone.
  using RowText = std::string (*)(const MessageEntry& row);
  void ListRows(std::int32_t number, RowText text);

  // The row that RETR or TOP may send, or none with the refusal sent.
  const MessageEntry* RowToSend(std::int32_t number);

  bool IsRow(std::int32_t number) const { return number > 0 && number <= maildrop_.Count(); }
  MessageEntry& Row(std::int32_t number) { return maildrop_.Table[static_cast<std::size_t>(number - 1)]; }

  void Reply(Pop3ReplyKind kind, const std::string& text) {
    Pop3Reply(slot_.SlotIndex, kind, "%s", text.c_str());
  }

  SessionSlot& slot_;
  Pop3State state_ = POP3_START;
  SessionUser AuthUser;
  SessionDomain AuthDomain;
  FixedText<19> AuthPassword;
  std::string inbox_;
  Maildrop maildrop_;
};

// In the order of comparison. USER does its own test of the state, since a misplaced one logs the session
// out.
const std::array<Command<Pop3Session>, 11> Pop3Session::COMMANDS = {{
    {"NOOP", ANY_STATE, &Pop3Session::Noop},
    {"QUIT", ANY_STATE, &Pop3Session::Quit},
    {"USER", ANY_STATE, &Pop3Session::User},
    {"PASS", States(POP3_USER_OK), &Pop3Session::Pass},
    {"STAT", LOGGED_ON, &Pop3Session::Stat},
    {"LIST", LOGGED_ON, &Pop3Session::List},
    {"DELE", LOGGED_ON, &Pop3Session::Dele},
    {"RSET", LOGGED_ON, &Pop3Session::Rset},
    {"UIDL", LOGGED_ON, &Pop3Session::Uidl},
    {"RETR", LOGGED_ON, &Pop3Session::Retr},
    {"TOP", LOGGED_ON, &Pop3Session::Top},
}};

constexpr const char* NOT_OPEN = "command invalid in this state";
constexpr const char* NO_MESSAGE = "no this message";

Session Pop3Session::HandleLine(std::string_view line) {
  const Command<Pop3Session>* const command = FindCommand<Pop3Session>(COMMANDS, line);
  if (command == nullptr || (command->OpenIn & States(state_)) == 0) {
    Reply(NEGATIVE, NOT_OPEN);
    return Session::GOES_ON;
  }
  return (this->*command->Handler)(line);
}

Session Pop3Session::Noop(std::string_view) {
  Reply(POSITIVE, "");
  return Session::GOES_ON;
}

Session Pop3Session::Quit(std::string_view) {
  CommitDeletions(maildrop_);
  Reply(POSITIVE, "closing connection from Velnor pop3 server");
  return Session::ENDS;
}

Session Pop3Session::User(std::string_view line) {
  if (state_ != POP3_START) {
    state_ = POP3_START;
    Reply(NEGATIVE, NOT_OPEN);
    return Session::GOES_ON;
  }
  AuthUser.Clear();
  const FixedText<127> argument(TextFrom(line, 5));
  const std::string_view address = TrimBlanks(argument);
  if (address.empty() || SplitAddress(address, AuthUser, AuthDomain) == 0 ||
      g_SystemConfig.IsLocalDomain(AuthDomain) == 0) {
    Reply(NEGATIVE, "invalid user");
    return Session::GOES_ON;
  }
  state_ = POP3_USER_OK;
  Pop3Reply(slot_.SlotIndex, POSITIVE, "user %s accepted", AuthUser.c_str());
  return Session::GOES_ON;
}

Session Pop3Session::Pass(std::string_view line) {
  AuthPassword.Set(TextFrom(line, 5));
  AuthPassword.Set(TrimBlanks(AuthPassword));
  if (Pop3Authenticate(AuthUser, AuthPassword, AuthDomain, inbox_) == 1) {
    state_ = POP3_TRANSACTION;
    maildrop_ = BuildMessageTable(inbox_);
    Reply(POSITIVE, FormatText("%zu message(s) [%llu byte(s)]", maildrop_.Table.size(),
                               static_cast<unsigned long long>(maildrop_.TotalBytes)));
  } else {
    AuthUser.Clear();
    AuthPassword.Clear();
    state_ = POP3_START;
    Reply(NEGATIVE, "unable to logon on");
  }
  return Session::GOES_ON;
}

Session Pop3Session::Stat(std::string_view) {
  if (!maildrop_.HasTable()) maildrop_ = BuildMessageTable(inbox_);
  std::size_t count = 0;
  unsigned long long bytes = 0;
  for (const MessageEntry& row : maildrop_.Table) {
    if (row.Deleted) continue;
    ++count;
    bytes += row.Size;
  }
  Reply(POSITIVE, FormatText("%zu %llu", count, bytes));
  return Session::GOES_ON;
}

Session Pop3Session::List(std::string_view line) {
  const std::int32_t number = NumberArgument(line, 5);
  if (!maildrop_.HasTable() && number == 0) {
    Reply(POSITIVE, "0 0");
  } else {
    ListRows(number, [](const MessageEntry& row) { return std::to_string(row.Size); });
  }
  return Session::GOES_ON;
}

Session Pop3Session::Uidl(std::string_view line) {
  ListRows(NumberArgument(line, 5), [](const MessageEntry& row) { return row.UniqueId; });
  return Session::GOES_ON;
}

void Pop3Session::ListRows(std::int32_t number, RowText text) {
  if (!maildrop_.HasTable() || number < 0 || number > maildrop_.Count()) {
    Reply(NEGATIVE, NO_MESSAGE);
    return;
  }
  if (number > 0) {
    const MessageEntry& row = Row(number);
    if (row.Deleted) {
      Reply(NEGATIVE, FormatText("message %d mark deleted", number));
    } else {
      Reply(POSITIVE, FormatText("%d %s", number, text(row).c_str()));
    }
    return;
  }
  Reply(POSITIVE, "list messages");
  for (std::size_t i = 0; i < maildrop_.Table.size(); ++i) {
    const MessageEntry& row = maildrop_.Table[i];
    if (!row.Deleted) Reply(BARE, FormatText("%zu %s", i + 1, text(row).c_str()));
  }
  Reply(BARE, ".");
}

Session Pop3Session::Dele(std::string_view line) {
  const std::int32_t number = NumberArgument(line, 5);
  if (!IsRow(number)) {
    Reply(NEGATIVE, NO_MESSAGE);
  } else {
    Row(number).Deleted = true;
    Reply(POSITIVE, FormatText("message %d deleted", number));
  }
  return Session::GOES_ON;
}

Session Pop3Session::Rset(std::string_view) {
  for (MessageEntry& row : maildrop_.Table) row.Deleted = false;
  Reply(POSITIVE, FormatText("maildrop has %zu message(s)", maildrop_.Table.size()));
  return Session::GOES_ON;
}

const MessageEntry* Pop3Session::RowToSend(std::int32_t number) {
  if (!IsRow(number)) {
    Reply(NEGATIVE, "no mail data");
    return nullptr;
  }
  const MessageEntry& row = Row(number);
  if (row.Deleted) {
    Reply(NEGATIVE, FormatText("message %d is deleted", number));
    return nullptr;
  }
  Reply(POSITIVE, "mail data");
  return &row;
}

Session Pop3Session::Retr(std::string_view line) {
  if (const MessageEntry* const row = RowToSend(NumberArgument(line, 5)))
    SendMessageFile(slot_.Socket, row->FilePath);
  return Session::GOES_ON;
}

Session Pop3Session::Top(std::string_view line) {
  const std::string_view arguments = TextFrom(line, 4);
  const std::size_t blank = arguments.find(' ');
  const std::int32_t lines = blank == std::string_view::npos ? 0 : LeadingNumber(arguments.substr(blank));
  if (const MessageEntry* const row = RowToSend(LeadingNumber(arguments))) {
    SendMessageHead(slot_.Socket, row->FilePath, lines);
  }
  return Session::GOES_ON;
}

}  // namespace

void Pop3SessionThread(SessionSlot& slot) {
  Pop3Session session(slot);
  RunSession(g_Pop3Service, slot, session);
}

void Pop3Reply(int slot_index, Pop3ReplyKind kind, const char* format, ...) {
  SessionSlot* const slot = OpenSlot(g_Pop3Service, slot_index);
  if (slot == nullptr) return;
  const int thread_id = static_cast<int>(slot->ThreadId);
  if (kind == NEGATIVE && slot->ErrorCount++ >= MAX_ERRORS) {
    SendString(slot->Socket, "-ERR maximal retry times, close the session\r\n");
    WriteLog(LOG_POP3, "[%d]S: -ERR maximal retry times, close the session", thread_id);
    platform::CloseSocket(slot->Socket);
    return;
  }
  FixedText<1023> text;
  std::va_list arguments;
  va_start(arguments, format);
  text.FormatList(format, arguments);
  va_end(arguments);
  const char* const start = kind == POSITIVE ? "+OK " : kind == NEGATIVE ? "-ERR " : "";
  const std::string line = std::string(start) + text.c_str() + "\r\n";
  if (SendString(slot->Socket, line) <= 0) platform::CloseSocket(slot->Socket);
  WriteLog(LOG_POP3, "[%d]S: %s", thread_id, LogSafe(TrimBlanks(line)).c_str());
}

int Pop3Authenticate(std::string_view user, std::string_view password, std::string_view domain,
                     std::string& inbox) {
  const std::optional<std::string> directory = Authenticate(user, password, domain, "Pop3Enable");
  if (!directory) return 0;
  inbox = InboxPath(*directory);
  return 1;
}

}  // namespace velnor
