// The two time stamps of mail. No state; any thread.
#pragma once

#include <string>

namespace velnor {

// The moment in UTC as 14 digits, from the year to the second: the first part of every mail file's name.
std::string NowString();

// The moment in local time with the zone's standard offset behind it, as mail headers have it. An offset of
// nothing is written "-0000", and daylight saving shows in the time only.
std::string RfcDateNow();

}  // namespace velnor
