// What a maildrop lists of an Inbox, and the bytes of its messages on the wire.

#include "pop3/maildrop.h"

#include <gtest/gtest.h>

#include "pop3/pop3_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;

constexpr const char* NAME = "20240101000000000001000002000003";
constexpr const char* NAME_ID = "MjAyNDAxMDEwMDAwMDAwMDAwMDEwMDAwMDIwMDAwMDM=";
constexpr const char* END = "\r\n.\r\n";

using MaildropWire = Pop3Wire;

TEST_F(MaildropWire, ListsMessagesAlone) {
  for (const char* name : {"_", "s1", "x1", "N1", "R1", "C1", "20240101", " n1", ".n1", "config.ini.x"}) {
    WriteFile(Inbox() / name, "not a message");
  }
  fs::create_directory(Inbox() / "new");
  fs::remove(Inbox() / "config.ini.x");
  EXPECT_FALSE(BuildMessageTable(Inbox()).HasTable());

  // The id is that of the name without its first letter, in one line however long the name.
  const std::string long_name(250, 'y');
  WriteFile(Inbox() / ("n"s + NAME), "12345");
  WriteFile(Inbox() / ("c" + long_name), "");
  WriteFile(Inbox() / "r", "\r\n");
  fs::resize_file(Inbox() / "r", 3'000'000'000);
  const Maildrop maildrop = BuildMessageTable(Inbox());
  ASSERT_EQ(maildrop.Count(), 3);
  EXPECT_EQ(maildrop.TotalBytes, 3'000'000'005u);
  for (const MessageEntry& row : maildrop.Table) {
    const std::string name = fs::path(row.FilePath).filename();
    EXPECT_TRUE(fs::exists(row.FilePath));
    EXPECT_EQ(row.Size, fs::file_size(row.FilePath));
    const std::size_t id_size = name[0] == 'n' ? 44 : name[0] == 'c' ? 336 : 0;
    EXPECT_EQ(row.UniqueId.size(), id_size) << name;
    EXPECT_EQ(row.UniqueId.find_first_of(" \r\n"), std::string::npos) << name;
  }
}

TEST_F(MaildropWire, UniqueIdOutlivesAChangeOfTheLetter) {
  for (const char* letter : {"n", "r", "c"}) {
    const fs::path file = Inbox() / (std::string(letter) + NAME);
    WriteFile(file, "x");
    Play(*ConnectAndLogOn(),
         {{"UIDL", "+OK list messages\n1 "s + NAME_ID + "\n."}, {"UIDL 1", "+OK 1 "s + NAME_ID}});
    fs::remove(file);
  }
}

TEST_F(MaildropWire, RetrSendsTheStreamAndTheMarker) {
  const std::string full(2046, 'x');
  const struct {
    std::string Stored;
    std::string Sent;  // without the end marker
  } cases[] = {
      {"A: b\r\r\n\r\r\ntext", "A: b\r\n\r\ntext"},
      {"line end\r\r\n", "line end\r\n"},
      {"bare\r\nlf\r\n", "bare\nlf\n"},
      {"", ""},
      {"\0a\r\r\n\0\x80\xff%s"s, "\0a\r\n\0\x80\xff%s"s},
      {"a\r\r\n..\r\r\n..b\r\r\n.c\r\r\n...", "a\r\n..\r\n..b\r\n.c\r\n..."},
      // A dot alone in a line, which no client may take for the end.
      {"a\r\r\n.\r\r\nb", "a\r\n..\r\nb"},
      {"a\r\n.\r\nb\r.\rc", "a\n..\nb\r..\rc"},
      {".\r\r\n.", "..\r\n.."},
      {full + "\r\r\n.\r\r\nend", full + "\r\n..\r\nend"},
      {full.substr(2) + "\r\r\n.\r\r\nend", full.substr(2) + "\r\n..\r\nend"},
      {full.substr(1) + "\r\r\n.\r\r\nend", full.substr(1) + "\r\n..\r\nend"},
      {full + full + full, full + full + full},
  };
  for (const auto& each : cases) {
    WriteFile(Inbox() / "n1", each.Stored);
    const auto peer = ConnectAndLogOn();
    Play(*peer, {{"RETR 1", "+OK mail data"}});
    EXPECT_EQ(peer->ReadUntil(END), each.Sent + END);
    Play(*peer, {{"NOOP", "+OK "}});
  }
}

TEST_F(MaildropWire, TopSendsLines) {
  const std::string long_line(1500, 'y');
  WriteFile(Inbox() / "n1", "Received: x\r\r\nA: b\r\r\n\r\r\n" + long_line + "\r\r\n.\r\r\nlast");
  const struct {
    const char* Line;
    std::string Sent;  // without the end marker
  } cases[] = {
      {"TOP 1 0", ""},
      {"TOP 1", ""},
      {"TOP 1 -5", ""},
      {"TOP 1 x", ""},
      {"TOP  1 2",
       "Received: x\r\n"},  // the number of lines stands behind the first blank, so this asks for one
      {"TOP 1 2", "Received: x\r\nA: b\r\n"},
      {"TOP 1 4", "Received: x\r\nA: b\r\n\r\n" + long_line.substr(0, 1022)},
      {"TOP 1 5", "Received: x\r\nA: b\r\n\r\n" + long_line + "\r\n"},
      {"TOP 1 6", "Received: x\r\nA: b\r\n\r\n" + long_line + "\r\n..\r\n"},
      {"TOP 1 99999999999", "Received: x\r\nA: b\r\n\r\n" + long_line + "\r\n..\r\nlast"},
  };
  const auto peer = ConnectAndLogOn();
  for (const auto& each : cases) {
    Play(*peer, {{each.Line, "+OK mail data"}});
    EXPECT_EQ(peer->ReadUntil(END), each.Sent + END) << each.Line;
  }
  Play(*peer, {{"NOOP", "+OK "}});
}

// Nothing may follow a gap: with an end marker behind it the message would look whole.
TEST_F(MaildropWire, MessageThatIsNotTakenClosesTheConnection) {
  const platform::Socket listener = platform::OpenStreamSocket();
  ASSERT_EQ(platform::BindSocket(listener, 0), 0);
  ASSERT_EQ(platform::ListenSocket(listener, 1), 0);
  const fs::path message = Inbox() / "n1";
  WriteFile(message, "");
  fs::resize_file(message, 1'000'000);
  for (const bool whole : {true, false}) {
    const auto peer = PeerConnection::Connect(platform::LocalPort(listener));
    platform::DottedAddress address;
    ASSERT_EQ(platform::WaitReadable(listener, 10'000), 1);
    const platform::Socket socket = platform::AcceptSocket(listener, address);
    peer->Close();
    EXPECT_EQ(whole ? SendMessageFile(socket, message) : SendMessageHead(socket, message, 1000), 1);
    EXPECT_NE(platform::CloseSocket(socket), 0) << "closed already";
  }
  platform::CloseSocket(listener);
}

}  // namespace
}  // namespace velnor::test
