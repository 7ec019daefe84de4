// MailFile: a message file in the making, for the spool or for an Inbox.
//
// A file is written under a name that nobody takes for a message and becomes one by a single rename, once its
// bytes are on the disk. What is not published is removed again. One object belongs to one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/text_stream.h"

namespace velnor {

// Where a file is made, which decides its two names: "_" and "s" before the MailFileName in the spool,
// nothing and "n" before it in an Inbox.
enum class MailPlace { SPOOL, INBOX };

class MailFile {
 public:
  MailFile() = default;
  ~MailFile() { Discard(); }
  MailFile(const MailFile&) = delete;
  MailFile& operator=(const MailFile&) = delete;

  // Makes the unfinished file under a new name of the given thread. 0, or the system's error number.
  int Create(const std::string& directory, MailPlace place, std::uint32_t thread_id);

  // Takes text into the file, through its text stream. False once any write has failed.
  bool Write(std::string_view text);

  // Copies from the reader's place to its end. False if a read or a write failed. The reader's place is put
  // back.
  bool CopyFrom(platform::TextReader& message);

  // Puts the file and then its final name onto the disk. False if that failed at any step, or if any write
  // had failed: the file is then gone.
  bool Publish();

  // Removes the unfinished file. Nothing happens to one that is published, or was never made.
  void Discard();

 private:
  platform::TextWriter stream_;
  std::string directory_;
  std::string unfinished_path_;
  std::string final_path_;
};

}  // namespace velnor
