// The spool as a queue: finding the next file to deliver, putting a copy back, and bringing back what a
// process that died had in hand. A message waits as a file and nowhere else; docs/mail-store.md has the table
// of file states.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/text_stream.h"

namespace velnor {

// Whether a waiting file, given by its path, is the one to claim.
using SpoolFilter = std::function<bool(const std::string& path)>;

// Claims the first file that waits, has reached its age of 10 seconds and passes the filter if there is one,
// by renaming it. 1 with the claimed file's path, 0 when nothing is eligible. The agent's scheduler alone.
int ClaimNextSpoolFile(std::string& spool_path, const SpoolFilter& filter = nullptr);

// Writes a new waiting file for one recipient, with the retry count plus one, from the open spool file, which
// stands at the first byte of the message text and does so again afterwards. 1, or 0 if the copy could not be
// stored: the caller then keeps the file that it has. Delivery workers.
int RequeueMail(platform::TextReader& spool_file, std::uint32_t thread_id, std::string_view address,
                std::string_view sender, std::int32_t retry_times);

// Puts every claimed file back among the waiting ones and removes unfinished files that are older than this
// process. Only while no worker lives.
void RecoverSpool();

}  // namespace velnor
