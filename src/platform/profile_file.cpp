#include "platform/profile_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "platform/file_replacement.h"

namespace platform {
namespace {

// A longer line is read in pieces, of which the first alone counts, so that a file of one endless line takes
// no memory.
constexpr std::size_t LONGEST_LINE = 64 * 1024;
constexpr std::size_t BLOCK = 16 * 1024;

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view BLANKS = " \t\r\n";
  const std::size_t first = text.find_first_not_of(BLANKS);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

bool IsQuoted(std::string_view value) {
  return value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
         value.front() == value.back();
}

// A file's lines with their line ends, as stored; a long one in pieces.
class RawLines {
 public:
  ~RawLines() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  RawLines() = default;
  RawLines(const RawLines&) = delete;
  RawLines& operator=(const RawLines&) = delete;

  int Open(const std::string& path) {
    descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor_ < 0) return errno;
    struct stat found {};
    if (::fstat(descriptor_, &found) != 0) return errno;
    return S_ISREG(found.st_mode) ? 0 : EINVAL;
  }

  bool Next(std::string& line) {
    starts_ = ended_;
    line.clear();
    while (line.size() < LONGEST_LINE) {
      if (next_ == filled_ && !Fill()) break;
      const std::string_view unread(buffer_ + next_, std::min(filled_ - next_, LONGEST_LINE - line.size()));
      const std::size_t line_end = unread.find('\n');
      const std::size_t taken = line_end == std::string_view::npos ? unread.size() : line_end + 1;
      line.append(unread.substr(0, taken));
      next_ += taken;
      if (line.back() == '\n') break;
    }
    ended_ = line.ends_with('\n');
    return !line.empty();
  }

  // Whether the last one begins a line, and is not the rest of one that is too long.
  bool Starts() const { return starts_; }

  bool Failed() const { return failed_; }

 private:
  bool Fill() {
    ssize_t count;
    do {
      count = ::read(descriptor_, buffer_, sizeof buffer_);
    } while (count < 0 && errno == EINTR);
    if (count < 0) failed_ = true;
    next_ = 0;
    filled_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    return count > 0;
  }

  int descriptor_ = -1;
  char buffer_[BLOCK];
  std::size_t filled_ = 0;
  std::size_t next_ = 0;
  bool starts_ = true;
  bool ended_ = true;
  bool failed_ = false;
};

// A line's own end, empty for a line that has none.
std::string_view EndOf(std::string_view line) {
  if (line.ends_with("\r\n")) return "\r\n";
  return line.ends_with('\n') ? "\n" : "";
}

// Whether a line opens a section; `name` is then the section's.
bool IsSectionLine(std::string_view line, std::string_view& name) {
  const std::string_view text = Trim(line);
  if (text.empty() || text.front() != '[') return false;
  name = Trim(text.substr(1, text.find(']') == std::string_view::npos ? text.npos : text.find(']') - 1));
  return true;
}

bool IsKeyLine(std::string_view line, std::string_view& key, std::string_view& value) {
  const std::string_view text = Trim(line);
  const std::size_t equals = text.find('=');
  if (text.empty() || text.front() == ';' || equals == std::string_view::npos) return false;
  key = Trim(text.substr(0, equals));
  value = Trim(text.substr(equals + 1));
  return true;
}

std::optional<std::string> FindValue(const std::string& path, std::string_view section,
                                     std::string_view wanted) {
  RawLines lines;
  if (lines.Open(path) != 0) return std::nullopt;
  std::string line;
  std::string_view name, key, value;
  bool in_section = false;
  while (lines.Next(line)) {
    if (!lines.Starts()) continue;
    if (IsSectionLine(line, name)) {
      in_section = SameName(name, section);
    } else if (in_section && IsKeyLine(line, key, value) && SameName(key, wanted)) {
      if (IsQuoted(value)) value = value.substr(1, value.size() - 2);
      return std::string(value);
    }
  }
  return std::nullopt;
}

// The value in the form in which a read gives it back unchanged.
std::string StoredValue(std::string_view value) {
  std::string stored(value.substr(0, value.find('\0')));
  std::replace(stored.begin(), stored.end(), '\n', ' ');
  std::replace(stored.begin(), stored.end(), '\r', ' ');
  if (Trim(stored).size() != stored.size() || IsQuoted(stored)) stored = '"' + stored + '"';
  return stored;
}

// Copies a profile line by line and puts the new values in on the way.
class ProfileEditor {
 public:
  ProfileEditor(FileReplacement& out, std::string_view section, const ProfileKeys& keys)
      : out_(out), section_(section), keys_(keys), written_(keys.size(), false) {}

  void Line(const std::string& line) {
    if (line_end_.empty()) line_end_ = EndOf(line);
    replacing_ = false;
    std::string_view name, key, value;
    if (IsSectionLine(line, name)) {
      if (in_section_) FinishSection();
      in_section_ = !section_done_ && SameName(name, section_);
    } else if (in_section_ && IsKeyLine(line, key, value)) {
      Hold();
      if (const auto index = Wanted(key)) {
        Put(*index, EndOf(line));
        replacing_ = true;
        return;
      }
    } else if (in_section_ && Trim(line).empty()) {
      // Blank lines at a section's end stay behind the keys that are added there.
      held_ += line;
      return;
    }
    Hold();
    Copy(line);
  }

  // The rest of a line that is too long to be read at once. It goes with the line's beginning.
  void Rest(const std::string& rest) {
    Hold();
    Copy(replacing_ ? EndOf(rest) : std::string_view(rest));
  }

  void Finish() {
    if (in_section_) {
      FinishSection();
    } else if (!section_done_) {
      EndLine();
      Copy("[" + std::string(section_) + "]" + LineEnd());
      FinishSection();
    }
  }

 private:
  std::string LineEnd() const { return line_end_.empty() ? "\n" : line_end_; }

  void Copy(std::string_view text) {
    out_.Write(text);
    if (!text.empty()) ends_in_line_end_ = text.back() == '\n';
  }

  void EndLine() {
    if (!ends_in_line_end_) Copy(LineEnd());
  }

  void Hold() {
    Copy(held_);
    held_.clear();
  }

  std::optional<std::size_t> Wanted(std::string_view key) const {
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (!written_[i] && SameName(keys_[i].first, key)) return i;
    }
    return std::nullopt;
  }

  void Put(std::size_t index, std::string_view line_end) {
    written_[index] = true;
    Copy(std::string(keys_[index].first + "=" + StoredValue(keys_[index].second)).append(line_end));
  }

  void FinishSection() {
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (written_[i]) continue;
      EndLine();
      Put(i, LineEnd());
    }
    Hold();
    in_section_ = false;
    section_done_ = true;
  }

  FileReplacement& out_;
  std::string_view section_;
  const ProfileKeys& keys_;
  std::vector<bool> written_;
  std::string held_;
  std::string line_end_;  // the file's first
  bool ends_in_line_end_ = true;
  bool replacing_ = false;  // the line that is being read has got its new value already
  bool in_section_ = false;
  bool section_done_ = false;
};

}  // namespace

std::string ReadProfileString(const std::string& path, std::string_view section, std::string_view key,
                              std::string_view default_value, std::size_t limit) {
  const std::optional<std::string> found = FindValue(path, section, key);
  const std::string_view value = found ? std::string_view(*found) : default_value;
  return std::string(value.substr(0, value.find('\0')).substr(0, limit));
}

std::int32_t ReadProfileInt(const std::string& path, std::string_view section, std::string_view key,
                            std::int32_t default_value) {
  const std::optional<std::string> found = FindValue(path, section, key);
  if (!found) return default_value;
  std::int64_t number = 0;
  for (const char c : *found) {
    if (c < '0' || c > '9') break;
    number = std::min<std::int64_t>(number * 10 + (c - '0'), INT32_MAX);
  }
  return static_cast<std::int32_t>(number);
}

bool WriteProfile(const std::string& path, std::string_view section, const ProfileKeys& keys) {
  RawLines old;
  const int error = old.Open(path);
  if (error != 0 && error != ENOENT) return false;
  FileReplacement replacement;
  if (!replacement.Open(path)) return false;
  ProfileEditor editor(replacement, section, keys);
  if (error == 0) {
    std::string line;
    while (old.Next(line)) {
      if (old.Starts()) {
        editor.Line(line);
      } else {
        editor.Rest(line);
      }
    }
    if (old.Failed()) return false;
  }
  editor.Finish();
  return replacement.TakeOver();
}

}  // namespace platform
