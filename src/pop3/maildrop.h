// The maildrop: one session's view of an Inbox, taken by a single scan, and the sending of message files.
//
// Message numbers, sizes and unique ids come from the snapshot; marks change it alone. The files are touched
// only when marks are committed. Nothing locks a mailbox: two sessions of one user each have a view of their
// own. A maildrop belongs to its session's thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/socket.h"

namespace velnor {

// One row. Its place in the table, from 1, is the message number for as long as the table lives.
struct MessageEntry {
  std::string FilePath;
  std::string UniqueId;    // Base64 of the file name without its first letter
  std::uint32_t Size = 0;  // bytes on the disk at the time of the scan
  bool Deleted = false;    // marked by DELE
};

// An empty table is no table: LIST, UIDL and STAT tell the two apart from one with rows.
struct Maildrop {
  std::vector<MessageEntry> Table;
  std::uint64_t TotalBytes = 0;

  bool HasTable() const { return !Table.empty(); }
  std::int64_t Count() const { return static_cast<std::int64_t>(Table.size()); }
};

// The rows of all messages in an Inbox, in the order of the directory. An Inbox that can't be scanned counts
// as empty, and a scan that runs out of memory ends with the rows it has.
Maildrop BuildMessageTable(const std::string& inbox);

// Deletes the file of every marked row. A file that can't be deleted stays and is not told of.
void CommitDeletions(const Maildrop& maildrop);

// Sends a message file, whole or its first lines, as its text stream delivers it, and the end marker. What
// came in by SMTP holds its dots doubled already; only a dot alone in a line is doubled here
// (core/dot_guard.h). 1 if the file could be opened; 0 if not, and then nothing is sent. A message that could
// not be read, or sent, to its end closes the connection.
int SendMessageFile(platform::Socket socket, const std::string& path);
int SendMessageHead(platform::Socket socket, const std::string& path, std::int32_t lines);

}  // namespace velnor
