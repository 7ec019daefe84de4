#include "console/logic/main_window_logic.h"

#include <array>

#include "core/log_service.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "core/text.h"

namespace velnor {
namespace {

constexpr std::size_t BATCH = 4096;  // lines; the window answers between two batches

// Where the papers lie, seen from the program's directory: installed, and in a source tree.
constexpr std::array PAPER_PLACES = {"../../share/doc/velnor", "../../docs", "../.."};

}  // namespace

void MainWindowLogic::Initialise() {
  if (g_SystemConfig.AutoStart == 1) StartCommand();
}

void MainWindowLogic::StartCommand() {
  if (!OffersStart()) return;  // a tray's menu may be older than the state
  std::string refusal;
  if (app_.StartCommand(refusal) == 0) {
    prompter_.Show(refusal, CAPTION_INFORMATION, PromptButtons::OK, PromptIcon::STOP);
    return;
  }
  shows_running_icon_ = true;
}

void MainWindowLogic::StopCommand() {
  if (!OffersStop()) return;
  app_.StopServices();
  shows_running_icon_ = false;
}

bool MainWindowLogic::ConfirmExit() {
  return prompter_.Show("Do you want to exit the VelnorServer?", CAPTION_PROMPT, PromptButtons::OK_CANCEL,
                        PromptIcon::NONE) == PromptAnswer::OK;
}

std::string MainWindowLogic::Tick() {
  log_.Tick();
  return app_.StatusLine();
}

bool MainWindowLogic::TakeLogLines() {
  std::uint64_t dropped = 0;
  const std::vector<LogLine> batch = app_.LogLines.Take(BATCH, dropped);
  if (dropped > 0) {
    log_.AddLogLine(LOG_SYS,
                    FormatText("(%llu lines are missing here)", static_cast<unsigned long long>(dropped)));
  }
  for (const LogLine& line : batch) log_.AddLogLine(line.Category, line.Text);
  return batch.size() == BATCH;
}

void MainWindowLogic::TakeAllLogLines() {
  // Bounded by the queue's size, as lines may come in faster than they are taken.
  for (std::size_t taken = 0; taken <= LogLineQueue::CAPACITY && TakeLogLines(); taken += BATCH) continue;
}

void MainWindowLogic::TogglePause() {
  TakeAllLogLines();
  log_.SetPaused(!log_.IsPaused());
}

void MainWindowLogic::ClearLog() {
  TakeAllLogLines();
  log_.Clear();
}

void MainWindowLogic::OpenHelp() {
  OpenPaper("administration.md");
}

void MainWindowLogic::OpenWebsite() {
  OpenPaper("README.md");
}

void MainWindowLogic::OpenPaper(const std::string& name) {
  for (const char* place : PAPER_PLACES) {
    const std::string path = JoinPath(JoinPath(AppDirectory(), place), name);
    if (PathExists(path, PathFlag::ANYTHING) == 0) continue;
    prompter_.OpenExternally(path);
    return;
  }
  prompter_.Show("The page " + name + " is not installed", CAPTION_INFORMATION, PromptButtons::OK,
                 PromptIcon::INFORMATION);
}

}  // namespace velnor
