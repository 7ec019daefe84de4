#include "core/spool_file.h"

#include <limits>

namespace velnor {
namespace {

constexpr std::size_t LINE_LIMIT = 1023;
constexpr std::size_t WHOLE_LINE = std::numeric_limits<std::size_t>::max();

// Reads a head line and gives what stands behind its keyword.
bool ReadHeadLine(platform::TextReader& file, std::string_view keyword, std::size_t limit,
                  std::string& value) {
  std::string line;
  if (!file.ReadLine(limit, line) || file.AtEnd() || !StartsWithIgnoreCase(line, keyword)) return false;
  value = line.substr(keyword.size());
  return true;
}

}  // namespace

bool WriteSpoolHead(MailFile& file, std::string_view forward_path, std::string_view return_path,
                    std::int32_t retry_times) {
  file.Write(std::string("Forward-Path: ").append(forward_path).append("\r\n"));
  file.Write(std::string("Return-Path: ").append(return_path).append("\r\n"));
  return file.Write(FormatText("Retry-Times: %d\r\n", retry_times));
}

bool ReadForwardPath(platform::TextReader& file, SpoolHead& head) {
  // However long: a recipient that is cut off here is never heard of again.
  std::string value;
  if (!ReadHeadLine(file, "Forward-Path:", WHOLE_LINE, value)) return false;
  head.ForwardPath = TrimBlanks(value);
  return true;
}

bool ReadReturnPath(platform::TextReader& file, SpoolHead& head) {
  std::string value;
  if (!ReadHeadLine(file, "Return-Path:", LINE_LIMIT, value)) return false;
  head.ReturnPath.Set(value);
  head.ReturnPath.Set(TrimBlanks(head.ReturnPath));
  return true;
}

bool ReadRetryTimes(platform::TextReader& file, SpoolHead& head) {
  std::string value;
  if (!ReadHeadLine(file, "Retry-Times:", LINE_LIMIT, value)) return false;
  head.RetryTimes = LeadingNumber(FixedText<10>(value));
  return true;
}

}  // namespace velnor
