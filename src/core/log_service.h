// The log service: one call for every thread, a finished line for the console's list, and a daily file.
//
// A line reads "[month/day hour:minute:second]:[label]  message" and CR LF, in local time. WriteLog makes it
// and hands it to the application object, which knows its roads (core/server_app.h). The daily file lies in
// the log directory under the date of the day on which it was opened; files older than 30 days are swept at
// each opening. Nothing here ever reports a failure. LogLock is the one lock of the program that is held
// across file output.
#pragma once

#include <string>
#include <string_view>

namespace velnor {

// The category of a line: its label, and its colour in the console. Any other number is a line of the system
// itself.
inline constexpr int LOG_SYS = 0;
inline constexpr int LOG_POP3 = 1;
inline constexpr int LOG_SMTP = 2;
inline constexpr int LOG_WWW = 3;
inline constexpr int LOG_AGENT = 4;

// Writes a line to the log. The message is cut at 1023 bytes, and further where the line's room of 1023 bytes
// ends; the CR LF is never cut. Text that came from a peer goes through LogSafe first. Any thread.
[[gnu::format(printf, 2, 3)]] void WriteLog(int category, const char* format, ...);

// Opens today's file in the directory, making that if need be, and sweeps it. Always 0. Once, before the
// services start.
int LogServiceStart(std::string_view directory);

// Adds a finished line to the daily file and hands it to the system at once. The first line of a new day
// opens a new file; before the start and after the stop the line is dropped. Any thread.
void AppendLogFile(std::string_view line);

// Closes the file. Once, after the services have stopped.
void LogServiceStop();

}  // namespace velnor
