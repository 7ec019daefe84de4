// The service manager against a systemctl that is a script, the words to it against a socket of the test, and
// the running of programs that both rest on.

#include "platform/service_manager.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>

#include "platform/child_process.h"
#include "platform/service_notify.h"
#include "support/test_world.h"

namespace platform {
namespace {

using velnor::test::FileNames;
using velnor::test::ReadFile;
using velnor::test::WaitUntil;
using velnor::test::WriteFile;

// Sets a variable of the environment, or takes it out, for as long as it lives.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* const old = std::getenv(name)) old_ = old;
    Set(value);
  }
  ~Variable() { Set(old_ ? old_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  void Set(const char* value) { value == nullptr ? ::unsetenv(name_) : ::setenv(name_, value, 1); }

  const char* name_;
  std::optional<std::string> old_;
};

// A directory with a systemctl that notes its arguments in "said" and then does what the test scripted.
class ServiceManagerTest : public testing::Test {
 protected:
  ServiceManagerTest() {
    std::string pattern = std::filesystem::temp_directory_path() / "velnor-test-XXXXXX";
    root_ = ::mkdtemp(pattern.data());
  }
  ~ServiceManagerTest() override { std::filesystem::remove_all(root_); }

  void Script(const std::string& body) {
    const std::filesystem::path program = root_ / "systemctl";
    WriteFile(program, "#!/bin/sh\necho \"$@\" >> '" + (root_ / "said").string() + "'\n" + body + "\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  }

  // What systemctl was told since the last call, without the words that each command begins with.
  std::string Said() {
    const std::string said = ReadFile(root_ / "said");
    std::filesystem::remove(root_ / "said");
    return velnor::test::Replaced(said, " --no-ask-password --quiet", "");
  }

  std::filesystem::path root_;
};

TEST_F(ServiceManagerTest, WithoutSystemctlThereIsNoManager) {
  const Variable path("PATH", root_.c_str());
  EXPECT_FALSE(ServiceManager(ManagerScope::SYSTEM).OpenManager());
  EXPECT_FALSE(ServiceManager(ManagerScope::USER).OpenManager());
}

TEST_F(ServiceManagerTest, AManagerAnswersAndKnowsItsUnits) {
  const std::string search = root_.string() + ":/usr/bin:/bin";
  const Variable path("PATH", search.c_str());
  const struct {
    const char* Script;
    bool HasManager;
    bool HasService;
  } cases[] = {
      {"case \"$*\" in *Version*) echo 252;; *) echo loaded;; esac", true, true},
      {"case \"$*\" in *Version*) echo 252;; *) echo not-found;; esac", true, false},
      {"case \"$*\" in *Version*) echo 252;; *) echo bad-setting;; esac", true, true},
      {"echo 252; exit 1", false, false},
      {"echo 'Failed to connect to bus' >&2; exit 1", false, false},
      {"kill -9 $$", false, false},
      {"exec >&-", false, false},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.Script);
    Script(test.Script);
    ServiceManager manager(ManagerScope::SYSTEM);
    EXPECT_EQ(manager.OpenManager(), test.HasManager);
    EXPECT_EQ(manager.OpenService("mail.service"), test.HasService);
    EXPECT_EQ(Said(),
              "--system show --value --property=Version\n"
              "--system show --value --property=LoadState -- mail.service\n");
    EXPECT_EQ(manager.RequestStart(), test.HasService) << "there is somewhere to send it, or not";
    EXPECT_EQ(Said().empty(), !test.HasService);
  }
}

TEST_F(ServiceManagerTest, RequestsGoToTheOpenService) {
  const std::string search = root_.string() + ":/usr/bin:/bin";
  const Variable path("PATH", search.c_str());
  Script("case \"$*\" in *stop*) exit 1;; *) echo loaded;; esac");
  ServiceManager manager(ManagerScope::USER);
  ASSERT_TRUE(manager.OpenService("-name; touch x.service"));
  Said();
  EXPECT_TRUE(manager.RequestStart());
  EXPECT_FALSE(manager.RequestStop()) << "a refusal is told";
  EXPECT_EQ(Said(),
            "--user start --no-block -- -name; touch x.service\n"
            "--user stop --no-block -- -name; touch x.service\n");
  manager.CloseService();
  EXPECT_FALSE(manager.RequestStart());
  EXPECT_TRUE(manager.Enable("a.service"));
  EXPECT_TRUE(manager.Disable("a.service"));
  EXPECT_TRUE(manager.ReadUnits());
  EXPECT_EQ(Said(), "--user enable -- a.service\n--user disable --now -- a.service\n--user daemon-reload\n");
  EXPECT_EQ(FileNames(root_), std::vector<std::string>{"systemctl"}) << "no shell saw the name";
}

TEST(UnitDirectory, IsTheAdministratorsOrTheUsers) {
  EXPECT_EQ(UnitDirectory(ManagerScope::SYSTEM), "/etc/systemd/system");
  const struct {
    const char* Configuration;
    const char* Home;
    const char* Expected;
  } cases[] = {
      {"/c", "/h", "/c/systemd/user"},
      {nullptr, "/h", "/h/.config/systemd/user"},
      {"c", "/h", "/h/.config/systemd/user"},
      {nullptr, nullptr, ""},
  };
  for (const auto& test : cases) {
    const Variable configuration("XDG_CONFIG_HOME", test.Configuration);
    const Variable home("HOME", test.Home);
    EXPECT_EQ(UnitDirectory(ManagerScope::USER), test.Expected);
  }
}

TEST(ChildProcess, GivesStatusAndOutput) {
  const struct {
    const char* Script;
    int Status;
    std::string Output;
  } cases[] = {
      {"printf 'a\\nb'", 0, "a\nb"},
      {"cat; exit 3", 3, ""},  // the input is empty
      {"kill -TERM $$", -1, ""},
      {"exec >&-; exit 4", 4, ""},
      {"head -c 200000 /dev/zero | tr '\\0' x; exit 5", 5, std::string(65'536, 'x')},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.Script);
    const ProgramResult result = RunProgram({"sh", "-c", test.Script}, 30'000, ErrorOutput::DROPPED);
    EXPECT_EQ(result.Status, test.Status);
    EXPECT_EQ(result.Output, test.Output);
  }
  EXPECT_EQ(RunProgram({"/no/such/program"}, 30'000, ErrorOutput::SHOWN).Status, -1);
}

TEST(ChildProcess, DoesNotWaitForWhatAProgramLeavesBehind) {
  const ProgramResult result =
      RunProgram({"sh", "-c", "sleep 600 2>&1 & echo $!"}, 30'000, ErrorOutput::DROPPED);
  EXPECT_EQ(result.Status, 0);
  ASSERT_GT(std::atoi(result.Output.c_str()), 1);
  EXPECT_EQ(::kill(std::atoi(result.Output.c_str()), SIGKILL), 0);
}

TEST(ChildProcess, KillsWhatTakesTooLong) {
  const ProgramResult result =
      RunProgram({"sh", "-c", "echo begun; exec sleep 600"}, 200, ErrorOutput::DROPPED);
  EXPECT_EQ(result.Status, -1);
}

TEST(ChildProcess, StartsWithoutTheSignalsHeldHere) {
  sigset_t held;
  sigset_t before;
  ::sigemptyset(&held);
  ::sigaddset(&held, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &held, &before);
  const ProgramResult result =
      RunProgram({"sh", "-c", "kill -TERM $$; echo still here"}, 30'000, ErrorOutput::DROPPED);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(result.Output, "");
}

TEST_F(ServiceManagerTest, AProgramIsStartedAndNotWaitedFor) {
  const std::string input = root_ / "input";
  const std::string output = root_ / "output";
  ASSERT_EQ(::mkfifo(input.c_str(), 0600), 0);
  ASSERT_TRUE(StartProgram({"sh", "-c", "echo x; echo y >&2; cp \"$0\" \"$1\"", input, output}));
  std::ofstream(input) << "the program can't have ended before this";
  EXPECT_TRUE(WaitUntil([&] { return ReadFile(output) == "the program can't have ended before this"; }));
  EXPECT_FALSE(StartProgram({"/no/such/program"}));
}

// A manager's end of the notify socket, at a path or, with "@", at an abstract name.
class NotifySocket {
 public:
  explicit NotifySocket(const std::string& name)
      : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), variable_("NOTIFY_SOCKET", name.c_str()) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    const bool is_abstract = name[0] == '@';
    if (is_abstract) address.sun_path[0] = '\0';
    const std::size_t size = offsetof(sockaddr_un, sun_path) + name.size() + (is_abstract ? 0 : 1);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), static_cast<socklen_t>(size)), 0);
  }
  ~NotifySocket() { ::close(socket_); }
  NotifySocket(const NotifySocket&) = delete;
  NotifySocket& operator=(const NotifySocket&) = delete;

  // The next message; empty if none has come.
  std::string Message() const {
    std::string message(1000, '\0');
    const ssize_t size = ::recv(socket_, message.data(), message.size(), MSG_DONTWAIT);
    message.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return message;
  }

 private:
  int socket_;
  Variable variable_;
};

TEST_F(ServiceManagerTest, IsToldOfTheService) {
  for (const std::string& name :
       {(root_ / "notify").string(), "@velnor-test-" + std::to_string(::getpid())}) {
    SCOPED_TRACE(name);
    const NotifySocket manager(name);
    EXPECT_TRUE(HasServiceManager());
    NotifyReady("a  b");
    EXPECT_EQ(manager.Message(), "READY=1\nSTATUS=a  b");
    NotifyStatus("c");
    EXPECT_EQ(manager.Message(), "STATUS=c");
    NotifyStopping("d");
    EXPECT_EQ(manager.Message(), "STOPPING=1\nSTATUS=d");
    timespec before{};
    ::clock_gettime(CLOCK_MONOTONIC, &before);
    NotifyReloading();
    const std::string message = manager.Message();
    const std::string head = "RELOADING=1\nMONOTONIC_USEC=";
    ASSERT_EQ(message.substr(0, head.size()), head);
    EXPECT_GE(std::stoll(message.substr(head.size())), before.tv_sec * 1'000'000LL + before.tv_nsec / 1000);
  }
}

TEST(ServiceNotify, HarmsNothingWithoutAListener) {
  const std::string long_name = "/" + std::string(300, 'x');
  for (const char* name : {"", "relative", "/no/such/socket", "@nobody-listens-here", long_name.c_str()}) {
    const Variable variable("NOTIFY_SOCKET", name);
    NotifyReady("x");
  }
  const Variable variable("NOTIFY_SOCKET", nullptr);
  EXPECT_FALSE(HasServiceManager());
  NotifyReady("x");
}

}  // namespace
}  // namespace platform
