// FileReplacement: a new content for a file, made aside and renamed over the old one, so that a reader, and a
// power failure, meet either the old file whole or the new one. The new file takes the old one's owner and
// mode where the process may give them, and is its own user's alone where not. One object, one replacement,
// one thread.
#pragma once

#include <string>
#include <string_view>

namespace platform {

class FileReplacement {
 public:
  FileReplacement() = default;
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  // Begins a new content for the file at `target`, or behind it where that is a link. False if no file can be
  // made beside it.
  bool Open(const std::string& target);

  // Takes bytes as they are.
  void Write(std::string_view bytes);

  // Puts the content onto the disk and in the place of the old file. False if anything failed; the old file
  // then stands as it was.
  bool TakeOver();

 private:
  void TakeOwnerAndMode();
  void Flush();

  std::string target_;
  std::string path_;
  int descriptor_ = -1;
  std::string buffer_;
  bool failed_ = false;
};

// Replaces a file by a text in the stored form of a text stream. Result as that of TakeOver.
bool ReplaceTextFile(const std::string& path, std::string_view text);

}  // namespace platform
