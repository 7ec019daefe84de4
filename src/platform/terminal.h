// Standard input as a person's terminal: questions and passwords. One thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Whether standard input is a terminal.
bool InputIsTerminal();

// The next line of standard input without its line end, or none at its end.
std::optional<std::string> ReadInputLine();

// As ReadInputLine, with a prompt on the terminal and without an echo of what is typed. A signal that ends
// the process meanwhile puts the echo back first.
std::optional<std::string> ReadSecretLine(std::string_view prompt);

}  // namespace platform
