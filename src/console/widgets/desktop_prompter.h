// DesktopPrompter: the console's questions as message boxes and choosers of the desktop. Console thread.
#pragma once

#include "console/logic/prompter.h"

namespace velnor {

class DesktopPrompter : public Prompter {
 public:
  PromptAnswer Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                    PromptIcon icon) override;
  std::optional<std::string> ChooseFolder(std::string_view title, const std::string& start) override;
  void OpenExternally(const std::string& target) override;
};

}  // namespace velnor
