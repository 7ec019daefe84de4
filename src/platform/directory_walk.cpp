#include "platform/directory_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace platform {
namespace {

DIR* Stream(void* stream) {
  return static_cast<DIR*>(stream);
}

bool Describe(int directory, const char* name, WalkEntry& entry) {
  struct statx found {};
  const unsigned wanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME;
  if (::statx(directory, name, AT_SYMLINK_NOFOLLOW, wanted, &found) != 0) return false;
  entry.name = name;
  entry.isDirectory = S_ISDIR(found.stx_mode);
  entry.size = found.stx_size;
  entry.changed = found.stx_mtime.tv_sec * 1000 + found.stx_mtime.tv_nsec / 1'000'000;
  entry.created.reset();
  if ((found.stx_mask & STATX_BTIME) != 0 && found.stx_btime.tv_sec > 0)
    entry.created = found.stx_btime.tv_sec;
  return true;
}

}  // namespace

DirectoryWalk::~DirectoryWalk() {
  if (stream_ != nullptr) ::closedir(Stream(stream_));
}

int DirectoryWalk::Open(const std::string& path) {
  stream_ = ::opendir(path.c_str());
  return stream_ == nullptr ? errno : 0;
}

bool DirectoryWalk::Next(WalkEntry& entry) {
  if (stream_ == nullptr) return false;
  for (;;) {
    errno = 0;
    const dirent* const found = ::readdir(Stream(stream_));
    if (found == nullptr) {
      failed_ = failed_ || errno != 0;
      return false;
    }
    if (Describe(::dirfd(Stream(stream_)), found->d_name, entry)) return true;
    failed_ = failed_ || errno != ENOENT;
  }
}

}  // namespace platform
