#include "platform/file_rights.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <system_error>

namespace platform {
namespace {

constexpr mode_t READ_BY_OTHERS = S_IRGRP | S_IROTH;

std::string ParentOf(const std::string& path) {
  const std::size_t cut = path.rfind('/');
  if (cut == std::string::npos) return ".";
  return cut == 0 ? "/" : path.substr(0, cut);
}

// Opens what this process made, itself and no link, for a change of its rights. -1 if it is not its own.
int OpenOwn(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  struct stat found {};
  if (descriptor < 0) return -1;
  const bool own = ::fstat(descriptor, &found) == 0 && found.st_uid == ::geteuid() &&
                   (S_ISDIR(found.st_mode) || (S_ISREG(found.st_mode) && found.st_nlink == 1));
  if (own) return descriptor;
  ::close(descriptor);
  return -1;
}

}  // namespace

std::optional<FileRights> RightsOf(const std::string& path) {
  struct stat found {};
  if (::stat(path.c_str(), &found) != 0) return std::nullopt;
  return FileRights{found.st_uid, found.st_mode & 07777};
}

int CheckReadable(const std::string& path, PathKind kind) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0) return errno;
  struct stat found {};
  const int error = ::fstat(descriptor, &found) == 0 ? 0 : errno;
  ::close(descriptor);
  if (error != 0) return error;
  if (kind == PathKind::DIRECTORY) return S_ISDIR(found.st_mode) ? 0 : ENOTDIR;
  if (S_ISDIR(found.st_mode)) return EISDIR;
  return S_ISREG(found.st_mode) ? 0 : EINVAL;
}

bool CanReplace(const std::string& path) {
  char real[PATH_MAX];
  const std::string target = ::realpath(path.c_str(), real) == nullptr ? path : std::string(real);
  return ::faccessat(AT_FDCWD, ParentOf(target).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool IsSamePlace(const std::string& a, const std::string& b) {
  struct stat first {};
  struct stat second {};
  return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

void GiveToParentsOwner(const std::string& path) {
  struct stat parent {};
  if (::geteuid() != 0 || ::stat(ParentOf(path).c_str(), &parent) != 0) return;
  const int descriptor = OpenOwn(path);
  if (descriptor < 0) return;
  // A failure leaves the file with its maker, where the check of the configuration finds it.
  [[maybe_unused]] const int given = ::fchown(descriptor, parent.st_uid, parent.st_gid);
  ::close(descriptor);
}

void ShareAsParent(const std::string& path) {
  struct stat parent {};
  struct stat found {};
  if (::stat(ParentOf(path).c_str(), &parent) != 0) return;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return;
  if (::fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode)) {
    ::fchmod(descriptor, (found.st_mode | (parent.st_mode & READ_BY_OTHERS)) & 07777);
  }
  ::close(descriptor);
}

int EnterDirectory(const std::string& path) {
  return ::chdir(path.c_str()) == 0 ? 0 : errno;
}

std::string ErrorText(int error) {
  return std::generic_category().message(error);
}

}  // namespace platform
