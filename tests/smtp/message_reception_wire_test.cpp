// The DATA phase: the stored bytes, the end marker, and everything that makes a reception fail.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <regex>
#include <thread>

#include "smtp/smtp_world.h"
#include "support/resource_limit.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;

constexpr const char* FAILED = "503 error recv mail\r\n";
constexpr const char* FAILED_LOG = "[id]recv email data failed, deliver to:<bob@example.test>";

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

  // How often a line stands in the log once the session with the given number has ended.
  long LoggedAfter(int session, std::string_view line) {
    const auto count = [&](std::string_view wanted) {
      const std::vector<std::string> log = SessionLog(world_);
      return static_cast<int>(std::count(log.begin(), log.end(), wanted));
    };
    EXPECT_TRUE(WaitUntil([&] { return count("[id]session disconnected") == session; }));
    return count(line);
  }
};

TEST_F(MessageReceptionWire, HeadOfTheStoredFile) {
  const auto peer = Connect();
  const Dialogue data = {{"DATA", "354 ready to receive mail data, end with CRLF.CRLF"},
                         {"Text\r\n.", "250 OK"}};
  Play(*peer, {{"HELO  client.test ", "250 OK"},
               {"MAIL FROM: <<s@far.test>> SIZE=1", "250 OK"},
               {"RCPT TO:<bob@example.test>", "250 accept user"},
               {"RCPT TO:<Alice@Example.Test>", "250 accept user"}});
  Play(*peer, data);
  const std::regex head(
      "Forward-Path: bob@example\\.test,Alice@Example\\.Test\r\r\n"
      "Return-Path: s@far\\.test>> SIZE=1\r\r\n"
      "Retry-Times: 0\r\r\n"
      "Received: from client\\.test by example\\.test \\(Velnor Smtp v1\\.0\\) ; "
      "[A-Z][a-z]{2}, \\d\\d [A-Z][a-z]{2} \\d{4} \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}\r\r\n"
      "Text");
  const std::string stored = TakeStored();
  EXPECT_TRUE(std::regex_match(stored, head)) << stored;
  // The envelope is used up, and a reset takes the client's name with it.
  Play(*peer, {{"RCPT TO:<bob@example.test>", "502 command error, not in the status"},
               {"MAIL FROM:<a@b>", "250 OK"},
               {"RSET", "250 OK"},
               {"MAIL FROM:<a@b>", "250 OK"},
               {"RCPT TO:<bob@example.test>", "250 accept user"}});
  Play(*peer, data);
  EXPECT_NE(TakeStored().find("\r\r\nReceived: from  by example.test "), std::string::npos);
}

TEST_F(MessageReceptionWire, TextIsStoredToTheByte) {
  const struct {
    std::string Sent;  // without the end marker
    std::string Stored;
  } cases[] = {
      {"Subject: x\r\n\r\nText.", "Subject: x\r\r\n\r\r\nText."},
      {"", ""},
      {"\r\n", "\r\r\n"},
      {"..\r\n..two\r\n.x\r\n", "..\r\r\n..two\r\r\n.x\r\r\n"},
      {"a\n.\nb\r\n.\nc\n.\r\nd\r.\re\r\n.\rf\r\n. \r\ng",
       "a\r\n.\r\nb\r\r\n.\r\nc\r\n.\r\r\nd\r.\re\r\r\n.\rf\r\r\n. \r\r\ng"},
      {".\nx", ".\r\nx"},
      {"\0a\0\r\n\x80\xff%s"s, "\0a\0\r\r\n\x80\xff%s"s},
      {"\r\n.\r", "\r\r\n.\r"},
      {std::string(5000, 'x'), std::string(5000, 'x')},
  };
  const auto peer = Connect();
  Play(*peer, {{"HELO x", "250 OK"}});
  for (const auto& each : cases) {
    OpenMessage(*peer);
    EXPECT_EQ(Say(*peer, each.Sent + "\r\n."), "250 OK");
    EXPECT_EQ(TakeStoredText(), each.Stored);
    const std::size_t size = each.Sent.size() + 5;
    EXPECT_TRUE(world_.WaitForLog(
        "]recv email data successfully, deliver to:<bob@example.test>, size:" + std::to_string(size) + "b"));
  }
  // What stands behind the marker in its chunk is counted and dropped.
  OpenMessage(*peer);
  EXPECT_EQ(Say(*peer, "1234567\r\n.\r\nNOOP"), "250 OK");
  EXPECT_TRUE(world_.WaitForLog(", size:18b"));
  EXPECT_EQ(TakeStoredText(), "1234567");
  EXPECT_EQ(Say(*peer, "QUIT"), "221 closing connection from Velnor SMTP/ESMTP server");
}

TEST_F(MessageReceptionWire, MarkerIsFoundAcrossReadsAtEveryPlace) {
  // The text arrives at once and is read by 1023 bytes, so its length decides where the marker is split.
  const auto peer = Connect();
  Play(*peer, {{"HELO x", "250 OK"}});
  for (const std::size_t read_end : {1023u, 2046u}) {
    for (std::size_t before = 0; before <= 5; ++before) {
      const std::string text = std::string(read_end - before - 4, 'x') + "\r\n.y";
      OpenMessage(*peer);
      EXPECT_EQ(Say(*peer, text + "\r\n."), "250 OK");
      EXPECT_EQ(TakeStoredText(), Replaced(text, "\n", "\r\n")) << before << " bytes before " << read_end;
    }
  }
}

TEST_F(MessageReceptionWire, FailedReceptionLeavesNothing) {
  const struct {
    std::string Sent;
    bool GoesAway;
  } cases[] = {
      {".\r\nrest\r\n.\r\n", false},  // this dot would end the message behind its Received: line
      {".\r\n.\r\n", false},         {"", true}, {std::string(70'000, 'x'), true}, {"Text\r\n.\r", true},
  };
  int failures = 0;
  for (const auto& each : cases) {
    const auto peer = ConnectToData();
    peer->Send(each.Sent);
    if (each.GoesAway) {
      peer->Close();
    } else {
      EXPECT_EQ(peer->ReadToClose(), FAILED);
    }
    ++failures;
    EXPECT_EQ(LoggedAfter(failures, FAILED_LOG), failures);
    EXPECT_EQ(FileNames(world_.Spool()), std::vector<std::string>());
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
  EXPECT_EQ(LoggedAfter(2, FAILED_LOG), 1);

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
    EXPECT_EQ(LoggedAfter(failures + 1, FAILED_LOG), failures);
    EXPECT_EQ(FileNames(spool), std::vector<std::string>());
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
  EXPECT_EQ(FileNames(world_.Spool()), std::vector<std::string>());
  EXPECT_EQ(LoggedAfter(1, FAILED_LOG), 1);
  Start();
  EXPECT_EQ(Say(*ConnectToData(), "Text\r\n."), "250 OK");
  EXPECT_EQ(TakeStoredText(), "Text");
}

// The slow ones run beside each other: what they wait for is the server's own pace.
TEST_F(MessageReceptionWire, SilenceAndTheSizeLimit) {
  g_SystemConfig.MaxSizePerMail = 1;
  const auto send_in_all = [this](std::size_t bytes) {
    const auto peer = ConnectToData();
    peer->Send(std::string(bytes - 5, 'x') + "\r\n.\r\n");
    return ReadReply(*peer);
  };
  std::string silence, at_limit, below_limit;
  {
    const std::jthread first([&] {
      const auto peer = ConnectToData();
      peer->Send("Text\r\n");
      silence = peer->ReadToClose();
    });
    const std::jthread second([&] { at_limit = send_in_all(1'048'576); });
    const std::jthread third([&] { below_limit = send_in_all(1'048'575); });
  }
  EXPECT_EQ(silence, "501 timeout, connection closed\r\n"s + FAILED);
  EXPECT_EQ(at_limit + "\r\n", FAILED);
  EXPECT_EQ(below_limit, "250 OK");
  EXPECT_EQ(TakeStoredText().size(), 1'048'570u);
}

}  // namespace
}  // namespace velnor::test
