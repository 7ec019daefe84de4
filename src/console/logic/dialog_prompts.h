// The message boxes that the dialogs' commands share: their captions, buttons and icons. Console thread.
#pragma once

#include <string_view>

#include "console/logic/prompter.h"

namespace velnor {

// A refusal: caption "Error", OK, the stop icon.
inline void ShowError(Prompter& prompter, std::string_view text) {
  prompter.Show(text, CAPTION_ERROR, PromptButtons::OK, PromptIcon::STOP);
}

// Caption "Information", OK.
inline void ShowInformation(Prompter& prompter, std::string_view text, PromptIcon icon = PromptIcon::NONE) {
  prompter.Show(text, CAPTION_INFORMATION, PromptButtons::OK, icon);
}

// A question before something is lost: caption "Information", Yes and No. Whether the answer was Yes.
inline bool Confirm(Prompter& prompter, std::string_view question) {
  return prompter.Show(question, CAPTION_INFORMATION, PromptButtons::YES_NO, PromptIcon::NONE) ==
         PromptAnswer::YES;
}

}  // namespace velnor
