#include "core/dot_guard.h"

namespace velnor {
namespace {

bool IsLineEnd(char c) {
  return c == '\r' || c == '\n';
}

}  // namespace

std::string_view DotGuard::Pass(std::string_view piece) {
  const bool plain = !dot_held_ && piece.find('.') == std::string_view::npos;
  if (plain) {
    if (!piece.empty()) at_line_start_ = IsLineEnd(piece.back());
    return piece;
  }
  guarded_.clear();
  for (const char c : piece) {
    if (dot_held_) {
      guarded_ += IsLineEnd(c) ? ".." : ".";
      dot_held_ = false;
    }
    dot_held_ = c == '.' && at_line_start_;
    if (!dot_held_) guarded_ += c;
    at_line_start_ = IsLineEnd(c);
  }
  return guarded_;
}

std::string_view DotGuard::Finish() {
  guarded_ = dot_held_ ? ".." : "";
  dot_held_ = false;
  return guarded_;
}

}  // namespace velnor
