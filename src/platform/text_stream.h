// Text streams: files in which each line end LF is stored as CR LF.
//
// On write each LF becomes CR LF; on read each stored CR LF comes back as LF; every other byte, a lone CR and
// NUL among them, passes unchanged, so what is read is always what was written. Blocks are buffered. One
// stream belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class TextReader {
 public:
  // A place in the stream, to come back to.
  using Position = std::int64_t;

  TextReader() = default;
  ~TextReader();
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;

  // Opens a plain file. 0, or the system's error number (EISDIR and EINVAL for what is no plain file).
  int Open(const std::string& path);
  bool IsOpen() const { return descriptor_ >= 0; }
  void Close();

  // Reads up to and including the next LF, at most `limit` bytes. False if nothing was left to read.
  bool ReadLine(std::size_t limit, std::string& line);

  // Reads at most `limit` bytes without regard to lines. False if nothing was left to read.
  bool ReadBlock(std::size_t limit, std::string& block);

  // Whether a read has met the end of the file. A line that ended in LF just before the end has not.
  bool AtEnd() const { return at_end_; }

  // Whether a read failed below; the stream then looks as if it ended there.
  bool Failed() const { return failed_; }

  Position Tell() const { return buffer_offset_ + static_cast<Position>(next_); }
  void Seek(Position position);

 private:
  bool Fill();
  std::string_view Unread() const { return {buffer_.data() + next_, filled_ - next_}; }

  int descriptor_ = -1;
  std::vector<char> buffer_;
  Position buffer_offset_ = 0;  // place in the file of the buffer's first byte
  std::size_t filled_ = 0;
  std::size_t next_ = 0;
  bool at_end_ = false;
  bool failed_ = false;
};

class TextWriter {
 public:
  // CREATE_NEW fails if the file exists; REPLACE empties it; APPEND adds to it. The last two create it if
  // need be.
  enum class Mode { CREATE_NEW, REPLACE, APPEND };

  TextWriter() = default;
  ~TextWriter();
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  // 0, or the system's error number.
  int Open(const std::string& path, Mode mode);
  bool IsOpen() const { return descriptor_ >= 0; }

  // Takes the text into the stream. False once any write of this stream has failed.
  bool Write(std::string_view text);

  // Hands what is buffered to the system; Sync puts it onto the disk as well. False once any write has
  // failed.
  bool Flush();
  bool Sync();

  // Lets the next write be tried although an earlier one failed; what that one held is gone.
  void ForgetFailure() { failed_ = false; }

  // Flushes and closes. False if any write of this stream has failed.
  bool Close();

 private:
  int descriptor_ = -1;
  std::string buffer_;
  bool failed_ = false;
};

}  // namespace platform
