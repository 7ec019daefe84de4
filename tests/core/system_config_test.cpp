// The configuration: its files, the domains, and readers while it changes.

#include "core/system_config.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;

class SystemConfig : public ::testing::Test {
 protected:
  void Load(const std::string& keys) {
    WriteFile(world_.Work() / "velnor.ini", "[System]\nMailPath=" + world_.MailRoot().string() + "\n" + keys);
    g_SystemConfig.LoadConfig();
  }
  static NameTable Domains() { return *g_SystemConfig.LocalDomains.Get(); }

  TestWorld world_;
};

TEST_F(SystemConfig, AFirstStartMakesWhatIsMissingAndSavesNothing) {
  const fs::path work = world_.Root() / "first";
  const fs::path app = world_.Root() / "program";
  fs::create_directories(work);
  fs::create_directories(app);
  g_SystemConfig.Open(work.string(), app.string());
  EXPECT_EQ(FileNames(work), (NameTable{"logs", "maillist.ini", "velnor.ini"}));
  EXPECT_EQ(FileNames(app), NameTable{"send"});
  EXPECT_EQ(fs::file_size(work / "velnor.ini") + fs::file_size(work / "maillist.ini"), 0u);
  EXPECT_EQ(g_SystemConfig.DefaultDomain(), "localhost");

  // Where nothing can be made or read, all is as if it were absent.
  const fs::path nowhere = world_.Root() / "nowhere";
  g_SystemConfig.Open(nowhere.string(), (world_.Root() / "none").string());
  EXPECT_FALSE(fs::exists(nowhere));
  EXPECT_EQ(g_SystemConfig.Pop3Port, 110);
  EXPECT_EQ(g_SystemConfig.AddDomain("a.test"), 0);
}

TEST_F(SystemConfig, DomainsAreReadTrimmedAndOnceAndHaveDirectories) {
  const std::pair<const char*, NameTable> cases[] = {
      {"||  |\t|", {}},
      {"E.test|e.TEST|A.test| b.test|", {"E.test", "A.test", "b.test"}},
      {"../out|.|..|a/b|a\\b|send|SEND|w*d|ok.test", {"ok.test"}},
  };
  for (const auto& [listed, loaded] : cases) {
    Load("LocalDomain="s + listed + "\n");
    EXPECT_EQ(Domains(), loaded) << listed;
  }
  EXPECT_EQ(FileNames(world_.MailRoot()), (NameTable{"A.test", "E.test", "b.test", "ok.test", "send"}));
  EXPECT_FALSE(fs::exists(world_.Root() / "out"));
  const fs::path moved = world_.Root() / "moved";
  fs::create_directory(moved);
  g_SystemConfig.MailPath.Set(moved.string());
  g_SystemConfig.SaveConfig();
  EXPECT_EQ(FileNames(moved), NameTable{"ok.test"});
}

TEST_F(SystemConfig, DomainsAreAddedRenamedAndDeletedWithTheirDirectories) {
  const auto exists = [this](const char* path) { return fs::exists(world_.MailRoot() / path); };
  fs::create_directories(world_.MailRoot() / "there.test" / "user");
  EXPECT_EQ(g_SystemConfig.AddDomain("there.test"), 1);
  EXPECT_EQ(g_SystemConfig.AddDomain("new.test"), 1);
  WriteFile(world_.MailRoot() / "file.test", "");
  for (const char* bad : {"NEW.test", "file.test", "", ".", "..", "a/b", "a\nb", "a|b", "send", "*"}) {
    EXPECT_EQ(g_SystemConfig.AddDomain(bad), 0) << bad;
  }
  for (const char* bad : {"", "..", "a/b", "a|b", "send"}) {
    EXPECT_EQ(g_SystemConfig.UpdateDomain("new.test", bad), 0) << bad;
  }
  EXPECT_EQ(g_SystemConfig.UpdateDomain("none.test", "x.test"), 0);
  EXPECT_EQ(g_SystemConfig.UpdateDomain("THERE.test", "moved.test"), 1);
  EXPECT_TRUE(exists("moved.test/user") && !exists("there.test"));
  fs::create_directory(world_.MailRoot() / "kept.test");
  EXPECT_EQ(g_SystemConfig.UpdateDomain("moved.test", "kept.test"), 1);
  EXPECT_TRUE(exists("moved.test/user") && !exists("kept.test/user"));
  EXPECT_EQ(Domains(), (NameTable{"kept.test", "new.test"}));
  EXPECT_EQ(g_SystemConfig.IsLocalDomain("KEPT.Test"), 1);
  EXPECT_EQ(g_SystemConfig.IsLocalDomain("kept.tes"), 0);

  g_SystemConfig.SaveDomains();
  g_SystemConfig.LoadDomains();
  EXPECT_EQ(g_SystemConfig.DeleteDomain("Kept.Test"), 1);
  EXPECT_EQ(g_SystemConfig.DeleteDomain("new.test"), 1);
  EXPECT_TRUE(Domains().empty() && !exists("new.test"));
  g_SystemConfig.SaveDomains();
  EXPECT_TRUE(ReadFile(world_.Work() / "velnor.ini").ends_with("LocalDomain=\n"));
}

TEST_F(SystemConfig, ReadersNeverMeetAHalfLoadedTable) {
  Load("LocalDomain=a.test|b.test|c.test|\nPrimaryDNS=192.0.2.1\n");
  WriteFile(world_.App() / "rules.ini", "192.0.2.\r\n10.0.0.1\r\n");
  WriteFile(world_.Work() / "maillist.ini", "[MailList]\nl@a.test\n\n[l@a.test]\nm@b.test 0\nn@b.test 1\n");
  g_SystemConfig.LoadConfig();
  std::atomic<bool> done = false;
  std::atomic<int> odd = 0;
  const auto reader = [&] {
    while (!done) {
      const auto list = g_SystemConfig.FindMailList("L@a.test");
      const bool whole = g_SystemConfig.IsLocalDomain("c.test") == 1 &&
                         g_SystemConfig.DefaultDomain() == "a.test" &&
                         g_SystemConfig.IsBlockedPeer("10.0.0.1") == 1 && list != nullptr &&
                         list->Members.size() >= 2 && g_SystemConfig.FindListMember("l@a.test", "n@b.test") &&
                         g_SystemConfig.MailPath.Get() == world_.MailRoot() &&
                         g_SystemConfig.PrimaryDNS.Get() == "192.0.2.1" && g_SystemConfig.Pop3Port == 110;
      odd += whole ? 0 : 1;
    }
  };
  std::thread first(reader);
  std::thread second(reader);
  for (int i = 0; i < 60; ++i) {
    g_SystemConfig.LoadConfig();
    g_SystemConfig.SaveConfig();
    g_SystemConfig.AddDomain("d.test");
    g_SystemConfig.DeleteDomain("d.test");
    g_SystemConfig.AddRule("192.0.3.");
    g_SystemConfig.AddListMember("l@a.test", "o@b.test", 0);
    g_SystemConfig.RemoveListMember("l@a.test", "o@b.test");
  }
  done = true;
  first.join();
  second.join();
  EXPECT_EQ(odd, 0);
}

}  // namespace
}  // namespace velnor::test
