#include "smtp/smtp_session.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <string>
#include <vector>

#include "core/base64.h"
#include "core/command_loop.h"
#include "core/log_service.h"
#include "core/mail_store.h"
#include "core/socket_text.h"
#include "core/system_config.h"
#include "platform/host_lookup.h"
#include "smtp/message_reception.h"
#include "smtp/recipient_check.h"
#include "smtp/smtp_listener.h"

namespace velnor {
namespace {

constexpr int MAX_ERRORS = 5;
constexpr std::size_t RECIPIENT_LIST_LIMIT = 2043;  // bytes at which a recipient is one too many
constexpr std::size_t PASSWORD_LIMIT = 19;
constexpr std::array NO_ERRORS = {220, 221, 235, 250, 334, 354};

const std::string& UsernamePrompt() {
  static const std::string prompt = Base64Encode("username:");
  return prompt;
}
const std::string& PasswordPrompt() {
  static const std::string prompt = Base64Encode("password:");
  return prompt;
}

constexpr StateSet COMMAND_STATES =
    States(SMTP_CONNECTED, SMTP_EHLO_DONE, SMTP_READY, SMTP_HAVE_SENDER, SMTP_HAVE_RCPT);

// The address in the argument of MAIL FROM and RCPT TO.
FixedText<128> AddressArgument(std::string_view argument) {
  const FixedText<128> text(argument);
  return FixedText<128>(TrimRightChar(TrimLeftChar(TrimBlanks(text), '<'), '>'));
}

class SmtpSession : public SessionProtocol {
 public:
  explicit SmtpSession(SessionSlot& slot) : slot_(slot) {}

  void Greet() override { Reply(220, "Velnor SMTP/ESMTP service ready"); }

  void LogLine(std::string_view line) override {
    WriteLog(LOG_SMTP, "[%d]R: %s", static_cast<int>(slot_.ThreadId), LogSafe(line).c_str());
  }

  Session HandleLine(std::string_view line) override;

  void TimedOut() override { Reply(501, "timeout, connection closed"); }

  void Disconnected() override {
    WriteLog(LOG_SMTP, "[%d]session disconnected", static_cast<int>(slot_.ThreadId));
  }

 private:
  static const std::array<Command<SmtpSession>, 9> COMMANDS;

  Session Noop(std::string_view line);
  Session Quit(std::string_view line);
  Session Rset(std::string_view line);
  Session Helo(std::string_view line);
  Session Ehlo(std::string_view line);
  Session AuthLogin(std::string_view line);
  Session MailFrom(std::string_view line);
  Session RcptTo(std::string_view line);
  Session Data(std::string_view line);

  void TakeAuthUser(std::string_view line);
  void TakeAuthPassword(std::string_view line);
  void AddRecipient(std::string_view recipient);

  // The replies of this protocol hold no text of the peer's, so each is a whole text of ours.
  void Reply(int code, const char* text) { SmtpReply(slot_.SlotIndex, code, "%s", text); }

  SessionSlot& slot_;
  SmtpState state_ = SMTP_CONNECTED;
  FixedText<49> HeloName;
  FixedText<128> Sender;
  FixedText<2048> RecipientList;  // accepted recipients, joined by ","
  SessionUser AuthUser;
  SessionDomain AuthDomain;
  FixedText<PASSWORD_LIMIT> AuthPassword;
  bool RelayAllowed = false;  // once the password step has succeeded, for the whole connection
};

// In the order of comparison.
const std::array<Command<SmtpSession>, 9> SmtpSession::COMMANDS = {{
    {"NOOP", COMMAND_STATES, &SmtpSession::Noop},
    {"QUIT", COMMAND_STATES, &SmtpSession::Quit},
    {"RSET", COMMAND_STATES, &SmtpSession::Rset},
    {"HELO", States(SMTP_CONNECTED), &SmtpSession::Helo},
    {"EHLO", States(SMTP_CONNECTED), &SmtpSession::Ehlo},
    {"AUTH LOGIN", States(SMTP_EHLO_DONE), &SmtpSession::AuthLogin},
    {"MAIL FROM:", States(SMTP_EHLO_DONE, SMTP_READY), &SmtpSession::MailFrom},
    {"RCPT TO:", States(SMTP_HAVE_SENDER, SMTP_HAVE_RCPT), &SmtpSession::RcptTo},
    {"DATA", States(SMTP_HAVE_RCPT), &SmtpSession::Data},
}};

Session SmtpSession::HandleLine(std::string_view line) {
  if (state_ == SMTP_AUTH_USER) {
    TakeAuthUser(line);
    return Session::GOES_ON;
  }
  if (state_ == SMTP_AUTH_PASS) {
    TakeAuthPassword(line);
    return Session::GOES_ON;
  }
  const Command<SmtpSession>* const command = FindCommand<SmtpSession>(COMMANDS, line);
  if (command == nullptr) {
    Reply(502, "invalid command");
    return Session::GOES_ON;
  }
  if ((command->OpenIn & States(state_)) == 0) {
    Reply(502, "command error, not in the status");
    return Session::GOES_ON;
  }
  return (this->*command->Handler)(line);
}

Session SmtpSession::Noop(std::string_view) {
  Reply(250, "server running OK");
  return Session::GOES_ON;
}

Session SmtpSession::Quit(std::string_view) {
  Reply(221, "closing connection from Velnor SMTP/ESMTP server");
  return Session::ENDS;
}

Session SmtpSession::Rset(std::string_view) {
  HeloName.Clear();
  Sender.Clear();
  AuthUser.Clear();
  AuthPassword.Clear();
  RecipientList.Clear();
  if (state_ == SMTP_HAVE_SENDER || state_ == SMTP_HAVE_RCPT) state_ = SMTP_READY;
  Reply(250, "OK");
  return Session::GOES_ON;
}

Session SmtpSession::Helo(std::string_view line) {
  HeloName.Set(TextFrom(line, 5));
  HeloName.Set(TrimBlanks(HeloName));
  if (CheckHeloName(HeloName, slot_.PeerAddress, g_SystemConfig.AntiSpamLevel) == 1) {
    state_ = SMTP_READY;
    Reply(250, "OK");
  } else {
    Reply(502, "HELO domain is not accepted");
  }
  return Session::GOES_ON;
}

Session SmtpSession::Ehlo(std::string_view line) {
  HeloName.Set(TextFrom(line, 5));
  HeloName.Set(TrimBlanks(HeloName));
  state_ = SMTP_EHLO_DONE;
  Reply(250, "auth login");
  return Session::GOES_ON;
}

Session SmtpSession::AuthLogin(std::string_view) {
  state_ = SMTP_AUTH_USER;
  Reply(334, UsernamePrompt().c_str());
  return Session::GOES_ON;
}

void SmtpSession::TakeAuthUser(std::string_view line) {
  AuthUser.Clear();
  state_ = SMTP_AUTH_PASS;
  const FixedText<128> decoded(Base64Decode(line));
  if (SplitAddress(decoded, AuthUser, AuthDomain) == 1) {
    Reply(334, PasswordPrompt().c_str());
  } else {
    Reply(535, "invalid user");
  }
}

void SmtpSession::TakeAuthPassword(std::string_view line) {
  const bool fits = Base64DecodedSize(line.size()) <= PASSWORD_LIMIT;
  if (!fits) Reply(451, "password overflow");
  AuthPassword.Set(Base64Decode(line));
  if (fits && SmtpAuthenticate(AuthUser, AuthPassword, AuthDomain) == 1) {
    RelayAllowed = true;
    state_ = SMTP_READY;
    Reply(235, "authentication OK");
  } else {
    state_ = SMTP_CONNECTED;
    Reply(535, "authentication failed");
  }
}

Session SmtpSession::MailFrom(std::string_view line) {
  Sender = AddressArgument(TextFrom(line, 10));
  RecipientList.Clear();
  if (CheckSenderFormat(Sender) == 1) {
    state_ = SMTP_HAVE_SENDER;
    Reply(250, "OK");
  } else {
    Reply(502, "mail from format error");
  }
  return Session::GOES_ON;
}

Session SmtpSession::RcptTo(std::string_view line) {
  const FixedText<128> recipient = AddressArgument(TextFrom(line, 8));
  switch (CheckRecipient(recipient, Sender, RelayAllowed)) {
    case RCPT_OK:
      AddRecipient(recipient);
      break;
    case RCPT_REJECTED:
      Reply(551, "user reject your mail, do not try it!");
      break;
    case RCPT_NOT_LOCAL:
      Reply(503, "not local mail");
      break;
    case RCPT_NO_USER:
      Reply(550, "no such user here");
      break;
    case RCPT_OVER_QUOTA:
      Reply(550, "maximal mailbox space, do not send!");
      break;
    case RCPT_BAD_ADDRESS:
      Reply(451, "rcpt address incorrect");
      break;
  }
  return Session::GOES_ON;
}

void SmtpSession::AddRecipient(std::string_view recipient) {
  if (recipient.size() + RecipientList.size() >= RECIPIENT_LIST_LIMIT) {
    Reply(451, "server buffer overflow");
    return;
  }
  if (!RecipientList.empty()) RecipientList.Append(",");
  RecipientList.Append(recipient);
  state_ = SMTP_HAVE_RCPT;
  Reply(250, "accept user");
}

Session SmtpSession::Data(std::string_view) {
  Reply(354, "ready to receive mail data, end with CRLF.CRLF");
  if (ReceiveMessage(slot_.SlotIndex, Sender, RecipientList, HeloName) == 0) return Session::ENDS;
  Sender.Clear();
  RecipientList.Clear();
  state_ = SMTP_READY;
  return Session::GOES_ON;
}

}  // namespace

void SmtpSessionThread(SessionSlot& slot) {
  SmtpSession session(slot);
  RunSession(g_SmtpService, slot, session);
}

void SmtpReply(int slot_index, int code, const char* format, ...) {
  SessionSlot* const slot = OpenSlot(g_SmtpService, slot_index);
  if (slot == nullptr) return;
  const int thread_id = static_cast<int>(slot->ThreadId);
  const bool is_error = std::find(NO_ERRORS.begin(), NO_ERRORS.end(), code) == NO_ERRORS.end();
  if (is_error && slot->ErrorCount >= MAX_ERRORS) {
    SendString(slot->Socket, "550 maximal retry times, close the session\r\n");
    platform::CloseSocket(slot->Socket);
    WriteLog(LOG_SMTP, "[%d]S: 550 maximal retry times, close the session", thread_id);
    return;
  }
  if (is_error) ++slot->ErrorCount;
  FixedText<1023> text;
  std::va_list arguments;
  va_start(arguments, format);
  text.FormatList(format, arguments);
  va_end(arguments);
  WriteLog(LOG_SMTP, "[%d]S: %d %s", thread_id, code, LogSafe(text).c_str());
  if (SendString(slot->Socket, FormatText("%d %s\r\n", code, text.c_str())) < 1)
    platform::CloseSocket(slot->Socket);
}

int CheckHeloName(std::string_view name, std::string_view peer_address, int anti_spam_level) {
  if (anti_spam_level < 1) return 1;
  const std::vector<platform::DottedAddress> addresses = platform::LookupHost(name);
  return std::any_of(addresses.begin(), addresses.end(),
                     [peer_address](const platform::DottedAddress& address) {
                       return address.View() == peer_address;
                     })
             ? 1
             : 0;
}

int CheckSenderFormat(std::string_view sender) {
  const std::size_t at = sender.find('@');
  return at != std::string_view::npos && at > 0 && at + 1 < sender.size() ? 1 : 0;
}

int SmtpAuthenticate(std::string_view user, std::string_view password, std::string_view domain) {
  return Authenticate(user, password, domain, "SmtpEnable") ? 1 : 0;
}

}  // namespace velnor
