// ScriptedPrompter: gives the answers of a test in the place of a user, and keeps what was shown.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/logic/prompter.h"

namespace velnor::test {

// A message box that was shown.
struct ShownPrompt {
  std::string Text;
  std::string Caption;
  PromptButtons Buttons = PromptButtons::OK;
  PromptIcon Icon = PromptIcon::NONE;

  bool operator==(const ShownPrompt&) const = default;
};

class ScriptedPrompter : public Prompter {
 public:
  PromptAnswer Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                    PromptIcon icon) override {
    Shown.push_back({std::string(text), std::string(caption), buttons, icon});
    if (buttons == PromptButtons::OK) return PromptAnswer::OK;
    return Answer;
  }

  std::optional<std::string> ChooseFolder(std::string_view, const std::string& start) override {
    FolderStart = start;
    return Folder;
  }

  void OpenExternally(const std::string& target) override { Opened.push_back(target); }

  // The boxes shown since the last call.
  std::vector<ShownPrompt> Take() {
    std::vector<ShownPrompt> taken;
    taken.swap(Shown);
    return taken;
  }

  std::vector<ShownPrompt> Shown;
  std::vector<std::string> Opened;
  PromptAnswer Answer = PromptAnswer::NO;  // to every box with a choice
  std::optional<std::string> Folder;       // the folder chooser's
  std::string FolderStart;                 // where it began
};

}  // namespace velnor::test
