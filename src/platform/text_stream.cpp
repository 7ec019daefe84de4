#include "platform/text_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/write_all.h"

namespace platform {
namespace {

constexpr std::size_t BLOCK = 16 * 1024;

}  // namespace

TextReader::~TextReader() {
  Close();
}

int TextReader::Open(const std::string& path) {
  // Without O_NONBLOCK a pipe in a file's place would hang the caller.
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor_ < 0) return errno;
  struct stat found {};
  int error = ::fstat(descriptor_, &found) == 0 ? 0 : errno;
  if (error == 0 && !S_ISREG(found.st_mode)) error = S_ISDIR(found.st_mode) ? EISDIR : EINVAL;
  if (error != 0) {
    Close();
    return error;
  }
  buffer_.resize(BLOCK);
  failed_ = false;
  Seek(0);
  return 0;
}

void TextReader::Close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  filled_ = next_ = 0;
}

// Makes room for at least one more byte behind those not yet read. False at the end of the file.
bool TextReader::Fill() {
  if (descriptor_ < 0) return false;
  const std::size_t left = filled_ - next_;
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(next_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(filled_), buffer_.begin());
  buffer_offset_ += static_cast<Position>(next_);
  next_ = 0;
  filled_ = left;
  ssize_t count;
  do {
    count = ::pread(descriptor_, buffer_.data() + left, buffer_.size() - left,
                    buffer_offset_ + static_cast<off_t>(left));
  } while (count < 0 && errno == EINTR);
  if (count < 0) failed_ = true;
  if (count <= 0) return false;
  filled_ += static_cast<std::size_t>(count);
  return true;
}

bool TextReader::ReadLine(std::size_t limit, std::string& line) {
  line.clear();
  while (line.size() < limit) {
    if (next_ == filled_ && !Fill()) {
      at_end_ = true;
      break;
    }
    const std::string_view unread = Unread().substr(0, limit - line.size());
    const std::size_t special = std::min(unread.find_first_of("\r\n"), unread.size());
    line.append(unread.substr(0, special));
    next_ += special;
    if (special == unread.size()) continue;
    if (buffer_[next_] == '\r') {
      // Whether this CR belongs to a stored line end shows only in the byte behind it.
      if (next_ + 1 == filled_) Fill();
      if (next_ + 1 == filled_ || buffer_[next_ + 1] != '\n') {
        line.push_back('\r');
        ++next_;
        continue;
      }
      ++next_;
    }
    ++next_;
    line.push_back('\n');
    break;
  }
  return !line.empty();
}

bool TextReader::ReadBlock(std::size_t limit, std::string& block) {
  block.clear();
  std::string line;
  while (block.size() < limit && ReadLine(limit - block.size(), line)) block.append(line);
  return !block.empty();
}

void TextReader::Seek(Position position) {
  buffer_offset_ = position;
  filled_ = next_ = 0;
  at_end_ = false;
}

TextWriter::~TextWriter() {
  Close();
}

int TextWriter::Open(const std::string& path, Mode mode) {
  const int how = mode == Mode::CREATE_NEW ? O_EXCL : mode == Mode::REPLACE ? O_TRUNC : O_APPEND;
  descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | how, 0600);
  failed_ = descriptor_ < 0;
  return failed_ ? errno : 0;
}

bool TextWriter::Write(std::string_view text) {
  while (!failed_ && !text.empty()) {
    const std::size_t line_end = text.find('\n');
    const std::size_t plain = std::min(line_end, text.size());
    buffer_.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) {
      buffer_.append("\r\n");
      text.remove_prefix(1);
    }
    if (buffer_.size() >= BLOCK) Flush();
  }
  return !failed_;
}

bool TextWriter::Flush() {
  if (!failed_) failed_ = !WriteAll(descriptor_, buffer_);
  buffer_.clear();
  return !failed_;
}

bool TextWriter::Sync() {
  if (Flush() && ::fsync(descriptor_) != 0) failed_ = true;
  return !failed_;
}

bool TextWriter::Close() {
  if (descriptor_ < 0) return !failed_;
  Flush();
  if (::close(descriptor_) != 0) failed_ = true;
  descriptor_ = -1;
  return !failed_;
}

}  // namespace platform
