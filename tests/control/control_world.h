// ControlWorld: a server's surroundings, a terminal that answers by a script, and an instance that runs as
// the test says, for the commands of velnorctl.
#pragma once

#include <iterator>
#include <optional>
#include <sstream>
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
  Outcome Run(std::string line, std::vector<std::string> input = {}, bool interactive = false) {
    ScriptedTerminal terminal;
    terminal.Input = std::move(input);
    terminal.Interactive = interactive;
    const auto reload = [this](std::int64_t id) { return Reloaded.push_back(id), true; };
    const Surroundings around{terminal, World.App().string(), [this] { return Instance; }, reload};
    if (line.find("--directory") == std::string::npos) line += " --directory " + World.Work().string();
    std::istringstream words(line);
    const int status = RunCommandLine(around, {std::istream_iterator<std::string>(words), {}});
    return {status, terminal.Written, terminal.Words};
  }

  // An instance of the program with this name, with the world's configuration.
  void StartInstance(const std::string& program) {
    Instance.emplace();
    Instance->Id = 4711;
    Instance->Program = (World.App() / program).string();
    Instance->Directory = World.Work().string();
  }

  TestWorld World;
  std::optional<platform::InstanceProcess> Instance;
  std::vector<std::int64_t> Reloaded;  // whom a command asked to read its files again
};

}  // namespace velnor::test
