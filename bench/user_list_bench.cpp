// The user list with 5,000 accounts: reading it beside a bare walk over the same directories, and sorting it
// beside the standard library's sort of the same texts.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "console/logic/report_table.h"
#include "core/accounts.h"
#include "core/system_config.h"
#include "platform/directory_walk.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;

constexpr int ACCOUNTS = 5000;
constexpr const char* DOMAIN_NAME = "example.org";

// A mail root with one domain full of accounts, for as long as the program runs.
class MailRoot {
 public:
  MailRoot() : path_(fs::temp_directory_path() / ("velnor-bench-" + std::to_string(::getpid()))) {
    for (int i = 0; i < ACCOUNTS; ++i) {
      const std::string name = "user" + std::to_string(i * 7919 % ACCOUNTS);
      const fs::path account = Domain() / name;
      fs::create_directories(account / "MailDir" / "Inbox");
      std::ofstream(account / "config.ini")
          << "[Profile]\nPassword=secret\nUsername=Name of " << name << '\n';
    }
    g_SystemConfig.MailPath.Set(path_.string());
  }
  ~MailRoot() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  MailRoot(const MailRoot&) = delete;
  MailRoot& operator=(const MailRoot&) = delete;

  fs::path Domain() const { return path_ / DOMAIN_NAME; }

 private:
  fs::path path_;
};

const MailRoot& Root() {
  static const MailRoot root;
  return root;
}

void BM_WalkAlone(benchmark::State& state) {
  const std::string domain = Root().Domain().string();
  for (auto _ : state) {
    platform::DirectoryWalk walk;
    walk.Open(domain);
    platform::WalkEntry entry;
    int count = 0;
    while (walk.Next(entry)) ++count;
    benchmark::DoNotOptimize(count);
  }
}
BENCHMARK(BM_WalkAlone)->Unit(benchmark::kMillisecond);

void BM_ListAccounts(benchmark::State& state) {
  Root();
  for (auto _ : state) benchmark::DoNotOptimize(ListAccounts(DOMAIN_NAME));
}
BENCHMARK(BM_ListAccounts)->Unit(benchmark::kMillisecond);

// Each cell of the two columns by its number: names are text, numbers are numbers.
std::string Cell(int column, int row) {
  const std::string number = std::to_string(row * 7919 % ACCOUNTS);
  return column == 0 ? "user" + number : number;
}

void BM_StandardSort(benchmark::State& state) {
  std::vector<std::string> cells;
  for (int row = 0; row < ACCOUNTS; ++row) cells.push_back(Cell(static_cast<int>(state.range(0)), row));
  for (auto _ : state) {
    std::vector<std::string> sorted = cells;
    std::sort(sorted.begin(), sorted.end());
    benchmark::DoNotOptimize(sorted);
  }
}
BENCHMARK(BM_StandardSort)->ArgName("column")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_ReportSort(benchmark::State& state) {
  const int column = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    ReportTable table;
    table.InsertColumn(0, "Account");
    table.InsertColumn(1, "Number");
    for (int row = 0; row < ACCOUNTS; ++row) {
      table.InsertRow(row, Cell(0, row));
      table.SetCellText(row, 1, Cell(1, row));
    }
    state.ResumeTiming();
    benchmark::DoNotOptimize(table.Sort(column, true));
  }
}
BENCHMARK(BM_ReportSort)->ArgName("column")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velnor
