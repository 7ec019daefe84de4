#include "pop3/maildrop.h"

#include <new>
#include <string_view>
#include <utility>

#include "core/base64.h"
#include "core/dir_scan.h"
#include "core/dot_guard.h"
#include "core/paths.h"
#include "core/socket_text.h"
#include "platform/file.h"
#include "platform/text_stream.h"
#include "platform/thread.h"

namespace velnor {
namespace {

constexpr std::size_t BLOCK_LIMIT = 2047;  // bytes of one send
constexpr int BLOCK_PAUSE_MS = 20;
constexpr std::size_t LINE_LIMIT = 1022;
constexpr int LINES_TO_PAUSE = 1000;
constexpr int LINES_PAUSE_MS = 10;
constexpr std::string_view END_MARKER = "\r\n.\r\n";

bool IsMessageName(std::string_view name) {
  return name.starts_with('r') || name.starts_with('n') || name.starts_with('c');
}

// The id is one word of a listing, so the line breaks that the encoding of a very long name holds are left
// out.
std::string UniqueIdOf(std::string_view name) {
  std::string id = Base64Encode(name.substr(1));
  std::erase_if(id, [](char c) { return c == '\r' || c == '\n'; });
  return id;
}

MessageEntry RowOf(const std::string& inbox, const DirEntry& entry) {
  MessageEntry row;
  row.FilePath = JoinPath(inbox, entry.Name.c_str());
  row.UniqueId = UniqueIdOf(entry.Name);
  row.Size = entry.Size;
  return row;
}

// A piece that a slow peer does not take leaves a gap. An end marker behind it would make the message look
// whole to a peer that wakes up again, so nothing may follow.
bool SendPiece(platform::Socket socket, std::string_view piece,
               platform::SendHint hint = platform::SendHint::LAST) {
  if (piece.empty() || SendString(socket, piece, hint) > 0) return true;
  platform::CloseSocket(socket);
  return false;
}

// Ends a message on the wire. One that could not be read to its end gets no end marker: a client that took it
// for whole would go on to delete the only copy.
void SendEnd(platform::Socket socket, DotGuard& guard, platform::TextReader& message) {
  if (message.Failed()) {
    platform::CloseSocket(socket);
    return;
  }
  SendPiece(socket, guard.Finish(), platform::SendHint::MORE);
  SendString(socket, END_MARKER);
}

}  // namespace

Maildrop BuildMessageTable(const std::string& inbox) {
  Maildrop maildrop;
  try {
    const auto scan = DirOpen(inbox);
    while (const DirEntry* entry = DirNext(scan.get())) {
      if (!IsMessageName(entry->Name) || entry->IsDirectory) continue;
      maildrop.Table.push_back(RowOf(inbox, *entry));
      maildrop.TotalBytes += entry->Size;
    }
  } catch (const std::bad_alloc&) {
    // The session works on with the rows that found room.
  }
  return maildrop;
}

void CommitDeletions(const Maildrop& maildrop) {
  for (const MessageEntry& row : maildrop.Table) {
    if (row.Deleted) platform::DeleteFile(row.FilePath);
  }
}

int SendMessageFile(platform::Socket socket, const std::string& path) {
  platform::TextReader message;
  if (message.Open(path) != 0) return 0;
  DotGuard guard;
  std::string block;
  while (message.ReadBlock(BLOCK_LIMIT, block)) {
    if (!SendPiece(socket, guard.Pass(block))) break;
    platform::SleepMilliseconds(BLOCK_PAUSE_MS);
  }
  SendEnd(socket, guard, message);
  return 1;
}

int SendMessageHead(platform::Socket socket, const std::string& path, std::int32_t lines) {
  platform::TextReader message;
  if (message.Open(path) != 0) return 0;
  DotGuard guard;
  std::string line;
  int since_pause = 0;
  for (; lines > 0 && message.ReadLine(LINE_LIMIT, line); --lines) {
    if (!SendPiece(socket, guard.Pass(line), platform::SendHint::MORE)) break;
    if (++since_pause == LINES_TO_PAUSE) {
      platform::SleepMilliseconds(LINES_PAUSE_MS);
      since_pause = 0;
    }
  }
  SendEnd(socket, guard, message);
  return 1;
}

}  // namespace velnor
