#include "core/mail_file.h"

#include <cerrno>

#include "core/mail_file_name.h"
#include "core/paths.h"
#include "platform/file.h"

namespace velnor {
namespace {

constexpr std::size_t COPY_LIMIT = 1023;  // bytes of one read

}  // namespace

int MailFile::Create(const std::string& directory, MailPlace place, std::uint32_t thread_id) {
  const bool spool = place == MailPlace::SPOOL;
  int error = 0;
  do {
    const std::string name = MailFileName(thread_id);
    directory_ = directory;
    unfinished_path_ = JoinPath(directory, (spool ? "_" : "") + name);
    final_path_ = JoinPath(directory, (spool ? "s" : "n") + name);
    error = stream_.Open(unfinished_path_, platform::TextWriter::Mode::CREATE_NEW);
  } while (error == EEXIST);
  if (error != 0) unfinished_path_.clear();
  return error;
}

bool MailFile::Write(std::string_view text) {
  return stream_.Write(text);
}

bool MailFile::CopyFrom(platform::TextReader& message) {
  const auto start = message.Tell();
  std::string line;
  bool written = true;
  while (written && message.ReadLine(COPY_LIMIT, line)) written = Write(line);
  const bool whole = written && !message.Failed();
  message.Seek(start);
  return whole;
}

bool MailFile::Publish() {
  if (unfinished_path_.empty()) return false;
  const bool stored =
      stream_.Sync() && stream_.Close() && platform::MoveFile(unfinished_path_, final_path_) == 0;
  if (!stored) {
    Discard();
    return false;
  }
  unfinished_path_.clear();
  if (platform::SyncDirectory(directory_) == 0) return true;
  // The name may not outlive a loss of power, so the message does not count as stored and must not stay
  // either.
  platform::DeleteFile(final_path_);
  return false;
}

void MailFile::Discard() {
  stream_.Close();
  if (!unfinished_path_.empty()) platform::DeleteFile(unfinished_path_);
  unfinished_path_.clear();
}

}  // namespace velnor
