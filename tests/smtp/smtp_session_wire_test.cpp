// The SMTP dialect line by line, and the service that runs it.

#include <gtest/gtest.h>

#include <algorithm>
#include <span>

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
constexpr const char* DENIED = "535 authentication failed";

struct Case {
  const char* Name;
  Dialogue Turns;
};

std::string Filled(std::string start, std::size_t size) {
  start.resize(size, 'x');
  return start;
}

const Case COMMANDS[] = {
    {"before a greeting",
     {{"NOOP", NOOP_OK},
      {"RSET", "250 OK"},
      {"MAIL FROM:<a@b>", NOT_OPEN},
      {"RCPT TO:<alice@example.test>", NOT_OPEN},
      {"DATA", NOT_OPEN},
      {"AUTH LOGIN", NOT_OPEN},
      {"QUIT", BYE}}},
    {"words count over their length, in any case, behind blanks",
     {{"noOPe", NOOP_OK},
      {" \t NOOP \t", NOOP_OK},
      {"NOOP\0QUIT"s, NOOP_OK},
      {"NOOP\rQUIT", NOOP_OK},
      {"NOOP\nNOOP", NOOP_OK + "\n"s + NOOP_OK},
      {"NO\0OP"s, UNKNOWN},
      {"", UNKNOWN},
      {"\x80\xff", UNKNOWN},
      {"%s%n", UNKNOWN},
      {"AUTH PLAIN", UNKNOWN},
      {"quit now", BYE}}},
    {"a long line is several",
     {{Filled("NOOP", 126), NOOP_OK},
      {Filled("NOOP", 127), NOOP_OK + "\n"s + UNKNOWN},
      {Filled("NOOP", 128), NOOP_OK + "\n"s + UNKNOWN},
      {Filled("NOOP", 128) + "NOOP", NOOP_OK + "\n"s + NOOP_OK},
      {Filled("NOOP", 300), NOOP_OK + "\n"s + UNKNOWN + "\n" + UNKNOWN}}},
    {"after HELO",
     {{"HELO", "250 OK"},
      {"HELO x", NOT_OPEN},
      {"EHLO x", NOT_OPEN},
      {"AUTH LOGIN", NOT_OPEN},
      {"RSET", "250 OK"},
      {"DATA", NOT_OPEN},
      {"MAIL FROM:a@b", "250 OK"}}},
    {"after EHLO",
     {{"ehlo x", "250 auth login"},
      {"EHLO x", NOT_OPEN},
      {"RSET", "250 OK"},
      {"RCPT TO:<alice@example.test>", NOT_OPEN},
      {"MAIL FROM:<a@b>", "250 OK"},
      {"AUTH LOGIN", NOT_OPEN}}},
    {"senders that are none",
     {{"HELO x", "250 OK"},
      {"MAIL FROM:<>", BAD_SENDER},
      {"MAIL FROM:<ab>", BAD_SENDER},
      {"MAIL FROM:<@b>", BAD_SENDER},
      {"MAIL FROM:  <a@>", BAD_SENDER},
      {"MAIL FROM:", BAD_SENDER},
      {"MAIL FROM:<a@b> SIZE=1", "250 OK"}}},
    {"MAIL FROM to the letter",
     {{"HELO x", "250 OK"},
      {"MAIL  FROM:<a@b>", UNKNOWN},
      {"MAIL FROM :<a@b>", UNKNOWN},
      {"mail from: \t<\xe4@b>", "250 OK"},
      {"MAIL FROM:<a@b>", NOT_OPEN},
      {"RSET", "250 OK"},
      {"MAIL FROM:<a@b>", "250 OK"}}},
    {"recipients that are refused",
     {{"HELO x", "250 OK"},
      {"MAIL FROM:<evil@spam.test>", "250 OK"},
      {"RCPT TO:<alice@example.test>", "551 user reject your mail, do not try it!"},
      {"RCPT TO:<alice@far.test>", "503 not local mail"},
      {"RCPT TO:<nobody@example.test>", "550 no such user here"},
      {"RCPT TO:<full@example.test>", "550 maximal mailbox space, do not send!"},
      {"RCPT TO:<alice>", "451 rcpt address incorrect"},
      {"RCPT TO:<bob@example.test>", "250 accept user"}}},
    {"an accepted recipient opens DATA, RSET closes it",
     {{"HELO x", "250 OK"},
      {"MAIL FROM:<a@b>", "250 OK"},
      {"RCPT TO:<nobody@example.test>", "550 no such user here"},
      {"DATA", NOT_OPEN},
      {"RCPT TO:<alice@example.test>", "250 accept user"},
      {"RCPT TO: ALICE@EXAMPLE.TEST", "250 accept user"},
      {"MAIL FROM:<a@b>", NOT_OPEN},
      {"RSET", "250 OK"},
      {"DATA", NOT_OPEN},
      {"RCPT TO:<alice@example.test>", NOT_OPEN},
      {"MAIL FROM:<a@b>", "250 OK"}}},
};

Dialogue LogOn(const std::string& user, const std::string& password, const std::string& user_reply,
               const std::string& password_reply) {
  return {{"EHLO x", "250 auth login"},
          {"auth login PLAIN", ASK_USER},
          {Base64Encode(user), user_reply},
          {Base64Encode(password), password_reply}};
}

const Case LOG_ONS[] = {
    {"password in other case, 18 bytes",
     LogOn("alice@example.test", "SECRET-OF-18-BYTES", ASK_PASSWORD, "235 authentication OK")},
    {"account in other case",
     LogOn("ALICE@Example.TEST", "Secret-of-18-bytes", ASK_PASSWORD, "235 authentication OK")},
    {"wrong password", LogOn("alice@example.test", "Secret", ASK_PASSWORD, DENIED)},
    {"start of the password", LogOn("alice@example.test", "Secret-of-18-byte", ASK_PASSWORD, DENIED)},
    {"no such user", LogOn("nobody@example.test", "Secret", ASK_PASSWORD, DENIED)},
    {"SMTP not allowed", LogOn("closed@example.test", "Secret", ASK_PASSWORD, DENIED)},
    {"no at sign", LogOn("alice", "Secret-of-18-bytes", "535 invalid user", DENIED)},
    {"NUL ends the name", LogOn("alice\0@example.test"s, "Secret-of-18-bytes", "535 invalid user", DENIED)},
    {"more than 18 bytes of password, which are not cut to match",
     LogOn("bob@example.test", "nineteen-bytes-password", ASK_PASSWORD, "451 password overflow\n"s + DENIED)},
    {"domain of 19 bytes",
     LogOn("carol@nineteen-bytes.test", "Secret", ASK_PASSWORD, "235 authentication OK")},
    {"domain of 20 bytes", LogOn("carol@twenty-bytes-it.test", "Secret", ASK_PASSWORD, DENIED)},
    {"a way into another account",
     LogOn("bob/../alice@example.test", "Secret-of-18-bytes", ASK_PASSWORD, DENIED)},
    {"a way through the mail root",
     LogOn("alice@x/../example.test", "Secret-of-18-bytes", ASK_PASSWORD, DENIED)},
    {"a directory that is no domain", LogOn("alice@stray.test", "Secret", ASK_PASSWORD, DENIED)},
    {"the steps know no commands",
     {{"EHLO x", "250 auth login"},
      {"AUTH LOGIN", ASK_USER},
      {"QUIT", "535 invalid user"},
      {"QUIT", DENIED},
      {"MAIL FROM:<a@b>", NOT_OPEN},
      {"EHLO x", "250 auth login"},
      {"MAIL FROM:<a@b>", "250 OK"},
      {"RCPT TO:<x@far.test>", "503 not local mail"}}},
};

class SmtpSessionWire : public SmtpWire {
 protected:
  void PlayEach(std::span<const Case> cases) {
    for (const Case& each : cases) {
      SCOPED_TRACE(each.Name);
      Play(*Connect(), each.Turns);
    }
  }
};

TEST_F(SmtpSessionWire, Commands) {
  WriteFile(world_.MailRoot() / "example.test" / "alice" / "reject.ini", "evil@spam.test\n");
  PlayEach(COMMANDS);
}

TEST_F(SmtpSessionWire, LogOns) {
  // It holds the right password and may not be reached.
  std::filesystem::create_directories(world_.MailRoot() / "stray.test" / "alice");
  WriteFile(world_.MailRoot() / "stray.test" / "alice" / "config.ini",
            "[Profile]\nPassword=Secret\nSmtpEnable=1\n");
  world_.AddAccount("nineteen-bytes.test", "carol", "Secret");
  world_.AddAccount("twenty-bytes-it.test", "carol", "Secret");
  std::filesystem::create_directories(world_.MailRoot() / "x");
  PlayEach(LOG_ONS);
}

TEST_F(SmtpSessionWire, LogOnOpensTheRelayForTheWholeConnection) {
  const auto peer = Connect();
  Play(*peer, LogOn("alice@example.test", "Secret-of-18-bytes", ASK_PASSWORD, "235 authentication OK"));
  Play(*peer, {{"AUTH LOGIN", NOT_OPEN},
               {"MAIL FROM:<a@b>", "250 OK"},
               {"RCPT TO:<x@far.test>", "250 accept user"},
               {"RCPT TO:<full@example.test>", "250 accept user"},
               {"RCPT TO:<x>", "451 rcpt address incorrect"},
               {"RSET", "250 OK"},
               {"MAIL FROM:<a@b>", "250 OK"},
               {"RCPT TO:<x@far.test>", "250 accept user"}});
}

TEST_F(SmtpSessionWire, RecipientListHasALimitInBytes) {
  const auto peer = Connect();
  Play(*peer, LogOn("alice@example.test", "Secret-of-18-bytes", ASK_PASSWORD, "235 authentication OK"));
  Play(*peer, {{"MAIL FROM:<a@b>", "250 OK"}});
  std::string list;
  for (int i = 0; i < 17; ++i) {
    const std::string recipient = Filled("u@", 118);
    Play(*peer, {{"RCPT TO:" + recipient, "250 accept user"}});
    list += recipient + ",";
  }
  ASSERT_EQ(list.size() - 1, 2022u);
  Play(*peer, {{"RCPT TO:" + Filled("v@", 21), "451 server buffer overflow"},
               {"RCPT TO:" + Filled("w@", 20), "250 accept user"},
               {"RCPT TO:<a@b>", "451 server buffer overflow"},
               {"DATA", "354 ready to receive mail data, end with CRLF.CRLF"},
               {"text\r\n.", "250 OK"}});
  const std::string stored = ReadFile(world_.Spool() / FileNames(world_.Spool()).at(0));
  EXPECT_EQ(stored.substr(0, stored.find('\r')), "Forward-Path: " + list + Filled("w@", 20));
}

TEST_F(SmtpSessionWire, TheSixthErrorEndsTheSession) {
  const auto peer = Connect();
  for (int i = 0; i < 5; ++i) Play(*peer, {{"oops", UNKNOWN}, {"NOOP", NOOP_OK}});
  Play(*peer, {{"oops", LAST_WORD}});
  EXPECT_EQ(peer->ReadToClose(), "");
  EXPECT_TRUE(world_.WaitForLog("]session disconnected"));
  EXPECT_TRUE(world_.WaitForLog("]S: 550 maximal retry times, close the session"));
}

TEST_F(SmtpSessionWire, LogHoldsEveryLineAndReply) {
  auto peer = Connect();
  Play(*peer, {{"EHLO a\x01\x7f%s\tb", "250 auth login"},
               {"AUTH LOGIN", ASK_USER},
               {"eA==", "535 invalid user"},
               {"eA==", DENIED},
               {"QUIT", BYE}});
  EXPECT_EQ(peer->ReadToClose(), "");
  ASSERT_TRUE(world_.WaitForLog("]session disconnected"));
  const std::vector<std::string> expected = {
      "[id][127.0.0.1]session connected",
      "[id]S: 220 Velnor SMTP/ESMTP service ready",
      "[id]R: EHLO a??%s\tb",
      "[id]S: 250 auth login",
      "[id]R: AUTH LOGIN",
      "[id]S: "s + ASK_USER,
      "[id]R: eA==",
      "[id]S: 535 invalid user",
      "[id]R: eA==",
      "[id]S: "s + DENIED,
      "[id]R: QUIT",
      "[id]S: "s + BYE,
      "[id]session disconnected",
  };
  EXPECT_EQ(SessionLog(world_), expected);
}

TEST_F(SmtpSessionWire, HeloNameIsTestedFromTheFirstLevelOn) {
  const struct {
    int Level;
    const char* Line;
    const char* Reply;
  } cases[] = {
      {0, "HELO 10.0.0.1", "250 OK"},
      {1, "HELO 127.0.0.1", "250 OK"},
      {3, "HELO  127.0.0.1 ", "250 OK"},
      {1, "HELO 10.0.0.1", "502 HELO domain is not accepted"},
      {2, "HELO", "502 HELO domain is not accepted"},
      {1, "HELO127.0.0.1", "502 HELO domain is not accepted"},
      {3, "EHLO 10.0.0.1", "250 auth login"},
  };
  for (const auto& each : cases) {
    g_SystemConfig.AntiSpamLevel = each.Level;
    Play(*Connect(), {{each.Line, each.Reply}});
  }
}

TEST_F(SmtpSessionWire, BlockedPeerIsClosedWithoutAWord) {
  g_SystemConfig.AddRule("127.0.*");
  EXPECT_EQ(PeerConnection::Connect(port_)->ReadToClose(), "");
  g_SystemConfig.DeleteRule("127.0.*");
  Connect();
  ASSERT_TRUE(world_.WaitForLog("]session disconnected"));
  EXPECT_EQ(SessionLog(world_).size(), 3u) << "the blocked connection has left no line";
}

TEST_F(SmtpSessionWire, StopEndsOpenSessionsAndFreesThePort) {
  const auto quiet = Connect();
  const auto logging_on = Connect();
  Play(*logging_on, {{"EHLO x", "250 auth login"}, {"AUTH LOGIN", ASK_USER}});
  EXPECT_EQ(SmtpSessionCount(), 2);
  SmtpStop();
  EXPECT_EQ(SmtpSessionCount(), 0);
  EXPECT_EQ(quiet->ReadToClose() + logging_on->ReadToClose(), "");
  const std::vector<std::string> messages = world_.LogMessages();
  EXPECT_EQ(std::count(messages.begin(), messages.end(), "SMTP server ended"), 1);
  const std::vector<std::string> log = SessionLog(world_);
  EXPECT_EQ(std::count(log.begin(), log.end(), "[id]session disconnected"), 2);
  g_SystemConfig.SmtpPort = port_;
  SmtpStart();
  Play(*Connect(), {{"QUIT", BYE}});
}

TEST_F(SmtpSessionWire, TakenPortIsToldOfAndLeavesTheServiceDown) {
  SmtpStop();
  const platform::Socket other = platform::OpenStreamSocket();
  ASSERT_EQ(platform::BindSocket(other, port_), 0);
  ASSERT_EQ(platform::ListenSocket(other, 1), 0);
  g_SystemConfig.SmtpPort = port_;
  SmtpStart();
  EXPECT_EQ(world_.LogMessages().back(),
            "can't bind " + std::to_string(port_) + " port, err:Address already in use");
  SmtpStop();
  platform::CloseSocket(other);
  SmtpStart();
  EXPECT_TRUE(world_.WaitForLog("SMTP server started, listen " + std::to_string(port_) + " port"));
  Connect();
}

}  // namespace
}  // namespace velnor::test
