// The DATA phase: the stored bytes, the end marker, and everything that makes a reception fail.

#include <gtest/gtest.h>
#include <signal.h>

#include <future>
#include <regex>

#include "smtp/smtp_world.h"
#include "support/resource_limit.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;

constexpr const char* FAILED = "503 error recv mail\r\n";

class MessageReceptionWire : public SmtpWire {
 protected:
  // The one message that waits in the spool, byte for byte; it is taken away. Its name must have the right
  // form.
  std::string TakeStored() {
    const std::vector<std::string> names = FileNames(world_.Spool());
    if (names.size() != 1 || !std::regex_match(names[0], std::regex(R"(s\d{14}\d{6,}\d{12})"))) {
      return "spool: " + ::testing::PrintToString(names);
    }
    const std::string stored = ReadFile(world_.Spool() / names[0]);
    fs::remove(world_.Spool() / names[0]);
    return stored;
  }

  // What stands behind the head and the Received: line.
  std::string TakeStoredText() {
    const std::string stored = TakeStored();
    const std::size_t received = stored.find("\r\r\nReceived: ");
    const std::size_t text = stored.find("\r\r\n", received + 3);
    return text == std::string::npos ? stored : stored.substr(text + 3);
  }

  // Waits for the end of so many sessions; all the failures that are logged then must be these.
  void ExpectFailures(int sessions, int failures) {
    EXPECT_TRUE(WaitUntil([&] { return CountInLog(world_, "[id]session disconnected") == sessions; }));
    EXPECT_EQ(CountInLog(world_, "[id]recv email data failed, deliver to:<bob@example.test>"), failures);
    EXPECT_EQ(FileNames(world_.Spool()), std::vector<std::string>());
  }
};

TEST_F(MessageReceptionWire, HeadOfTheStoredFile) {
  const auto peer = Connect();
  const Dialogue data = {{"DATA", "354 ready to receive mail data, end with CRLF.CRLF"},
                         {"Text\r\n.", "250 OK"}};
  Play(*peer, {{{"HELO  client.test ", "MAIL FROM: <<s@far.test>> SIZE=1"}, "250 OK"},
               {{"RCPT TO:<bob@example.test>", "RCPT TO:<Alice@Example.Test>"}, "250 accept user"}});
  Play(*peer, data);
  const std::string stored = TakeStored();
  EXPECT_TRUE(
      stored.starts_with("Forward-Path: bob@example.test,Alice@Example.Test\r\r\n"
                         "Return-Path: s@far.test>> SIZE=1\r\r\nRetry-Times: 0\r\r\n"
                         "Received: from client.test by example.test (Velnor Smtp v1.0) ; "))
      << stored;
  // The envelope is used up, and a reset takes the client's name with it.
  Play(*peer, {{"RCPT TO:<bob@example.test>", "502 command error, not in the status"},
               {{"MAIL FROM:<a@b>", "RSET", "MAIL FROM:<a@b>"}, "250 OK"},
               {"RCPT TO:<bob@example.test>", "250 accept user"}});
  Play(*peer, data);
  EXPECT_NE(TakeStored().find("\r\r\nReceived: from  by example.test "), std::string::npos);
}

TEST_F(MessageReceptionWire, TextIsStoredToTheByteWhereverItIsSplit) {
  std::vector<std::string> texts = {
      "Subject: x\r\n\r\nText.",
      "",
      "\r\n",
      "..\r\n..two\r\n.x\r\n",
      "a\n.\nb\r\n.\nc\n.\r\nd\r.\re\r\n.\rf\r\n. \r\ng",
      ".\nx",
      "\0a\0\r\n\x80\xff%s"s,
      "\r\n.\r",
      std::string(5000, 'x'),
  };
  // A text arrives at once and is read by 1023 bytes, so its length decides where the marker, and what looks
  // like it, is split.
  for (const std::size_t read_end : {1023u, 2046u}) {
    for (std::size_t before = 0; before <= 5; ++before) {
      texts.push_back(std::string(read_end - before - 4, 'x') + "\r\n.y");
    }
  }
  const auto peer = Connect();
  Play(*peer, {{"HELO x", "250 OK"}});
  for (const std::string& text : texts) {
    OpenMessage(*peer);
    EXPECT_EQ(Say(*peer, text + "\r\n."), "250 OK");
    EXPECT_EQ(TakeStoredText(), Replaced(text, "\n", "\r\n")) << text.size();
  }
  // What stands behind the marker in its chunk is counted and dropped.
  OpenMessage(*peer);
  EXPECT_EQ(Say(*peer, "1234567\r\n.\r\nNOOP"), "250 OK");
  EXPECT_TRUE(world_.WaitForLog("]recv email data successfully, deliver to:<bob@example.test>, size:18b"));
  EXPECT_EQ(TakeStoredText(), "1234567");
  EXPECT_EQ(Say(*peer, "QUIT"), "221 closing connection from Velnor SMTP/ESMTP server");
}

TEST_F(MessageReceptionWire, FailedReceptionLeavesNothing) {
  int failures = 0;
  // A lone dot in the first line would end the message behind its Received: line.
  for (const char* refused : {".\r\nrest\r\n.\r\n", ".\r\n.\r\n"}) {
    const auto peer = ConnectToData();
    peer->Send(refused);
    EXPECT_EQ(peer->ReadToClose(), FAILED);
    ++failures;
    ExpectFailures(failures, failures);
  }
  for (const std::string& cut : {""s, std::string(70'000, 'x'), "Text\r\n.\r"s}) {
    ConnectToData()->Send(cut);
    ++failures;
    ExpectFailures(failures, failures);
  }
}

TEST_F(MessageReceptionWire, FaultsOfTheDisk) {
  const fs::path spool = world_.Spool();
  const auto peer = ConnectToData();
  EXPECT_TRUE(WaitUntil([&] { return FileNames(spool).size() == 1; }));
  fs::remove_all(spool);
  peer->Send("Text\r\n.\r\n");
  EXPECT_EQ(peer->ReadToClose(), FAILED) << "the last rename fails";
  EXPECT_EQ(ConnectToData()->ReadToClose(), "") << "no file can be made: not a word, and no log line";
  ExpectFailures(2, 1);

  fs::create_directory(spool);
  signal(SIGXFSZ, SIG_IGN);
  const ResourceLimit no_space(RLIMIT_FSIZE, 500);
  int failures = 1;
  // The small message finds no space at its end, the large one in the middle, while its client goes on
  // sending.
  for (const std::size_t size : {1'000u, 16'000'000u}) {
    const auto sending = ConnectToData();
    EXPECT_TRUE(sending->Send(std::string(size, 'x') + "\r\n.\r\n"));
    EXPECT_EQ(sending->ReadToClose(), FAILED) << size;
    ++failures;
    ExpectFailures(failures + 1, failures);
  }
}

TEST_F(MessageReceptionWire, StopInMidMessageFailsIt) {
  const auto peer = ConnectToData();
  peer->Send(std::string(70'000, 'x'));
  EXPECT_TRUE(WaitUntil([&] {
    const std::vector<std::string> names = FileNames(world_.Spool());
    return names.size() == 1 && fs::file_size(world_.Spool() / names[0]) > 0;
  }));
  SmtpStop();
  EXPECT_EQ(peer->ReadToClose().find("250"), std::string::npos);
  ExpectFailures(1, 1);
}

// The slow ones run beside each other: what they wait for is the server's own pace.
TEST_F(MessageReceptionWire, SilenceAndTheSizeLimit) {
  g_SystemConfig.MaxSizePerMail = 1;
  // The reply that tells of the end of the message, and what stands before it.
  const auto reply_to = [this](const std::string& sent) {
    const auto peer = ConnectToData();
    peer->Send(sent);
    const std::string reply = ReadReply(*peer);
    return reply.starts_with("501") ? reply + " " + ReadReply(*peer) : reply;
  };
  const std::string end = "\r\n.\r\n";
  auto silence = std::async(std::launch::async, reply_to, "Text\r\n");
  auto at_limit = std::async(std::launch::async, reply_to, std::string(1'048'571, 'x') + end);
  auto below_limit = std::async(std::launch::async, reply_to, std::string(1'048'570, 'x') + end);
  EXPECT_EQ(silence.get() + "\r\n", "501 timeout, connection closed "s + FAILED);
  EXPECT_EQ(at_limit.get() + "\r\n", FAILED);
  EXPECT_EQ(below_limit.get(), "250 OK");
  EXPECT_EQ(TakeStoredText().size(), 1'048'570u);
}

}  // namespace
}  // namespace velnor::test
