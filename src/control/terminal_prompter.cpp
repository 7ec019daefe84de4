#include "control/terminal_prompter.h"

#include "core/text.h"

namespace velnor {

PromptAnswer TerminalPrompter::Show(std::string_view text, std::string_view caption, PromptButtons buttons,
                                    PromptIcon icon) {
  if (buttons == PromptButtons::OK) {
    terminal_.Err(std::string(text) + "\n");
    if (caption == CAPTION_ERROR || icon == PromptIcon::INFORMATION) refused_ = true;
    return PromptAnswer::OK;
  }
  const bool yes = always_yes_ || Ask(text);
  if (!yes) refused_ = true;
  if (buttons == PromptButtons::YES_NO) return yes ? PromptAnswer::YES : PromptAnswer::NO;
  return yes ? PromptAnswer::OK : PromptAnswer::CANCEL;
}

bool TerminalPrompter::Ask(std::string_view question) {
  terminal_.Err(std::string(question) + " [y/N] ");
  const std::string answer = terminal_.ReadLine().value_or("");
  const std::string_view word = TrimBlanks(answer);
  if (!terminal_.IsInteractive()) terminal_.Err("\n");
  if (EqualsIgnoreCase(word, "y") || EqualsIgnoreCase(word, "yes")) return true;
  terminal_.Err("Nothing was changed.\n");
  return false;
}

std::optional<std::string> TerminalPrompter::ChooseFolder(std::string_view, const std::string&) {
  return std::nullopt;
}

void TerminalPrompter::OpenExternally(const std::string&) {}

}  // namespace velnor
