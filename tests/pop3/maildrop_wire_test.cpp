// What a maildrop lists of an Inbox, and the bytes of its messages on the wire.

#include "pop3/maildrop.h"

#include <gtest/gtest.h>

#include <algorithm>

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
  for (const char* name : {"_", "s1", "x1", "N1", "R1", "C1", "20240101", " n1", ".n1"}) {
    WriteFile(Inbox() / name, "not a message");
  }
  fs::create_directory(Inbox() / "new");
  EXPECT_FALSE(BuildMessageTable(Inbox()).HasTable());

  // The id is that of the name without its first letter, in one line however long the name.
  WriteFile(Inbox() / ("n"s + NAME), "12345");
  WriteFile(Inbox() / ("c" + std::string(250, 'y')), "");
  WriteFile(Inbox() / "r", "");
  fs::resize_file(Inbox() / "r", 5'000'000'000);
  const Maildrop maildrop = BuildMessageTable(Inbox());
  ASSERT_EQ(maildrop.Count(), 3);
  EXPECT_EQ(maildrop.TotalBytes, std::uint64_t{UINT32_MAX} + 5) << "a size has 32 bits";
  for (const MessageEntry& row : maildrop.Table) {
    const std::string name = fs::path(row.FilePath).filename();
    EXPECT_EQ(row.Size, std::min<std::uintmax_t>(fs::file_size(row.FilePath), UINT32_MAX));
    EXPECT_EQ(row.UniqueId.size(), name[0] == 'n' ? 44u : name[0] == 'c' ? 336u : 0u) << name;
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

// A dot alone in a line is doubled, which no client may take for the end.
TEST_F(MaildropWire, RetrSendsTheStreamAndTopItsLinesWithTheMarkerBehind) {
  const std::string full(2046, 'x');
  const std::string lines = "Received: x\r\nA: b\r\n\r\n";
  const std::string long_line(1500, 'y');
  const std::string message = Replaced(lines + long_line + "\r\n.\r\nlast", "\n", "\r\n");
  const struct {
    const char* Line;
    std::string Stored;
    std::string Sent;  // without the end marker
  } cases[] = {
      {"RETR 1", "A: b\r\r\n\r\r\ntext", "A: b\r\n\r\ntext"},
      {"RETR 1", "bare\r\nlf\r\n", "bare\nlf\n"},
      {"RETR 1", "", ""},
      {"RETR 1", "\0a\r\r\n\0\x80\xff%s"s, "\0a\r\n\0\x80\xff%s"s},
      {"RETR 1", "a\r\r\n..\r\r\n..b\r\r\n.c\r\r\n...", "a\r\n..\r\n..b\r\n.c\r\n..."},
      {"RETR 1", ".\r\r\n.\r\r\nb\r\n.", "..\r\n..\r\nb\n.."},
      {"RETR 1", full + "\r\r\n.\r\r\nend", full + "\r\n..\r\nend"},
      {"RETR 1", full.substr(2) + "\r\r\n.\r\r\nend", full.substr(2) + "\r\n..\r\nend"},
      {"RETR 1", full + full + full, full + full + full},
      {"TOP 1 0", message, ""},
      {"TOP 1", message, ""},
      {"TOP 1 -5", message, ""},
      {"TOP  1 2", message, "Received: x\r\n"},  // the number stands behind the first blank
      {"TOP 1 4", message, lines + long_line.substr(0, 1022)},
      {"TOP 1 5", message, lines + long_line + "\r\n"},
      {"TOP 1 99999999999", message, lines + long_line + "\r\n..\r\nlast"},
  };
  for (const auto& each : cases) {
    WriteFile(Inbox() / "n1", each.Stored);
    const auto peer = ConnectAndLogOn();
    Play(*peer, {{each.Line, "+OK mail data"}});
    EXPECT_EQ(peer->ReadUntil(END), each.Sent + END) << each.Line;
    Play(*peer, {{"NOOP", "+OK "}});
  }
}

// Nothing may follow a gap: with an end marker behind it the message would look whole.
TEST_F(MaildropWire, AMessageThatIsNotTakenOrCantBeReadClosesTheConnection) {
  const platform::Socket listener = platform::OpenStreamSocket();
  ASSERT_EQ(platform::BindSocket(listener, 0), 0);
  ASSERT_EQ(platform::ListenSocket(listener, 1), 0);
  const fs::path message = Inbox() / "n1";
  WriteFile(message, std::string(1'000'000, 'x'));
  // Nothing can be read at the beginning of a process's memory.
  for (const fs::path& path : {message, fs::path("/proc/self/mem")}) {
    for (const bool whole : {true, false}) {
      const auto peer = PeerConnection::Connect(platform::LocalPort(listener));
      platform::DottedAddress address;
      ASSERT_EQ(platform::WaitReadable(listener, 10'000), 1);
      const platform::Socket socket = platform::AcceptSocket(listener, address);
      if (path == message) peer->Close();
      EXPECT_EQ(whole ? SendMessageFile(socket, path) : SendMessageHead(socket, path, 1000), 1);
      EXPECT_NE(platform::CloseSocket(socket), 0) << "closed already";
      EXPECT_EQ(peer->ReadToClose(), "");
    }
  }
  platform::CloseSocket(listener);
}

}  // namespace
}  // namespace velnor::test
