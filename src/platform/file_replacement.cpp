#include "platform/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "platform/account.h"
#include "platform/file.h"
#include "platform/thread.h"
#include "platform/write_all.h"

namespace platform {
namespace {

constexpr std::size_t BLOCK = 16 * 1024;

// The path of the file itself where `path` is a link to it, also if the file is not there yet.
std::string RealTarget(const std::string& path) {
  char room[PATH_MAX];
  if (::realpath(path.c_str(), room) != nullptr) return room;
  const ssize_t length = ::readlink(path.c_str(), room, sizeof room);
  if (length <= 0) return path;
  const std::string target(room, static_cast<std::size_t>(length));
  return target.front() == SEPARATOR ? target : path.substr(0, path.rfind(SEPARATOR) + 1) + target;
}

}  // namespace

FileReplacement::~FileReplacement() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!path_.empty()) ::unlink(path_.c_str());
}

bool FileReplacement::Open(const std::string& target) {
  target_ = RealTarget(target);
  // The name keeps its ending, so that whoever tells files by their ending takes this one for the same kind.
  const std::size_t name = target_.rfind('/') + 1;
  std::string aside = target_.substr(0, name) + "new." + std::to_string(::getpid()) + '.' +
                      std::to_string(CurrentThreadId()) + '.' + target_.substr(name);
  // What stands under this name is a leftover, or was put there by somebody who wants to keep a hand in it.
  ::unlink(aside.c_str());
  descriptor_ = ::open(aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor_ < 0) return false;
  path_ = std::move(aside);
  TakeOwnerAndMode();
  return true;
}

void FileReplacement::TakeOwnerAndMode() {
  struct stat old {};
  if (::stat(target_.c_str(), &old) != 0) return;
  if (!S_ISREG(old.st_mode)) failed_ = true;
  // What is the same already is not asked for: a service may have to do without the call.
  struct stat made {};
  if (::fstat(descriptor_, &made) != 0) return;
  if (made.st_uid == old.st_uid && made.st_gid == old.st_gid) {
    ::fchmod(descriptor_, old.st_mode & 07777);
  } else if (made.st_uid == old.st_uid && IsAdministrator()) {
    // An administrator who works with the owner's rights can still give a group that the owner is not in.
    const OwnFileRights rights;
    if (::fchown(descriptor_, old.st_uid, old.st_gid) == 0) ::fchmod(descriptor_, old.st_mode & 0777);
  } else if (::fchown(descriptor_, old.st_uid, old.st_gid) == 0) {
    ::fchmod(descriptor_, old.st_mode & 07777);
  }
}

void FileReplacement::Write(std::string_view bytes) {
  buffer_.append(bytes);
  if (buffer_.size() >= BLOCK) Flush();
}

bool FileReplacement::TakeOver() {
  Flush();
  if (failed_ || ::fsync(descriptor_) != 0) return false;
  if (::rename(path_.c_str(), target_.c_str()) != 0) return false;
  path_.clear();
  return true;
}

void FileReplacement::Flush() {
  if (!failed_) failed_ = !WriteAll(descriptor_, buffer_);
  buffer_.clear();
}

bool ReplaceTextFile(const std::string& path, std::string_view text) {
  FileReplacement replacement;
  if (!replacement.Open(path)) return false;
  while (!text.empty()) {
    const std::size_t line_end = text.find('\n');
    replacement.Write(text.substr(0, line_end));
    if (line_end == std::string_view::npos) break;
    replacement.Write("\r\n");
    text.remove_prefix(line_end + 1);
  }
  return replacement.TakeOver();
}

}  // namespace platform
