// The configuration: its files, the domains, and readers while it changes.

#include "core/system_config.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/test_world.h"

namespace velnor::test {
namespace {

namespace fs = std::filesystem;

class SystemConfig : public ::testing::Test {
 protected:
  void Load(const std::string& keys) {
    WriteFile(Ini(), "[System]\nMailPath=" + world_.MailRoot().string() + "\n" + keys);
    g_SystemConfig.LoadConfig();
  }
  fs::path Ini() const { return world_.Work() / "velnor.ini"; }
  static NameTable Domains() { return *g_SystemConfig.LocalDomains.Get(); }
  bool HasDirectory(const std::string& domain) const { return fs::is_directory(world_.MailRoot() / domain); }

  TestWorld world_;
};

TEST_F(SystemConfig, AFirstStartMakesWhatIsMissingAndSavesNothing) {
  const fs::path work = world_.Root() / "first";
  const fs::path app = world_.Root() / "program";
  fs::create_directories(work);
  fs::create_directories(app);
  g_SystemConfig.Open(work.string(), app.string());
  EXPECT_EQ(FileNames(work), (std::vector<std::string>{"logs", "maillist.ini", "velnor.ini"}));
  EXPECT_EQ(FileNames(app), std::vector<std::string>{"send"});
  EXPECT_EQ(fs::file_size(work / "velnor.ini") + fs::file_size(work / "maillist.ini"), 0u);
  EXPECT_TRUE(Domains().empty());
  EXPECT_EQ(g_SystemConfig.DefaultDomain(), "localhost");

  // Where nothing can be made or read, all is as if it were absent.
  const fs::path nowhere = world_.Root() / "nowhere";
  g_SystemConfig.Open(nowhere.string(), (world_.Root() / "none").string());
  EXPECT_FALSE(fs::exists(nowhere));
  EXPECT_EQ(g_SystemConfig.Pop3Port, 110);
  EXPECT_EQ(g_SystemConfig.AddDomain("a.test"), 0);
}

TEST_F(SystemConfig, DomainsAreReadTrimmedAndOnce) {
  const struct {
    std::string Listed;
    NameTable Loaded;
  } cases[] = {
      {"a.test| b.test|", {"a.test", "b.test"}},
      {"E.test|e.TEST|A.test", {"E.test", "A.test"}},
      {"||  |\t|", {}},
      {"../out|.|..|a/b|a\\b|send|SEND|w*d|ok.test", {"ok.test"}},
  };
  for (const auto& each : cases) {
    Load("LocalDomain=" + each.Listed + "\n");
    EXPECT_EQ(Domains(), each.Loaded) << each.Listed;
    for (const std::string& domain : each.Loaded) {
      EXPECT_TRUE(HasDirectory(domain == "A.test" ? "a.test" : domain)) << domain;
    }
  }
  EXPECT_FALSE(fs::exists(world_.Root() / "out"));
  Load("LocalDomain=a.test|b.test|\n");
  const fs::path moved = world_.Root() / "moved";
  fs::create_directory(moved);
  g_SystemConfig.MailPath.Set(moved.string());
  g_SystemConfig.SaveConfig();
  EXPECT_EQ(FileNames(moved), (std::vector<std::string>{"a.test", "b.test"}));
}

TEST_F(SystemConfig, DomainsAreAddedRenamedAndDeletedWithTheirDirectories) {
  fs::create_directories(world_.MailRoot() / "there.test" / "user");
  EXPECT_EQ(g_SystemConfig.AddDomain("there.test"), 1);
  EXPECT_TRUE(HasDirectory("there.test/user"));
  EXPECT_EQ(g_SystemConfig.AddDomain("new.test"), 1);
  EXPECT_EQ(g_SystemConfig.AddDomain("NEW.test"), 0);
  for (const char* bad : {"", ".", "..", "a/b", "a\nb", "a|b", "send", "*"}) {
    EXPECT_EQ(g_SystemConfig.AddDomain(bad), 0) << bad;
    EXPECT_EQ(g_SystemConfig.UpdateDomain("new.test", bad), 0) << bad;
  }
  WriteFile(world_.MailRoot() / "file.test", "");
  EXPECT_EQ(g_SystemConfig.AddDomain("file.test"), 0);

  EXPECT_EQ(g_SystemConfig.UpdateDomain("none.test", "x.test"), 0);
  EXPECT_EQ(g_SystemConfig.UpdateDomain("THERE.test", "moved.test"), 1);
  EXPECT_TRUE(HasDirectory("moved.test/user") && !HasDirectory("there.test"));
  fs::create_directory(world_.MailRoot() / "kept.test");
  EXPECT_EQ(g_SystemConfig.UpdateDomain("moved.test", "kept.test"), 1);
  EXPECT_TRUE(HasDirectory("moved.test/user") && !HasDirectory("kept.test/user"));
  EXPECT_EQ(Domains(), (NameTable{"kept.test", "new.test"}));

  EXPECT_EQ(g_SystemConfig.IsLocalDomain("KEPT.Test"), 1);
  EXPECT_EQ(g_SystemConfig.IsLocalDomain("kept.tes"), 0);
  EXPECT_EQ(g_SystemConfig.DefaultDomain(), "kept.test");

  g_SystemConfig.SaveDomains();
  g_SystemConfig.LoadDomains();
  EXPECT_EQ(g_SystemConfig.DeleteDomain("Kept.Test"), 1);
  EXPECT_EQ(g_SystemConfig.DeleteDomain("new.test"), 1);
  EXPECT_TRUE(Domains().empty() && !HasDirectory("new.test"));
  g_SystemConfig.SaveDomains();
  EXPECT_TRUE(ReadFile(Ini()).ends_with("LocalDomain=\n"));
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
