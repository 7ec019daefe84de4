// The console's log list: what a line costs in a short list and in a long one, what a full list holds in
// memory, and whether the window still answers under a flood of lines.
//
// Runs without a display (QT_QPA_PLATFORM=offscreen unless set otherwise). Compare the times of
// AddAndPaint/10 and AddAndPaint/65000 with each other, not with those of another run.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <thread>

#include "console/logic/systemd_service_manager.h"
#include "console/widgets/color_list.h"
#include "console/widgets/desktop_prompter.h"
#include "console/widgets/log_model.h"
#include "console/widgets/main_window.h"
#include "core/log_service.h"

namespace velnor {
namespace {

constexpr const char* LINE =
    "[11/22 22:43:35]:[SMTP ]  [27390]S: 221 closing connection from Velnor SMTP/ESMTP server\r\n";
constexpr int BATCH = 200;  // what 10,000 lines a second make of the window's 20 ms

void AddLines(LogList& list, std::size_t count) {
  for (std::size_t line = 0; line < count; ++line) list.AddLogLine(LOG_SMTP, LINE);
}

// One batch into a list of the given length, announced to the view and painted if asked for.
void AddBatch(benchmark::State& state, bool painted) {
  const auto length = static_cast<std::size_t>(state.range(0));
  LogList list;
  LogModel model(list, nullptr);
  CColorListBox box;
  box.setModel(&model);
  box.resize(900, 500);
  box.show();
  for (auto _ : state) {
    state.PauseTiming();
    if (list.Count() > length + 20 * BATCH || list.Count() < length) {
      list.Clear();
      AddLines(list, length);
      model.Follow();
    }
    QApplication::processEvents();
    state.ResumeTiming();
    AddLines(list, BATCH);
    model.Follow();
    box.FollowEnd();
    if (painted) box.viewport()->repaint();
  }
  state.SetItemsProcessed(state.iterations() * BATCH);
}

void Add(benchmark::State& state) {
  AddBatch(state, false);
}
BENCHMARK(Add)->Arg(10)->Arg(65'000);

void AddAndPaint(benchmark::State& state) {
  AddBatch(state, true);
}
BENCHMARK(AddAndPaint)->Arg(10)->Arg(65'000);

void FullListMemory(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks;
    LogList list;
    AddLines(list, LogList::LIMIT);
    bytes = mallinfo2().uordblks - before;
    benchmark::DoNotOptimize(list);
  }
  state.counters["MiB"] = static_cast<double>(bytes) / (1024 * 1024);
}
BENCHMARK(FullListMemory)->Unit(benchmark::kMillisecond)->Iterations(3);

constexpr Service NOTHING = {[] {}, [] {}, [] { return 0; }};
constexpr Service NOTHINGS[] = {NOTHING, NOTHING, NOTHING};

// 10,000 lines a second for 6 seconds into the window. `longest_wait_ms` is the longest time between two
// turns of a timer of 5 ms: for so long the window answered nobody.
void Flood(benchmark::State& state) {
  constexpr int SECONDS = 6;
  constexpr int LINES_PER_MS = 10;
  LogBell bell;
  CServerApp app(NOTHINGS);
  app.LogLines.SetNotifier([&bell] { bell.Ring(); });
  DesktopPrompter prompter;
  SystemdServiceManager manager;
  qint64 longest_wait = 0;
  int shown = 0;
  for (auto _ : state) {
    CMainDialog window(app, prompter, manager, bell);
    window.show();
    QElapsedTimer since_turn;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout,
                     [&] { longest_wait = std::max(longest_wait, since_turn.restart()); });
    since_turn.start();
    heart.start(5);
    std::thread flood([] {
      auto next = std::chrono::steady_clock::now();
      for (int millisecond = 0; millisecond < SECONDS * 1000; ++millisecond) {
        for (int line = 0; line < LINES_PER_MS; ++line) {
          WriteLog(LOG_SMTP, "[27390]S: 221 closing connection from Velnor SMTP/ESMTP server");
        }
        std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
      }
      QMetaObject::invokeMethod(qApp, [] { QTimer::singleShot(200, qApp, [] { QApplication::exit(0); }); });
    });
    QApplication::exec();
    flood.join();
    shown = window.findChild<CColorListBox*>()->model()->rowCount();
  }
  state.counters["longest_wait_ms"] = static_cast<double>(longest_wait);
  state.counters["lines_shown"] = shown;
}
BENCHMARK(Flood)->Unit(benchmark::kMillisecond)->Iterations(1)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
}  // namespace velnor

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
