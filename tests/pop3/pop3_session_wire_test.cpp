// The POP3 dialect line by line: log-on, the commands over a table and without one, and what a session's end
// does.

#include <gtest/gtest.h>

#include <algorithm>
#include <span>

#include "pop3/pop3_world.h"

namespace velnor::test {
namespace {

using std::string_literals::operator""s;

constexpr const char* NOT_OPEN = "-ERR command invalid in this state";
constexpr const char* INVALID_USER = "-ERR invalid user";
constexpr const char* NO_LOG_ON = "-ERR unable to logon on";
constexpr const char* NO_MESSAGE = "-ERR no this message";
constexpr const char* NO_DATA = "-ERR no mail data";
constexpr const char* BYE = "+OK closing connection from Velnor pop3 server";
constexpr const char* LAST_WORD = "-ERR maximal retry times, close the session";
constexpr const char* ACCEPTED = "+OK user alice accepted";
constexpr const char* THREE = "+OK 3 message(s) [30 byte(s)]";

struct Case {
  const char* Name;
  Dialogue Turns;
};

const Case LOG_ONS[] = {
    {"nothing but USER is open",
     {{"NOOP", "+OK "},
      {"PASS Secret", NOT_OPEN},
      {"STAT", NOT_OPEN},
      {"RSET", NOT_OPEN},
      {"UIDL", NOT_OPEN},
      {"HELO", NOT_OPEN},
      {"QUIT", BYE}}},
    {"users that are none",
     {{"USER", INVALID_USER},
      {"USER alice", INVALID_USER},
      {"USER alice@far.test", INVALID_USER},
      {"USER alice\0@example.test"s, INVALID_USER},
      {"USER x@twenty-bytes-it.test", INVALID_USER},
      {"user \t alice@EXAMPLE.test \t", ACCEPTED}}},
    {"USER twice closes, a third opens",
     {{"USER alice@example.test", ACCEPTED},
      {"USER alice@example.test", NOT_OPEN},
      {"PASS Secret", NOT_OPEN},
      {"USER alice@example.test", ACCEPTED},
      {"PASS SECRET", THREE}}},
    {"wrong passwords",
     {{"USER alice@example.test", ACCEPTED},
      {"PASS wrong", NO_LOG_ON},
      {"PASS Secret", NOT_OPEN},
      {"USER alice@example.test", ACCEPTED},
      {"PASS", NO_LOG_ON},
      {"USER alice@example.test", ACCEPTED},
      {"PASS Secre", NO_LOG_ON},
      {"USER alice@example.test", ACCEPTED},
      {"PASS Secrets", NO_LOG_ON},
      {"USER alice@example.test", ACCEPTED},
      {"pass   secret ", THREE}}},
    {"accounts that are none",
     {{"USER nobody@example.test", "+OK user nobody accepted"},
      {"PASS Secret", NO_LOG_ON},
      {"USER closed@example.test", "+OK user closed accepted"},
      {"PASS Secret", NO_LOG_ON},
      {"USER closed/../alice@example.test", "+OK user closed/../alice accepted"},
      {"PASS Secret", NO_LOG_ON},
      {"USER ../example.test/alice@example.test", "+OK user ../example.test/alice accepted"},
      {"PASS Secret", NO_LOG_ON},
      {"USER .@example.test", "+OK user . accepted"},
      {"PASS Secret", NO_LOG_ON},
      {"USER ALICE@Example.Test", "+OK user ALICE accepted"},
      {"PASS Secret", THREE}}},
    {"only 19 bytes of a password are taken",
     {{"USER long@example.test", "+OK user long accepted"},
      {"PASS nineteen-bytes-longer", "+OK 0 message(s) [0 byte(s)]"}}},
};

// Each runs in a session that is logged on to three messages.
const Case COMMANDS[] = {
    {"listing",
     {{"STAT", "+OK 3 30"},
      {"LIST", "+OK list messages\n1 10\n2 10\n3 10\n."},
      {"list all", "+OK list messages\n1 10\n2 10\n3 10\n."},
      {"LIST 2nd", "+OK 2 10"},
      {"LIST  +3", "+OK 3 10"},
      {"LIST5", "+OK list messages\n1 10\n2 10\n3 10\n."},
      {"LIST 4", NO_MESSAGE},
      {"LIST -1", NO_MESSAGE},
      {"UIDL 4", NO_MESSAGE},
      {"UIDL -1", NO_MESSAGE}}},
    {"numbers out of range stay out of range",
     {{"LIST 4294967297", NO_MESSAGE},
      {"LIST -4294967295", NO_MESSAGE},
      {"DELE 18446744073709551617", NO_MESSAGE},
      {"RETR 4294967297", NO_DATA},
      {"TOP 4294967297 1", NO_DATA},
      {"STAT", "+OK 3 30"}}},
    {"number 0 and no number",
     {{"DELE", NO_MESSAGE},
      {"DELE 0", NO_MESSAGE},
      {"RETR x", NO_DATA},
      {"RETR 0", NO_DATA},
      {"TOP", NO_DATA},
      {"STAT", "+OK 3 30"}}},
    {"marks",
     {{"DELE 2", "+OK message 2 deleted"},
      {"DELE 2", "+OK message 2 deleted"},
      {"LIST", "+OK list messages\n1 10\n3 10\n."},
      {"STAT", "+OK 2 20"},
      {"LIST 2", "-ERR message 2 mark deleted"},
      {"UIDL 2", "-ERR message 2 mark deleted"},
      {"RETR 2", "-ERR message 2 is deleted"},
      {"TOP 2 1", "-ERR message 2 is deleted"},
      {"DELE 4", NO_MESSAGE},
      {"RSET", "+OK maildrop has 3 message(s)"},
      {"STAT", "+OK 3 30"}}},
    {"a long line is several",
     {{"NOOP" + std::string(124, 'x') + "STAT", "+OK \n+OK 3 30"},
      {"NOOP" + std::string(125, 'x'), "+OK \n"s + NOT_OPEN}}},
    {"USER logs out",
     {{"USER alice@example.test", NOT_OPEN},
      {"STAT", NOT_OPEN},
      {"USER alice@example.test", ACCEPTED},
      {"PASS Secret", THREE},
      {"PASS Secret", NOT_OPEN}}},
};

using Pop3SessionWire = Pop3Wire;

TEST_F(Pop3SessionWire, LogOns) {
  world_.AddAccount("example.test", "closed", "Secret", "Pop3Enable=0\n");
  world_.AddAccount("example.test", "long", "nineteen-bytes-long");
  world_.AddAccount("twenty-bytes-it.test", "x", "Secret");
  PutMessages(3);
  for (const Case& each : LOG_ONS) {
    SCOPED_TRACE(each.Name);
    Play(*Connect(), each.Turns);
  }
}

TEST_F(Pop3SessionWire, Commands) {
  PutMessages(3);
  for (const Case& each : COMMANDS) {
    SCOPED_TRACE(each.Name);
    Play(*ConnectAndLogOn(), each.Turns);
  }
}

TEST_F(Pop3SessionWire, WithoutMessagesOnlyStatLooksAgain) {
  const auto peer = ConnectAndLogOn();
  const Dialogue nothing = {
      {"LIST", "+OK 0 0"}, {"LIST 1", NO_MESSAGE}, {"RSET", "+OK maildrop has 0 message(s)"}};
  Play(*peer, nothing);
  PutMessages(1);
  Play(*peer, nothing);
  Play(*peer, {{"UIDL", NO_MESSAGE}, {"RETR 1", NO_DATA}, {"DELE 1", NO_MESSAGE}});
  Play(*peer, {{"STAT", "+OK 1 10"}, {"LIST", "+OK list messages\n1 10\n."}});
  PutMessages(2);
  Play(*peer, {{"STAT", "+OK 1 10"}, {"RSET", "+OK maildrop has 1 message(s)"}});
  Play(*ConnectAndLogOn(), {{"STAT", "+OK 2 20"}});
}

// A broken Inbox counts as an empty one.
TEST_F(Pop3SessionWire, InboxThatIsGone) {
  std::filesystem::remove(Inbox());
  Play(*ConnectAndLogOn(), {{"STAT", "+OK 0 0"}, {"LIST", "+OK 0 0"}, {"QUIT", BYE}});
}

TEST_F(Pop3SessionWire, OnlyQuitDeletesWhatIsMarked) {
  const struct {
    const char* Name;
    std::function<void(PeerConnection&)> End;
    std::size_t Left;  // of two messages, the first of them marked
  } cases[] = {
      {"the peer goes away", [](PeerConnection& peer) { peer.Close(); }, 2},
      {"RSET and QUIT",
       [](PeerConnection& peer) {
         Play(peer, {{"RSET", "+OK maildrop has 2 message(s)"}, {"QUIT", BYE}});
       },
       2},
      {"the sixth error, with good commands between",
       [](PeerConnection& peer) {
         for (int i = 0; i < 5; ++i) Play(peer, {{"oops", NOT_OPEN}, {"NOOP", "+OK "}});
         Play(peer, {{"oops", LAST_WORD}});
         EXPECT_EQ(peer.ReadToClose(), "");
       },
       2},
      {"a stop of the service", [](PeerConnection&) { Pop3Stop(); }, 2},
      {"a new log-on and QUIT",
       [](PeerConnection& peer) {
         Play(peer, {{"USER x", NOT_OPEN},
                     {"USER alice@example.test", ACCEPTED},
                     {"PASS Secret", "+OK 2 message(s) [20 byte(s)]"},
                     {"QUIT", BYE}});
       },
       2},
      {"logged out and QUIT",
       [](PeerConnection& peer) {
         Play(peer, {{"USER x", NOT_OPEN}, {"QUIT", BYE}});
       },
       1},
      {"QUIT with the file gone already",
       [this](PeerConnection& peer) {
         std::filesystem::remove_all(Inbox());
         Play(peer, {{"QUIT", BYE}});
       },
       0},
      {"QUIT",
       [](PeerConnection& peer) {
         Play(peer, {{"QUIT", BYE}});
       },
       1},
  };
  int sessions = 0;
  for (const auto& each : cases) {
    SCOPED_TRACE(each.Name);
    std::filesystem::create_directories(Inbox());
    PutMessages(2);
    if (g_Pop3Service.Listening == 0) Start();
    const auto peer = ConnectAndLogOn();
    Play(*peer, {{"DELE 1", "+OK message 1 deleted"}});
    each.End(*peer);
    ++sessions;
    EXPECT_TRUE(WaitUntil([&] {
      const std::vector<std::string> log = SessionLog(world_);
      return std::count(log.begin(), log.end(), "[id][127.0.0.1]session disconnected") == sessions;
    }));
    EXPECT_EQ(FileNames(Inbox()).size(), each.Left);
  }
}

TEST_F(Pop3SessionWire, SessionsOfOneUserHaveViewsOfTheirOwn) {
  PutMessages(2);
  const auto one = ConnectAndLogOn();
  Play(*one, {{"DELE 1", "+OK message 1 deleted"}});
  const auto two = ConnectAndLogOn();
  Play(*two, {{"STAT", "+OK 2 20"}, {"DELE 1", "+OK message 1 deleted"}});
  Play(*one, {{"QUIT", BYE}});
  EXPECT_EQ(FileNames(Inbox()).size(), 1u);
  // The message is gone: a positive reply, and nothing behind it.
  Play(*two, {{"RSET", "+OK maildrop has 2 message(s)"},
              {"RETR 1", "+OK mail data"},
              {"TOP 1 1", "+OK mail data"},
              {"DELE 1", "+OK message 1 deleted"},
              {"DELE 2", "+OK message 2 deleted"},
              {"QUIT", BYE}});
  EXPECT_EQ(FileNames(Inbox()).size(), 0u);
}

TEST_F(Pop3SessionWire, LogHoldsEveryLineAndReply) {
  EXPECT_EQ(world_.LogMessages().back(), "POP3 server started, listen 0 port");
  PutMessages(1);
  Play(*Connect(), {{" USER alice@example.test", ACCEPTED},
                    {"PASS Secret", "+OK 1 message(s) [10 byte(s)]"},
                    {"LIST", "+OK list messages\n1 10\n."},
                    {"NOOP\x1b%n", "+OK "},
                    {"TOP 2", NO_DATA},
                    {"QUIT", BYE}});
  ASSERT_TRUE(world_.WaitForLog("]session disconnected"));
  const std::vector<std::string> expected = {
      "[id][127.0.0.1]session connected",
      "[id]S: +OK Velnor pop3 service ready",
      "[id]R: USER alice@example.test\n",
      "[id]S: +OK user alice accepted",
      "[id]R: PASS Secret\n",
      "[id]S: +OK 1 message(s) [10 byte(s)]",
      "[id]R: LIST\n",
      "[id]S: +OK list messages",
      "[id]S: 1 10",
      "[id]S: .",
      "[id]R: NOOP?%n\n",
      "[id]S: +OK",
      "[id]R: TOP 2\n",
      "[id]S: "s + NO_DATA,
      "[id]R: QUIT\n",
      "[id]S: "s + BYE,
      "[id][127.0.0.1]session disconnected",
  };
  EXPECT_EQ(SessionLog(world_), expected);
}

}  // namespace
}  // namespace velnor::test
