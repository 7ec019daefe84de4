#include "smtp/message_reception.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>

#include "core/log_service.h"
#include "core/socket_text.h"
#include "core/spool_file.h"
#include "core/system_config.h"
#include "core/timestamps.h"
#include "smtp/smtp_listener.h"

namespace velnor {
namespace {

constexpr int SILENCE_MS = 20'000;
constexpr std::size_t CHUNK = 1023;
constexpr std::size_t BYTES_TO_PAUSE = 2048;
constexpr int PAUSE_MS = 20;
constexpr std::int64_t MEGABYTE = 1'048'576;
constexpr int LAST_READ_TURN_MS = 250;
constexpr std::chrono::seconds LAST_READ_TIME(10);
constexpr std::string_view END_MARKER = "\r\n.\r\n";

// Writes the message text to its file while looking for the end marker, which may be split over chunks at any
// place.
class BodyWriter {
 public:
  explicit BodyWriter(MailFile& file) : file_(file) {}

  enum class Progress { MORE, COMPLETE, FAILED };

  Progress Take(std::string_view chunk) {
    carry_.append(chunk);
    const std::size_t marker = carry_.find(END_MARKER);
    if (marker != std::string::npos) {
      return Pass(marker) && !StartsWithLoneDot() ? Progress::COMPLETE : Progress::FAILED;
    }
    if (carry_.size() <= END_MARKER.size()) return Progress::MORE;
    return Pass(carry_.size() - END_MARKER.size()) ? Progress::MORE : Progress::FAILED;
  }

 private:
  // Writes the first bytes of the carry buffer and takes them out of it.
  bool Pass(std::size_t count) {
    const std::string_view passed(carry_.data(), count);
    start_.append(passed.substr(0, std::min(count, LONE_DOT.size() - start_.size())));
    const bool written = count == 0 || file_.Write(passed);
    carry_.erase(0, count);
    return written;
  }

  // A first line that is a single dot would make an end marker together with the line above it, and so cut
  // the message in two when it is sent on.
  bool StartsWithLoneDot() const { return start_ == "." || start_ == LONE_DOT; }

  static constexpr std::string_view LONE_DOT = ".\r\n";

  MailFile& file_;
  std::string carry_;  // received and not yet written: at most five bytes and one chunk
  std::string start_;  // the text's first three bytes
};

bool WriteHead(MailFile& file, std::string_view sender, std::string_view recipient_list,
               std::string_view helo_name) {
  WriteSpoolHead(file, recipient_list, sender, 0);
  return file.Write(FormatText("Received: from %s by %s (Velnor Smtp %s) ; %s\r\n",
                               std::string(helo_name).c_str(), g_SystemConfig.DefaultDomain().c_str(),
                               MAIL_VERSION, RfcDateNow().c_str()));
}

// Reads up to the end marker. True when the whole message stands in the file. `total` counts every byte that
// came.
bool ReceiveBody(platform::Socket socket, MailFile& file, std::int64_t& total) {
  const std::int64_t limit = g_SystemConfig.MaxSizePerMail * MEGABYTE;
  BodyWriter body(file);
  std::size_t since_pause = 0;
  for (;;) {
    if (platform::WaitReadable(socket, SILENCE_MS) <= 0) {
      SendFormat(socket, "501 timeout, connection closed\r\n");
      return false;
    }
    char chunk[CHUNK];
    const int count = RecvBytes(socket, chunk);
    if (count <= 0) return false;
    total += count;
    if (total >= limit) return false;
    since_pause += static_cast<std::size_t>(count);
    if (since_pause >= BYTES_TO_PAUSE) {
      platform::SleepMilliseconds(PAUSE_MS);
      since_pause = 0;
    }
    switch (body.Take({chunk, static_cast<std::size_t>(count)})) {
      case BodyWriter::Progress::COMPLETE:
        return true;
      case BodyWriter::Progress::FAILED:
        return false;
      case BodyWriter::Progress::MORE:
        break;
    }
  }
}

// A client in the middle of its message reads no reply before it has sent the rest, and a close with bytes
// unread would take the reply away from it. So what still comes is read for a while and dropped.
void ReadToSilence(platform::Socket socket) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + LAST_READ_TIME;
  char room[16 * 1024];
  while (platform::WaitReadable(socket, LAST_READ_TURN_MS) == 1 && RecvBytes(socket, room) > 0) {
    if (Clock::now() >= deadline) return;
  }
}

}  // namespace

int ReceiveMessage(int slot_index, std::string_view sender, std::string_view recipient_list,
                   std::string_view helo_name) {
  SessionSlot* const slot = OpenSlot(g_SmtpService, slot_index);
  if (slot == nullptr) return 0;
  const platform::Socket socket = slot->Socket;
  const int thread_id = static_cast<int>(slot->ThreadId);
  const std::string recipients = LogSafe(recipient_list);

  MailFile file;
  if (file.Create(g_SystemConfig.SpoolPath(), MailPlace::SPOOL, slot->ThreadId) != 0) return 0;
  std::int64_t total = 0;
  const bool stored = WriteHead(file, sender, recipient_list, helo_name) &&
                      ReceiveBody(socket, file, total) && file.Publish();
  if (stored) {
    SendFormat(socket, "250 OK\r\n");
    WriteLog(LOG_SMTP, "[%d]recv email data successfully, deliver to:<%s>, size:%ub", thread_id,
             recipients.c_str(), static_cast<unsigned>(total));
    return 1;
  }
  file.Discard();
  SendFormat(socket, "503 error recv mail\r\n");
  WriteLog(LOG_SMTP, "[%d]recv email data failed, deliver to:<%s>", thread_id, recipients.c_str());
  ReadToSilence(socket);
  platform::CloseSocket(socket);
  return 0;
}

}  // namespace velnor
