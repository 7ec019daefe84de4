// TerminalPrompter: the message boxes of the console's commands as lines on a terminal. A refusal and a
// message go to standard error; a question is answered there, or by --yes. One thread.
#pragma once

#include "console/logic/prompter.h"
#include "control/terminal.h"

namespace velnor {

class TerminalPrompter : public Prompter {
 public:
  TerminalPrompter(Terminal& terminal, bool always_yes) : terminal_(terminal), always_yes_(always_yes) {}

  PromptAnswer Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                    PromptIcon icon) override;

  // A terminal has no chooser and no desktop: never a folder, and nothing opens.
  std::optional<std::string> ChooseFolder(std::string_view title, const std::string& start) override;
  void OpenExternally(const std::string& target) override;

  // Whether a command was refused or a question was not answered with yes, and the words were shown.
  bool Refused() const { return refused_; }

 private:
  bool Ask(std::string_view question);

  Terminal& terminal_;
  bool always_yes_;
  bool refused_ = false;
};

}  // namespace velnor
