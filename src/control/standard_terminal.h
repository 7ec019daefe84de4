// The terminal of the program: its standard input, output and error.
#pragma once

#include "control/terminal.h"

namespace velnor {

class StandardTerminal : public Terminal {
 public:
  void Out(std::string_view text) override;
  void Err(std::string_view text) override;
  bool IsInteractive() override;
  std::optional<std::string> ReadLine() override;
  std::optional<std::string> ReadSecret(std::string_view prompt) override;

  // Hands over what is still held back. False if any output was lost.
  bool Finish();
};

}  // namespace velnor
