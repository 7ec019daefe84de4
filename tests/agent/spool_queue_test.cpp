#include "agent/spool_queue.h"

#include <ctime>
#include <set>

#include "agent/agent_world.h"
#include "core/dir_scan.h"
#include "core/mail_file_name.h"
#include "core/system_config.h"
#include "platform/clock.h"
#include "platform/file.h"

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

  // Claims all that is eligible at a moment; the names that the files had, sorted. The clock's second does
  // not change meanwhile.
  std::set<std::string> ClaimedAt(std::int64_t moment) {
    EXPECT_TRUE(WaitUntil([] {
      std::timespec now{};
      std::timespec_get(&now, TIME_UTC);
      return now.tv_nsec > 20'000'000 && now.tv_nsec < 500'000'000;
    }));
    platform::SetClockOffset(0);
    platform::SetClockOffset(moment - platform::UnixNow());
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
  const std::set<std::string> claimed = {"s", "s20240101000000000001000002000003", "sother", longest};
  for (const std::string& name : claimed) PutSpoolFile(name, "x");
  for (const std::string& name :
       {"S20240101000000000001000002000003"s, "_s1"s, "__s1"s, "n1"s, "1"s, ".s1"s, longest + "s"}) {
    PutSpoolFile(name, "x");
  }
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
  g_SystemConfig.MailPath.Set((world_.Work() / "velnor.ini").string());
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

TEST_F(SpoolQueueTest, AStartBringsBackWhatWasClaimed) {
  for (const char* name : {"s1", "S2", "n3", "__n4", "__s6", "__s8", "_9", "other"}) PutSpoolFile(name, name);
  PutSpoolFile("s8", "s8");
  fs::create_directory(world_.Spool() / "__sdirectory");

  RecoverSpool();
  EXPECT_EQ(FileNames(world_.Spool()), (std::vector{"S2"s, "_9"s, "__n4"s, "__s8"s, "__sdirectory"s, "n3"s,
                                                    "other"s, "s1"s, "s6"s, "s8"s}));
  EXPECT_EQ(ReadFile(world_.Spool() / "s6"), "__s6");
  EXPECT_EQ(ReadFile(world_.Spool() / "s8"), "s8");
  fs::remove_all(world_.Spool());
  RecoverSpool();
}

TEST_F(SpoolQueueTest, AStartRemovesUnfinishedFilesOfAnEarlierProcess) {
  for (const char* name : {"_1", "_2", "__1"}) PutSpoolFile(name, name);
  for (const char* name : {"_1", "__1"}) {
    fs::last_write_time(world_.Spool() / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  RecoverSpool();
  EXPECT_EQ(FileNames(world_.Spool()), (std::vector{"_2"s, "__1"s}));
}

TEST_F(SpoolQueueTest, ACopyHasOneRecipientAndOneMoreRetryAndTheTextUnchanged) {
  for (const std::string& text : {MESSAGE, "x"s, ""s, "\r\n"s, "\r"s, std::string(1024, 'x') + "\n"}) {
    platform::TextReader stream;
    OpenMessage(stream, text);
    for (int retries : {0, 3}) {
      EXPECT_EQ(RequeueMail(stream, 77, "bob@far.test", ALICE, retries), 1);
      EXPECT_EQ(Waiting(), std::vector{Stored(SpoolText("bob@far.test", ALICE, retries + 1, text))});
      const std::string name = FileNames(world_.Spool()).front();
      EXPECT_EQ(name.substr(15, 6), "000077");
      EXPECT_NEAR(static_cast<double>(*MailFileTime(name)), static_cast<double>(std::time(nullptr)), 60);
      fs::remove(world_.Spool() / name);
    }
    ExpectAtMessage(stream, text);
  }
}

}  // namespace
}  // namespace velnor
