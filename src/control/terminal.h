// Terminal: the seam between the commands and whoever gave them, so that every command can run under a test
// that gives the answers. One thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velnor {

class Terminal {
 public:
  virtual ~Terminal() = default;

  // What was asked for, to standard output; and words about it, to standard error.
  virtual void Out(std::string_view text) = 0;
  virtual void Err(std::string_view text) = 0;

  // Whether a person answers.
  virtual bool IsInteractive() = 0;

  // The next line of the input without its line end, or none at its end.
  virtual std::optional<std::string> ReadLine() = 0;

  // As ReadLine. A person is shown the prompt, and nothing of what is typed.
  virtual std::optional<std::string> ReadSecret(std::string_view prompt) = 0;
};

}  // namespace velnor
