// ControlWorld: a server's surroundings, a terminal that answers by a script, and an instance that runs as
// the test says, for the commands of velnorctl.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/command_line.h"
#include "support/test_world.h"

namespace velnor::test {

class ScriptedTerminal : public Terminal {
 public:
  void Out(std::string_view text) override { Written += text; }
  void Err(std::string_view text) override { Words += text; }
  bool IsInteractive() override { return Interactive; }
  std::optional<std::string> ReadLine() override {
    if (Input.empty()) return std::nullopt;
    std::string line = Input.front();
    Input.erase(Input.begin());
    return line;
  }
  std::optional<std::string> ReadSecret(std::string_view prompt) override {
    if (Interactive) Words += prompt;
    return ReadLine();
  }

  std::string Written;
  std::string Words;
  bool Interactive = false;
  std::vector<std::string> Input;
};

// What one command came to.
struct Outcome {
  int Status = 0;
  std::string Out;
  std::string Err;
};

class ControlWorld {
 public:
  // Runs a command line, of which blanks part the words, for the world's working directory unless it names
  // another.
  Outcome Run(const std::string& line, std::vector<std::string> input = {}, bool interactive = false);

  // An instance of the program with this name, with the world's configuration.
  void StartInstance(const std::string& program);

  TestWorld World;
  std::optional<platform::InstanceProcess> Instance;
  std::vector<std::int64_t> Reloaded;  // whom a command asked to read its files again
};

// Words, parted by blanks.
std::vector<std::string> Words(const std::string& line);

}  // namespace velnor::test
