#include "core/mail_file_name.h"

#include <algorithm>
#include <ctime>

#include "core/text.h"
#include "core/timestamps.h"
#include "platform/thread.h"

namespace velnor {

std::string MailFileName(std::uint32_t thread_id) {
  const int first = platform::RandomNumber();
  const int second = platform::RandomNumber();
  return FormatText("%s%06u%06d%06d", NowString().c_str(), thread_id, first, second);
}

std::optional<std::int64_t> MailFileTime(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_of("0123456789"), name.size()));
  if (name.size() < 32 || name.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  const auto field = [name](std::size_t from, std::size_t count) {
    return LeadingNumber(name.substr(from, count));
  };
  std::tm moment{};
  moment.tm_year = field(0, 4) - 1900;
  moment.tm_mon = field(4, 2) - 1;
  moment.tm_mday = field(6, 2);
  moment.tm_hour = field(8, 2);
  moment.tm_min = field(10, 2);
  moment.tm_sec = field(12, 2);
  return ::timegm(&moment);
}

}  // namespace velnor
