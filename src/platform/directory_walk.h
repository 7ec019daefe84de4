// A walk over the entries of one directory, in the order of the file system. Links are never followed: a link
// is an entry of its own that is no directory, whatever it points to. One walk belongs to one thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

struct WalkEntry {
  std::string name;
  bool isDirectory = false;
  std::uint64_t size = 0;
  std::int64_t changed = 0;             // last change of the content, milliseconds since 1970
  std::optional<std::int64_t> created;  // seconds since 1970, where the file system keeps it
};

class DirectoryWalk {
 public:
  DirectoryWalk() = default;
  ~DirectoryWalk();
  DirectoryWalk(const DirectoryWalk&) = delete;
  DirectoryWalk& operator=(const DirectoryWalk&) = delete;

  // Begins a walk, once for an object. 0, or the system's error number: ENOENT where nothing is there.
  int Open(const std::string& path);

  // The next entry, "." and ".." among them. False at the end, after an error, and without a walk. An entry
  // that goes away during the walk may be left out.
  bool Next(WalkEntry& entry);

  // Whether an error ended the walk early or left an entry out, so that one not met may still be there.
  bool Failed() const { return failed_; }

 private:
  void* stream_ = nullptr;
  bool failed_ = false;
};

}  // namespace platform
