#include "agent/spool_queue.h"

#include <ctime>
#include <set>

#include "agent/agent_world.h"
#include "core/dir_scan.h"
#include "platform/clock.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace test;

class SpoolQueueTest : public AgentWorld {
 protected:
  std::int64_t CreateTime(std::string_view name) const {
    const auto scan = DirOpen(world_.Spool());
    while (const DirEntry* entry = DirNext(scan.get())) {
      if (entry->Name.View() == name) return entry->CreateTime;
    }
    ADD_FAILURE() << "no file " << name;
    return 0;
  }

  // Claims all that is eligible at a moment; the names that the files had. The clock's second does not change
  // meanwhile.
  std::set<std::string> ClaimedAt(std::int64_t moment) {
    EXPECT_TRUE(WaitUntil([] {
      std::timespec now{};
      std::timespec_get(&now, TIME_UTC);
      return now.tv_nsec > 20'000'000 && now.tv_nsec < 500'000'000;
    }));
    platform::SetClockOffset(moment - std::time(nullptr));
    std::set<std::string> names;
    std::string path;
    const std::string start = world_.Spool() / "__";
    while (ClaimNextSpoolFile(path) == 1) {
      EXPECT_TRUE(path.starts_with(start) && fs::exists(path)) << path;
      names.insert(path.substr(start.size()));
    }
    return names;
  }
};

TEST_F(SpoolQueueTest, ClaimsWaitingFilesByTheirNamesAlone) {
  const std::string longest(253, 's');
  const std::set<std::string> claimed = {"s20240101000000000001000002000003", "sother", longest};
  for (const std::string& name : claimed) PutSpoolFile(name, "x");
  for (const std::string& name : {"S1"s, "_s1"s, "__s1"s, "n1"s, longest + "s"}) PutSpoolFile(name, "x");
  fs::create_directory(world_.Spool() / "sdirectory");
  // A name whose claimed form is taken can't be claimed, and does not hold up the others.
  PutSpoolFile("staken", "waiting");
  PutSpoolFile("__staken", "claimed");

  EXPECT_EQ(ClaimedAt(std::time(nullptr) + 3600), claimed);
  EXPECT_EQ(ReadFile(world_.Spool() / "staken"), "waiting");
  EXPECT_EQ(ReadFile(world_.Spool() / "__staken"), "claimed");
  EXPECT_TRUE(fs::exists(world_.Spool() / (longest + "s")));

  std::string path;
  fs::remove_all(world_.Spool());
  EXPECT_EQ(ClaimNextSpoolFile(path), 0);
}

TEST_F(SpoolQueueTest, AFileIsClaimedAtTenSecondsAndAYoungerOneIsPassedOver) {
  std::set<std::string> old;
  for (const char* name : {"s1", "s3", "s5", "s7"}) old.insert(PutSpoolFile(name, "x").filename());
  const std::int64_t created = CreateTime("s7");
  ASSERT_TRUE(WaitUntil([&] { return std::time(nullptr) > created + 1; }));
  for (const char* name : {"s0", "s2", "s4", "s6", "s8"}) PutSpoolFile(name, "x");

  EXPECT_EQ(ClaimedAt(CreateTime("s1") + 9), std::set<std::string>());
  EXPECT_EQ(ClaimedAt(created + 10), old);
  EXPECT_EQ(ClaimedAt(CreateTime("s8") + 10).size(), 5U);
}

TEST_F(SpoolQueueTest, AStartBringsBackWhatWasClaimedAndRemovesWhatAnEarlierProcessLeftUnfinished) {
  const auto an_hour_ago = fs::file_time_type::clock::now() - std::chrono::hours(1);
  for (const char* name : {"s1", "n3", "__n4", "__s6", "__s8", "_new", "_old", "__1"}) {
    PutSpoolFile(name, name);
    if (name != "_new"s) fs::last_write_time(world_.Spool() / name, an_hour_ago);
  }
  PutSpoolFile("s8", "s8");
  fs::create_directory(world_.Spool() / "__sdirectory");

  RecoverSpool();
  EXPECT_EQ(FileNames(world_.Spool()),
            (std::vector{"__1"s, "__n4"s, "__s8"s, "__sdirectory"s, "_new"s, "n3"s, "s1"s, "s6"s, "s8"s}));
  EXPECT_EQ(ReadFile(world_.Spool() / "s6"), "__s6");
  EXPECT_EQ(ReadFile(world_.Spool() / "s8"), "s8");
  fs::remove_all(world_.Spool());
  RecoverSpool();
}

}  // namespace
}  // namespace velnor
