// The POP3 dialect line by line: log-on, the commands over a table and without one, and what a session's end
// does.

#include <gtest/gtest.h>

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
constexpr const char* ALICE = "USER alice@example.test";
constexpr const char* ACCEPTED = "+OK user alice accepted";
constexpr const char* THREE = "+OK 3 message(s) [30 byte(s)]";

// Each runs in a session of its own, with three messages in the Inbox.
const Dialogue LOG_ONS[] = {
    {{"NOOP", "+OK "}, {{"PASS Secret", "STAT", "RSET", "UIDL", "HELO"}, NOT_OPEN}, {"QUIT", BYE}},
    {{{"USER", "USER alice", "USER alice@far.test", "USER alice\0@example.test"s,
       "USER x@twenty-bytes-it.test"},
      INVALID_USER},
     {"user \t alice@EXAMPLE.test \t", ACCEPTED}},
    // USER twice closes, and a third opens.
    {{ALICE, ACCEPTED}, {{ALICE, "PASS Secret"}, NOT_OPEN}, {ALICE, ACCEPTED}, {"PASS SECRET", THREE}},
    {{ALICE, ACCEPTED}, {"PASS", NO_LOG_ON}, {"PASS Secret", NOT_OPEN}},
    {{ALICE, ACCEPTED}, {"PASS Secre", NO_LOG_ON}, {ALICE, ACCEPTED}, {"PASS Secrets", NO_LOG_ON}},
    {{ALICE, ACCEPTED}, {"pass   secret ", THREE}},
    {{"USER ALICE@Example.Test", "+OK user ALICE accepted"}, {"PASS Secret", THREE}},
    {{"USER nobody@example.test", "+OK user nobody accepted"}, {"PASS Secret", NO_LOG_ON}},
    {{"USER closed@example.test", "+OK user closed accepted"}, {"PASS Secret", NO_LOG_ON}},
    {{"USER closed/../alice@example.test", "+OK user closed/../alice accepted"}, {"PASS Secret", NO_LOG_ON}},
    {{"USER .@example.test", "+OK user . accepted"}, {"PASS Secret", NO_LOG_ON}},
    // Only 19 bytes of a password are taken.
    {{"USER long@example.test", "+OK user long accepted"},
     {"PASS nineteen-bytes-longer", "+OK 0 message(s) [0 byte(s)]"}},
};

// Each runs in a session that is logged on to three messages.
const Dialogue COMMANDS[] = {
    {{"STAT", "+OK 3 30"},
     {{"LIST", "list all", "LIST5"}, "+OK list messages\n1 10\n2 10\n3 10\n."},
     {"LIST 2nd", "+OK 2 10"},
     {"LIST  +3", "+OK 3 10"},
     {{"LIST 4", "LIST -1", "UIDL 4", "UIDL -1"}, NO_MESSAGE}},
    // Numbers out of range stay out of range, and 0 is none.
    {{{"LIST 4294967297", "LIST -4294967295", "DELE 18446744073709551617", "DELE 0"}, NO_MESSAGE},
     {"STAT", "+OK 3 30"}},
    {{{"RETR 4294967297", "TOP 4294967297 1", "RETR x", "TOP"}, NO_DATA}, {"STAT", "+OK 3 30"}},
    {{{"DELE 2", "DELE 2"}, "+OK message 2 deleted"},
     {"LIST", "+OK list messages\n1 10\n3 10\n."},
     {"STAT", "+OK 2 20"},
     {{"LIST 2", "UIDL 2"}, "-ERR message 2 mark deleted"},
     {{"RETR 2", "TOP 2 1"}, "-ERR message 2 is deleted"},
     {"DELE 4", NO_MESSAGE},
     {"RSET", "+OK maildrop has 3 message(s)"},
     {"STAT", "+OK 3 30"}},
    // A long line is several.
    {{"NOOP" + std::string(124, 'x') + "STAT", "+OK \n+OK 3 30"},
     {"NOOP" + std::string(125, 'x'), "+OK \n"s + NOT_OPEN}},
    // USER logs out.
    {{{ALICE, "STAT"}, NOT_OPEN}, {ALICE, ACCEPTED}, {"PASS Secret", THREE}, {"PASS Secret", NOT_OPEN}},
};

using Pop3SessionWire = Pop3Wire;

TEST_F(Pop3SessionWire, LogOnsAndCommands) {
  world_.AddAccount("example.test", "closed", "Secret", "Pop3Enable=0\n");
  world_.AddAccount("example.test", "long", "nineteen-bytes-long");
  world_.AddAccount("twenty-bytes-it.test", "x", "Secret");
  PutMessages(3);
  for (const Dialogue& each : LOG_ONS) Play(*Connect(), each);
  for (const Dialogue& each : COMMANDS) Play(*ConnectAndLogOn(), each);
}

TEST_F(Pop3SessionWire, WithoutMessagesOnlyStatLooksAgain) {
  const auto peer = ConnectAndLogOn();
  PutMessages(1);
  Play(*peer, {{"LIST", "+OK 0 0"},
               {{"LIST 1", "UIDL", "DELE 1"}, NO_MESSAGE},
               {"RSET", "+OK maildrop has 0 message(s)"},
               {"RETR 1", NO_DATA},
               {"STAT", "+OK 1 10"},
               {"LIST", "+OK list messages\n1 10\n."}});
  PutMessages(2);
  Play(*peer, {{"STAT", "+OK 1 10"}, {"RSET", "+OK maildrop has 1 message(s)"}});
  Play(*ConnectAndLogOn(), {{"STAT", "+OK 2 20"}});
  // A broken Inbox counts as an empty one.
  std::filesystem::remove_all(Inbox());
  Play(*ConnectAndLogOn(), {{"STAT", "+OK 0 0"}, {"LIST", "+OK 0 0"}, {"QUIT", BYE}});
}

TEST_F(Pop3SessionWire, OnlyQuitDeletesWhatIsMarked) {
  const std::pair<Dialogue, std::size_t> cases[] = {
      // How a session with the first of two messages marked ends, and how many are left.
      {{}, 2},
      {{{"RSET", "+OK maildrop has 2 message(s)"}, {"QUIT", BYE}}, 2},
      {{{{"1", "2", "3", "4", "5"}, NOT_OPEN}, {"NOOP", "+OK "}, {"6", LAST_WORD}}, 2},
      {{{"USER x", NOT_OPEN},
        {ALICE, ACCEPTED},
        {"PASS Secret", "+OK 2 message(s) [20 byte(s)]"},
        {"QUIT", BYE}},
       2},
      {{{"USER x", NOT_OPEN}, {"QUIT", BYE}}, 1},
      {{{"QUIT", BYE}}, 1},
  };
  const auto marked = [this] {
    PutMessages(2);
    auto peer = ConnectAndLogOn();
    Play(*peer, {{"DELE 1", "+OK message 1 deleted"}});
    return peer;
  };
  for (const auto& [end, left] : cases) {
    const auto peer = marked();
    Play(*peer, end);
    if (end.empty()) peer->Close();
    EXPECT_EQ(peer->ReadToClose(), "");
    EXPECT_TRUE(WaitUntil([] { return Pop3SessionCount() == 0; }));
    EXPECT_EQ(FileNames(Inbox()).size(), left) << (end.empty() ? "gone" : end.front().Sent.front());
  }
  const auto stopped = marked();
  Pop3Stop();
  EXPECT_EQ(FileNames(Inbox()).size(), 2U) << "a stop of the service";
}

TEST_F(Pop3SessionWire, SessionsOfOneUserHaveViewsOfTheirOwn) {
  PutMessages(2);
  const auto one = ConnectAndLogOn();
  Play(*one, {{"DELE 1", "+OK message 1 deleted"}});
  const auto two = ConnectAndLogOn();
  Play(*two, {{"STAT", "+OK 2 20"}});
  Play(*one, {{"QUIT", BYE}});
  EXPECT_EQ(FileNames(Inbox()).size(), 1u);
  // The message is gone: a positive reply, and nothing behind it.
  Play(*two, {{{"RETR 1", "TOP 1 1"}, "+OK mail data"},
              {"DELE 1", "+OK message 1 deleted"},
              {"DELE 2", "+OK message 2 deleted"},
              {"QUIT", BYE}});
  EXPECT_EQ(FileNames(Inbox()).size(), 0u);
}

TEST_F(Pop3SessionWire, LogHoldsEveryLineAndReply) {
  PutMessages(1);
  Play(*Connect(), {{" USER alice@example.test", ACCEPTED},
                    {"PASS Secret", "+OK 1 message(s) [10 byte(s)]"},
                    {"LIST", "+OK list messages\n1 10\n."},
                    {"NOOP\x1b%n", "+OK "},
                    {"QUIT", BYE}});
  ASSERT_TRUE(world_.WaitForLog("]session disconnected"));
  EXPECT_EQ(ThreadLog(world_),
            "[id][127.0.0.1]session connected|[id]S: +OK Velnor pop3 service ready|"
            "[id]R: USER alice@example.test\n|[id]S: +OK user alice accepted|"
            "[id]R: PASS Secret\n|[id]S: +OK 1 message(s) [10 byte(s)]|"
            "[id]R: LIST\n|[id]S: +OK list messages|[id]S: 1 10|[id]S: .|"
            "[id]R: NOOP?%n\n|[id]S: +OK|"
            "[id]R: QUIT\n|[id]S: +OK closing connection from Velnor pop3 server|"
            "[id][127.0.0.1]session disconnected|");
}

}  // namespace
}  // namespace velnor::test
