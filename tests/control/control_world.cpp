#include "control_world.h"

#include <sstream>

namespace velnor::test {

std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  std::string word;
  while (stream >> word) words.push_back(word);
  return words;
}

Outcome ControlWorld::Run(const std::string& line, std::vector<std::string> input, bool interactive) {
  ScriptedTerminal terminal;
  terminal.Input = std::move(input);
  terminal.Interactive = interactive;
  const Surroundings surroundings{terminal, World.App().string(), [this] { return Instance; },
                                  [this](std::int64_t id) {
                                    Reloaded.push_back(id);
                                    return true;
                                  }};
  std::vector<std::string> arguments = Words(line);
  if (line.find("--directory") == std::string::npos) {
    arguments.insert(arguments.end(), {"--directory", World.Work().string()});
  }
  const int status = RunCommandLine(surroundings, arguments);
  return {status, terminal.Written, terminal.Words};
}

void ControlWorld::StartInstance(const std::string& program) {
  Instance.emplace();
  Instance->Id = 4711;
  Instance->Program = (World.App() / program).string();
  Instance->Directory = World.Work().string();
}

}  // namespace velnor::test
