#include "core/log_service.h"

#include <cstdarg>
#include <memory>

#include "core/dir_scan.h"
#include "core/paths.h"
#include "core/server_app.h"
#include "core/text.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/lock.h"
#include "platform/text_stream.h"

namespace velnor {
namespace {

constexpr std::int64_t KEPT_SECONDS = 30 * 24 * 60 * 60;
constexpr std::size_t LINE_ROOM = 1023;
constexpr std::string_view LINE_END = "\r\n";

struct LogService {
  platform::CriticalSection LogLock;
  std::unique_ptr<platform::TextWriter> File GUARDED_BY(LogLock);  // none if it could not be opened
  FixedText<255> LogDirectory GUARDED_BY(LogLock);                 // empty while the service does not run
  int LogDay GUARDED_BY(LogLock) = -1;                             // day of the month of the open file
};

LogService& Log() {
  static auto* service = new LogService;  // outlives every thread that logs
  return *service;
}

const char* Label(int category) {
  switch (category) {
    case LOG_POP3:
      return "POP3 ";
    case LOG_SMTP:
      return "SMTP ";
    case LOG_WWW:
      return "WWW  ";
    case LOG_AGENT:
      return "AGENT";
    default:
      return "SYS  ";
  }
}

void SweepOldFiles(const std::string& directory, std::int64_t now) {
  const auto scan = DirOpen(directory);
  while (const DirEntry* entry = DirNext(scan.get())) {
    if (!entry->IsDirectory && now - entry->CreateTime > KEPT_SECONDS) {
      platform::DeleteFile(JoinPath(directory, entry->Name.c_str()));
    }
  }
}

void OpenLogFile(LogService& service, const std::tm& today, std::int64_t now) REQUIRES(service.LogLock) {
  const std::string directory = service.LogDirectory.c_str();
  const std::string path = FormatText("%s%c%04d_%02d_%02d.txt", directory.c_str(), platform::SEPARATOR,
                                      today.tm_year + 1900, today.tm_mon + 1, today.tm_mday);
  SweepOldFiles(directory, now);
  service.File = std::make_unique<platform::TextWriter>();
  if (service.File->Open(path, platform::TextWriter::Mode::APPEND) != 0) service.File.reset();
  service.LogDay = today.tm_mday;
}

}  // namespace

void WriteLog(int category, const char* format, ...) {
  const std::tm now = platform::LocalTime(platform::UnixNow());
  FixedText<1023> message;
  std::va_list arguments;
  va_start(arguments, format);
  message.FormatList(format, arguments);
  va_end(arguments);
  FixedText<LINE_ROOM - LINE_END.size()> start;
  start.Format("[%02d/%02d %02d:%02d:%02d]:[%s]  ", now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min,
               now.tm_sec, Label(category));
  start.Append(message);
  FixedText<LINE_ROOM> line(start);
  line.Append(LINE_END);
  if (CServerApp* const app = CServerApp::Current()) app->ShowLogLine(category, line);
}

int LogServiceStart(std::string_view directory) {
  LogService& service = Log();
  platform::SectionGuard guard(service.LogLock);
  service.LogDirectory.Set(directory);
  platform::CreateDirectory(service.LogDirectory.c_str());
  const std::int64_t now = platform::UnixNow();
  OpenLogFile(service, platform::LocalTime(now), now);
  return 0;
}

void AppendLogFile(std::string_view line) {
  LogService& service = Log();
  platform::SectionGuard guard(service.LogLock);
  if (service.LogDirectory.empty()) return;
  const std::int64_t now = platform::UnixNow();
  const std::tm today = platform::LocalTime(now);
  if (today.tm_mday != service.LogDay) OpenLogFile(service, today, now);
  if (service.File == nullptr) return;
  service.File->Write(line);
  // A line that can't be written is lost; the next one may find room again.
  if (!service.File->Flush()) service.File->ForgetFailure();
}

void LogServiceStop() {
  LogService& service = Log();
  platform::SectionGuard guard(service.LogLock);
  service.File.reset();
  service.LogDirectory.Clear();
  service.LogDay = -1;
}

}  // namespace velnor
