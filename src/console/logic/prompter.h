// Prompter: the seam between what the console decides and what the desktop asks the user.
//
// Message boxes, the folder chooser and the opening of files and pages stand behind it, so that every
// command's steps can run under a test that gives the answers. The widgets bring the real one
// (console/widgets/desktop_prompter.h). Console thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velnor {

enum class PromptButtons { OK, OK_CANCEL, YES_NO };
enum class PromptIcon { NONE, INFORMATION, STOP };
enum class PromptAnswer { OK, CANCEL, YES, NO };

inline constexpr const char* CAPTION_ERROR = "Error";
inline constexpr const char* CAPTION_INFORMATION = "Information";
inline constexpr const char* CAPTION_PROMPT = "Prompt";

class Prompter {
 public:
  virtual ~Prompter() = default;

  // Shows a message box and waits for the answer. Closing a box answers CANCEL or NO where it has such a
  // button.
  virtual PromptAnswer Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                            PromptIcon icon) = 0;

  // Lets the user choose one directory, beginning at `start` if that is one: its path, an empty text if the
  // chooser gave none, or nothing on a cancel.
  virtual std::optional<std::string> ChooseFolder(std::string_view title, const std::string& start) = 0;

  // Opens a file with the program that the desktop associates with it. No result.
  virtual void OpenExternally(const std::string& target) = 0;
};

}  // namespace velnor
