// The spool file: its head lines, and its names in the spool directory.
//
// Three head lines stand before the message text: the recipients joined by ",", the sender, and how many
// times the copy has been put back. The first characters of the name are the state: "_" being written, "s"
// waiting, "__s" claimed by a delivery (docs/mail-store.md). Any thread; each file has one owner at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/mail_file.h"
#include "core/text.h"

namespace velnor {

inline constexpr const char* MAIL_VERSION = "v1.0";

struct SpoolHead {
  std::string ForwardPath;      // recipients, as user@domain joined by ","
  FixedText<127> ReturnPath;    // the sender, as user@domain
  std::int32_t RetryTimes = 0;  // 0 in a new file
};

// Writes the three head lines. False once any write of the file has failed.
bool WriteSpoolHead(MailFile& file, std::string_view forward_path, std::string_view return_path,
                    std::int32_t retry_times);

// Reads the head lines, one after the other, leaving the stream at the first byte of the message text. Each
// gives false if its line is missing, is not the one expected, or is the last thing in the file without a
// line end.
bool ReadForwardPath(platform::TextReader& file, SpoolHead& head);
bool ReadReturnPath(platform::TextReader& file, SpoolHead& head);
bool ReadRetryTimes(platform::TextReader& file, SpoolHead& head);

}  // namespace velnor
