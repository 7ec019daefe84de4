#include "apps/headless_host.h"

#include <condition_variable>
#include <mutex>
#include <string>

#include "apps/reload.h"
#include "apps/services.h"
#include "core/server_app.h"
#include "core/text.h"
#include "platform/instance_probe.h"
#include "platform/service_notify.h"
#include "platform/signals.h"
#include "platform/standard_output.h"
#include "platform/thread.h"

namespace velnor {
namespace {

constexpr std::size_t BATCH = 256;   // lines taken out of the queue at once
constexpr int OUTPUT_WAIT_MS = 200;  // between two looks at whether the program ends
constexpr int STATUS_MS = 1000;      // between two looks at whether the status line has changed
constexpr int NO_LIMIT = -1;

// Takes finished log lines to standard output on a thread of its own. A reader that stops reading stops this
// thread alone; once the reader is gone for good, lines are taken out and dropped.
class LogPrinter {
 public:
  explicit LogPrinter(LogLineQueue& lines) : lines_(lines) {
    lines_.SetNotifier([this] { Wake(); });
    thread_ = platform::StartThread([this] { Run(); });
  }

  // Prints what is still there, as far as the reader takes it.
  ~LogPrinter() {
    {
      const std::lock_guard guard(mutex_);
      ending_ = true;
    }
    changed_.notify_one();
    platform::JoinThread(thread_);
  }
  LogPrinter(const LogPrinter&) = delete;
  LogPrinter& operator=(const LogPrinter&) = delete;

 private:
  void Wake() {
    {
      const std::lock_guard guard(mutex_);
      woken_ = true;
    }
    changed_.notify_one();
  }

  // Waits for lines. False when the program ends.
  bool WaitForLines() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return woken_ || ending_; });
    woken_ = false;
    return !ending_;
  }

  bool IsEnding() {
    const std::lock_guard guard(mutex_);
    return ending_;
  }

  void Run() {
    bool running = true;
    while (running) {
      running = WaitForLines();
      while (PrintBatch()) continue;
    }
  }

  // Prints one batch. False if there was none.
  bool PrintBatch() {
    std::uint64_t dropped = 0;
    const std::vector<LogLine> batch = lines_.Take(BATCH, dropped);
    if (dropped > 0) {
      Print(FormatText("(%llu lines are missing here)\r\n", static_cast<unsigned long long>(dropped)));
    }
    for (const LogLine& line : batch) Print(line.Text);
    return !batch.empty();
  }

  void Print(const std::string& line) {
    while (!reader_gone_) {
      const platform::OutputResult result = platform::WriteStandardOutput(line, OUTPUT_WAIT_MS);
      if (result == platform::OutputResult::WRITTEN) return;
      // At the end nobody waits for a reader that does not read.
      reader_gone_ = result == platform::OutputResult::CLOSED || IsEnding();
    }
  }

  LogLineQueue& lines_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool woken_ = false;
  bool ending_ = false;
  bool reader_gone_ = false;
  platform::ThreadHandle thread_ = 0;
};

class HeadlessFront : public AppFront {
 public:
  // Any process can hold the instance's name, so it is told which one does, as far as this account can see.
  void AlreadyRunning() override {
    std::string reason = "Another instance of Velnor is running already";
    const auto holder = platform::ProbeInstance(INSTANCE_NAME);
    if (holder && holder->Id != 0)
      reason += " (process " + std::to_string(holder->Id) + ", " + LogSafe(holder->Program) + ")";
    Refuse(reason);
  }
  void CannotStart(const std::string& reason) override { Refuse(reason); }

  void RunModal(CServerApp& app) override {
    std::string refusal;
    if (app.StartCommand(refusal) == 0) {
      Refuse(refusal);
      return;
    }
    status_ = app.StatusLine();
    platform::NotifyReady(status_);
    while (Serve(app)) continue;
    platform::NotifyStopping("Finishing the deliveries that have begun");
  }

  int ExitStatus() const { return exit_status_; }

 private:
  // Waits for a signal and keeps the status line current meanwhile, if anybody reads it. False when the
  // program is to end.
  bool Serve(const CServerApp& app) {
    const bool watched = platform::HasServiceManager();
    switch (platform::WaitForSignal(watched ? STATUS_MS : NO_LIMIT)) {
      case platform::Signal::STOP:
        return false;
      case platform::Signal::RELOAD:
        platform::NotifyReloading();
        ReloadConfig();
        platform::NotifyReady(status_);
        return true;
      case platform::Signal::NONE:
        break;
    }
    const std::string status = app.StatusLine();
    if (status != status_) platform::NotifyStatus(status);
    status_ = status;
    return true;
  }

  void Refuse(const std::string& reason) {
    platform::WriteStandardError(reason + "\n");
    platform::NotifyStatus(reason);
    exit_status_ = 1;
  }

  std::string status_;  // the line as the service manager has it
  int exit_status_ = 0;
};

}  // namespace

int RunHeadlessHost() {
  platform::HoldStandardDescriptors();
  platform::HoldSignals();
  CServerApp app(AllServices());
  const LogPrinter printer(app.LogLines);
  HeadlessFront front;
  app.InitInstance(front);
  app.ExitInstance();
  return front.ExitStatus();
}

}  // namespace velnor
