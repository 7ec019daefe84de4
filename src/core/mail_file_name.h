// MailFileName: the name form that spool and mailbox files share. Any thread.
//
// The time in UTC (14 digits), the writing thread's id (at least 6 digits) and two random numbers (6 digits
// each). A letter or mark before it tells the file's state: see docs/mail-store.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

// A new name for a file that the given thread writes. Two names of one process differ in practice.
std::string MailFileName(std::uint32_t thread_id);

// The time in a mail file's name, whatever marks stand before it, in seconds since 1970; none in any other
// name.
std::optional<std::int64_t> MailFileTime(std::string_view name);

}  // namespace velnor
