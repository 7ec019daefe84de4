#include "control/standard_terminal.h"

#include <cstdio>

#include "platform/standard_output.h"
#include "platform/terminal.h"

namespace velnor {

void StandardTerminal::Out(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void StandardTerminal::Err(std::string_view text) {
  std::fflush(stdout);
  platform::WriteStandardError(text);
}

bool StandardTerminal::IsInteractive() {
  return platform::InputIsTerminal();
}

std::optional<std::string> StandardTerminal::ReadLine() {
  return platform::ReadInputLine();
}

std::optional<std::string> StandardTerminal::ReadSecret(std::string_view prompt) {
  return platform::ReadSecretLine(prompt);
}

bool StandardTerminal::Finish() {
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

}  // namespace velnor
