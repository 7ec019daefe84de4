// The SMTP dialect line by line, and the service that runs it.

#include <gtest/gtest.h>

#include "core/base64.h"
#include "smtp/smtp_world.h"

namespace velnor::test {
namespace {

using std::string_literals::operator""s;

constexpr const char* NOOP_OK = "250 server running OK";
constexpr const char* BYE = "221 closing connection from Velnor SMTP/ESMTP server";
constexpr const char* UNKNOWN = "502 invalid command";
constexpr const char* NOT_OPEN = "502 command error, not in the status";
constexpr const char* BAD_SENDER = "502 mail from format error";
constexpr const char* LAST_WORD = "550 maximal retry times, close the session";
constexpr const char* ASK_USER = "334 dXNlcm5hbWU6";
constexpr const char* ASK_PASSWORD = "334 cGFzc3dvcmQ6";
constexpr const char* NO_USER = "535 invalid user";
constexpr const char* DENIED = "535 authentication failed";

std::string Filled(std::string start, std::size_t size) {
  start.resize(size, 'x');
  return start;
}

// Each runs in a session of its own.
const Dialogue COMMANDS[] = {
    // Before a greeting.
    {{"NOOP", NOOP_OK},
     {"RSET", "250 OK"},
     {{"MAIL FROM:<a@b>", "RCPT TO:<alice@example.test>", "DATA", "AUTH LOGIN"}, NOT_OPEN},
     {"QUIT", BYE}},
    // A word counts over its length, in any case, behind blanks.
    {{{"noOPe", " \t NOOP \t", "NOOP\0QUIT"s, "NOOP\rQUIT", Filled("NOOP", 126)}, NOOP_OK},
     {{"NO\0OP"s, "", "\x80\xff", "%s%n", "AUTH PLAIN"}, UNKNOWN},
     {"quit now", BYE}},
    // A long line is several.
    {{{"NOOP\nNOOP", Filled("NOOP", 128) + "NOOP"}, NOOP_OK + "\n"s + NOOP_OK},
     {{Filled("NOOP", 127), Filled("NOOP", 128)}, NOOP_OK + "\n"s + UNKNOWN},
     {Filled("NOOP", 300), NOOP_OK + "\n"s + UNKNOWN + "\n" + UNKNOWN}},
    {{"HELO", "250 OK"},
     {{"HELO x", "EHLO x", "AUTH LOGIN"}, NOT_OPEN},
     {"RSET", "250 OK"},
     {"DATA", NOT_OPEN}},
    {{"ehlo x", "250 auth login"},
     {"EHLO x", NOT_OPEN},
     {"RSET", "250 OK"},
     {"RCPT TO:<alice@example.test>", NOT_OPEN},
     {"MAIL FROM:<a@b>", "250 OK"},
     {"AUTH LOGIN", NOT_OPEN}},
    // Senders that are none.
    {{"HELO x", "250 OK"},
     {{"MAIL FROM:<>", "MAIL FROM:<ab>", "MAIL FROM:<@b>", "MAIL FROM:  <a@>", "MAIL FROM:"}, BAD_SENDER},
     {"MAIL FROM:<a@b> SIZE=1", "250 OK"}},
    {{"HELO x", "250 OK"},
     {{"MAIL  FROM:<a@b>", "MAIL FROM :<a@b>"}, UNKNOWN},
     {"mail from: \t<\xe4@b>", "250 OK"},
     {"MAIL FROM:<a@b>", NOT_OPEN}},
    {{{"HELO x", "MAIL FROM:<evil@spam.test>"}, "250 OK"},
     {"RCPT TO:<alice@example.test>", "551 user reject your mail, do not try it!"},
     {"RCPT TO:<alice@far.test>", "503 not local mail"},
     {"RCPT TO:<nobody@example.test>", "550 no such user here"},
     {"RCPT TO:<full@example.test>", "550 maximal mailbox space, do not send!"},
     {"RCPT TO:<alice>", "451 rcpt address incorrect"},
     {"RCPT TO:<bob@example.test>", "250 accept user"}},
    // An accepted recipient opens DATA, and RSET closes it.
    {{{"HELO x", "MAIL FROM:<a@b>"}, "250 OK"},
     {"RCPT TO:<nobody@example.test>", "550 no such user here"},
     {"DATA", NOT_OPEN},
     {{"RCPT TO:<alice@example.test>", "RCPT TO: ALICE@EXAMPLE.TEST"}, "250 accept user"},
     {"MAIL FROM:<a@b>", NOT_OPEN},
     {"RSET", "250 OK"},
     {{"DATA", "RCPT TO:<alice@example.test>"}, NOT_OPEN},
     {"MAIL FROM:<a@b>", "250 OK"}},
};

Dialogue LogOn(const std::string& user, const std::string& password, const std::string& password_reply,
               const std::string& user_reply = ASK_PASSWORD) {
  return {{"EHLO x", "250 auth login"},
          {"auth login PLAIN", ASK_USER},
          {Base64Encode(user), user_reply},
          {Base64Encode(password), password_reply}};
}

const Dialogue ALICE = LogOn("alice@example.test", "Secret-of-18-bytes", "235 authentication OK");

const Dialogue LOG_ONS[] = {
    LogOn("ALICE@Example.TEST", "SECRET-OF-18-BYTES", "235 authentication OK"),
    LogOn("alice@example.test", "Secret-of-18-byte", DENIED),
    LogOn("nobody@example.test", "Secret", DENIED),
    LogOn("closed@example.test", "Secret", DENIED),
    LogOn("alice", "Secret-of-18-bytes", DENIED, NO_USER),
    LogOn("alice\0@example.test"s, "Secret-of-18-bytes", DENIED, NO_USER),
    // More than 18 bytes of password are not cut to match.
    LogOn("bob@example.test", "nineteen-bytes-password", "451 password overflow\n"s + DENIED),
    LogOn("carol@nineteen-bytes.test", "Secret", "235 authentication OK"),
    LogOn("carol@twenty-bytes-it.test", "Secret", DENIED),
    // Ways into another account, through the mail root, and to a directory that is no domain.
    LogOn("bob/../alice@example.test", "Secret-of-18-bytes", DENIED),
    LogOn("alice@x/../example.test", "Secret-of-18-bytes", DENIED),
    LogOn("alice@stray.test", "Secret", DENIED),
    // The steps know no commands.
    {{"EHLO x", "250 auth login"},
     {"AUTH LOGIN", ASK_USER},
     {"QUIT", NO_USER},
     {"QUIT", DENIED},
     {"MAIL FROM:<a@b>", NOT_OPEN},
     {"EHLO x", "250 auth login"},
     {"MAIL FROM:<a@b>", "250 OK"},
     {"RCPT TO:<x@far.test>", "503 not local mail"}},
};

using SmtpSessionWire = SmtpWire;

TEST_F(SmtpSessionWire, Commands) {
  WriteFile(world_.MailRoot() / "example.test" / "alice" / "reject.ini", "evil@spam.test\n");
  for (const Dialogue& each : COMMANDS) Play(*Connect(), each);
}

TEST_F(SmtpSessionWire, LogOns) {
  for (const char* domain : {"stray.test", "nineteen-bytes.test", "twenty-bytes-it.test"}) {
    for (const char* user : {"alice", "carol"}) world_.AddAccount(domain, user, "Secret");
  }
  // It holds the right password and may not be reached.
  g_SystemConfig.LocalDomains.Set({"example.test", "nineteen-bytes.test", "twenty-bytes-it.test"});
  std::filesystem::create_directories(world_.MailRoot() / "x");
  for (const Dialogue& each : LOG_ONS) Play(*Connect(), each);
}

TEST_F(SmtpSessionWire, LogOnOpensTheRelayForTheWholeConnectionAndALimitedListOfRecipients) {
  const auto peer = Connect();
  Play(*peer, ALICE);
  Play(*peer, {{"AUTH LOGIN", NOT_OPEN},
               {"MAIL FROM:<a@b>", "250 OK"},
               {{"RCPT TO:<x@far.test>", "RCPT TO:<full@example.test>"}, "250 accept user"},
               {"RCPT TO:<x>", "451 rcpt address incorrect"},
               {"RSET", "250 OK"},
               {"MAIL FROM:<a@b>", "250 OK"}});
  std::string list;
  for (int i = 0; i < 17; ++i) {
    Play(*peer, {{"RCPT TO:" + Filled("u@", 118), "250 accept user"}});
    list += Filled("u@", 118) + ",";
  }
  Play(*peer, {{"RCPT TO:" + Filled("v@", 21), "451 server buffer overflow"},
               {"RCPT TO:" + Filled("w@", 20), "250 accept user"},
               {"RCPT TO:<a@b>", "451 server buffer overflow"},
               {"DATA", "354 ready to receive mail data, end with CRLF.CRLF"},
               {"text\r\n.", "250 OK"}});
  const std::string stored = ReadFile(world_.Spool() / FileNames(world_.Spool()).at(0));
  EXPECT_EQ(stored.substr(0, stored.find('\r')), "Forward-Path: " + list + Filled("w@", 20));
}

TEST_F(SmtpSessionWire, LogHoldsEveryLineAndReply) {
  Play(*Connect(), {{"EHLO a\x01\x7f%s\t\xe4", "250 auth login"}, {"NO", UNKNOWN}, {"QUIT", BYE}});
  ASSERT_TRUE(world_.WaitForLog("]session disconnected"));
  EXPECT_EQ(ThreadLog(world_),
            "[id][127.0.0.1]session connected|[id]S: 220 Velnor SMTP/ESMTP service ready|"
            "[id]R: EHLO a??%s\t\xe4|[id]S: 250 auth login|[id]R: NO|[id]S: 502 invalid command|"
            "[id]R: QUIT|[id]S: 221 closing connection from Velnor SMTP/ESMTP server|"
            "[id]session disconnected|");
}

TEST_F(SmtpSessionWire, TheSixthErrorEndsTheSession) {
  const auto peer = Connect();
  Play(*peer, {{{"1", "2", "3", "4"}, UNKNOWN}, {"NOOP", NOOP_OK}, {"5", UNKNOWN}, {"6", LAST_WORD}});
  EXPECT_EQ(peer->ReadToClose(), "");
  EXPECT_TRUE(world_.WaitForLog("]session disconnected"));
  EXPECT_TRUE(world_.WaitForLog("]S: "s + LAST_WORD));
}

TEST_F(SmtpSessionWire, HeloNameIsTestedFromTheFirstLevelOn) {
  const struct {
    int Level;
    Turn Turns;
  } cases[] = {
      {0, {"HELO 10.0.0.1", "250 OK"}},
      {1, {"HELO 127.0.0.1", "250 OK"}},
      {3, {"HELO  127.0.0.1 ", "250 OK"}},
      {1, {{"HELO 10.0.0.1", "HELO", "HELO127.0.0.1"}, "502 HELO domain is not accepted"}},
      {3, {"EHLO 10.0.0.1", "250 auth login"}},
  };
  for (const auto& [level, turn] : cases) {
    g_SystemConfig.AntiSpamLevel = level;
    Play(*Connect(), {turn});
  }
}

TEST_F(SmtpSessionWire, StopEndsOpenSessionsAndATakenPortLeavesTheServiceDown) {
  const auto quiet = Connect();
  const auto logging_on = Connect();
  Play(*logging_on, {{"EHLO x", "250 auth login"}, {"AUTH LOGIN", ASK_USER}});
  EXPECT_EQ(SmtpSessionCount(), 2);
  SmtpStop();
  EXPECT_EQ(SmtpSessionCount(), 0);
  EXPECT_TRUE(world_.WaitForLog("SMTP server ended"));
  EXPECT_EQ(quiet->ReadToClose() + logging_on->ReadToClose(), "");
  EXPECT_EQ(CountInLog(world_, "[id]session disconnected"), 2);

  const ScriptedPeer other([](PeerConnection&) {});
  g_SystemConfig.SmtpPort = other.Port();
  SmtpStart();
  EXPECT_EQ(world_.LogMessages().back(),
            "can't bind " + std::to_string(other.Port()) + " port, err:Address already in use");
  SmtpStop();
  g_SystemConfig.SmtpPort = port_;
  SmtpStart();
  Play(*Connect(), {{"QUIT", BYE}});
  EXPECT_TRUE(world_.WaitForLog("SMTP server started, listen " + std::to_string(port_) + " port"));
}

}  // namespace
}  // namespace velnor::test
