#include "platform/file.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace platform {
namespace {

int Outcome(int result) {
  return result == 0 ? 0 : errno;
}

// Whether two names stand for one file.
bool IsSameFile(const std::string& a, const std::string& b) {
  struct stat first;
  struct stat second;
  return a != b && ::lstat(a.c_str(), &first) == 0 && ::lstat(b.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

// For a file system that has no rename of this kind: the new name is made as a second link, which fails if it
// exists. Directories have no second link, so there a look before the rename has to do.
int MoveByLink(const std::string& from, const std::string& to) {
  if (::link(from.c_str(), to.c_str()) == 0) {
    const int error = Outcome(::unlink(from.c_str()));
    if (error != 0) ::unlink(to.c_str());
    return error;
  }
  // Both names for one file: the process ended within an earlier move, which is brought to its end.
  if (errno == EEXIST) return IsSameFile(from, to) ? Outcome(::unlink(from.c_str())) : EEXIST;
  struct stat found {};
  if (::lstat(to.c_str(), &found) == 0) return EEXIST;
  return Outcome(::rename(from.c_str(), to.c_str()));
}

}  // namespace

PathKind ProbePath(const std::string& path) {
  struct stat found {};
  if (::stat(path.c_str(), &found) != 0) {
    const bool missing = errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG || errno == ELOOP;
    return missing ? PathKind::MISSING : PathKind::UNKNOWN;
  }
  if (S_ISDIR(found.st_mode)) return PathKind::DIRECTORY;
  return S_ISREG(found.st_mode) ? PathKind::FILE : PathKind::OTHER;
}

bool IsLink(const std::string& path) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0 && S_ISLNK(found.st_mode);
}

int CreateEmptyFile(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  return descriptor < 0 ? errno : Outcome(::close(descriptor));
}

int CreateDirectory(const std::string& path) {
  return Outcome(::mkdir(path.c_str(), 0700));
}
int RemoveDirectory(const std::string& path) {
  return Outcome(::rmdir(path.c_str()));
}
int DeleteFile(const std::string& path) {
  return Outcome(::unlink(path.c_str()));
}

int MoveFile(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  return MoveByLink(from, to);
}

int SyncDirectory(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return errno;
  const int error = Outcome(::fsync(descriptor));
  ::close(descriptor);
  // Some file systems have no such operation for directories; there is nothing more to be done on them.
  return error == EINVAL ? 0 : error;
}

std::string CurrentDirectory() {
  char room[PATH_MAX];
  return ::getcwd(room, sizeof room) == nullptr ? std::string() : std::string(room);
}

std::string ProgramPath() {
  char room[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", room, sizeof room);
  return length <= 0 ? std::string() : std::string(room, static_cast<std::size_t>(length));
}

void StartFiles() {
  ::umask(077);
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace platform
