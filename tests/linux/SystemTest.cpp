#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <set>

#include "platform/linux/CommandProcesses.h"
#include "platform/linux/Paths.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/SystemLog.h"
#include "platform/linux/SystemRandom.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

// A variable of the environment for the length of a test.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = getenv(name)) old_ = old;
    value ? setenv(name, value, 1) : unsetenv(name);
  }
  ~Variable() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

unsigned modeOf(const std::string& path) {
  struct stat info {};
  stat(path.c_str(), &info);
  return info.st_mode & 0777;
}

TEST(SystemClock, AgreesWithTheSystem) {
  const SystemClock clock;
  EXPECT_NEAR(clock.now().secondsSinceUnixEpoch(), static_cast<double>(std::time(nullptr)), 1.5);
  timespec boot;
  clock_gettime(CLOCK_BOOTTIME, &boot);
  const auto since = std::chrono::duration<double>(clock.monotonic().time_since_epoch()).count();
  EXPECT_NEAR(since, static_cast<double>(boot.tv_sec), 1.5);
}

TEST(SystemClock, FollowsTheZoneAsItChanges) {
  const SystemClock clock;
  {
    const Variable tz("TZ", "Asia/Tokyo");
    EXPECT_EQ(clock.zone().name(), "Asia/Tokyo");
  }
  {
    const Variable tz("TZ", ":/usr/share/zoneinfo/Europe/Lisbon");
    EXPECT_EQ(clock.zone().name(), "Europe/Lisbon");
  }
  const Variable none("TZ", nullptr);
  const std::string own = clock.zone().name();
  const Variable unknown("TZ", "Nowhere/Land");
  EXPECT_EQ(clock.zone().name(), own);
}

TEST(SystemClock, FindsTheZoneInALink) {
  EXPECT_EQ(zoneNameInPath("/usr/share/zoneinfo/America/Argentina/Ushuaia"),
            "America/Argentina/Ushuaia");
  EXPECT_EQ(zoneNameInPath("../usr/share/zoneinfo/posix/UTC"), "UTC");
  EXPECT_EQ(zoneNameInPath("/etc/somewhere"), "");
}

TEST(SystemRandom, GivesDistinctVersion4Identities) {
  SystemRandom random;
  std::set<Uuid> seen;
  for (int i = 0; i < 1000; ++i) {
    const Uuid id = random.uuid();
    EXPECT_EQ(id.bytes()[6] >> 4, 4);
    EXPECT_EQ(id.bytes()[8] >> 6, 2);
    seen.insert(id);
  }
  EXPECT_EQ(seen.size(), 1000u);
}

TEST(SystemLog, WritesOneLinePerMessage) {
  const Variable debug("VELMORA_DEBUG", "1");
  const Variable journal("JOURNAL_STREAM", "1:1");
  SystemLog log;
  testing::internal::CaptureStderr();
  log.notice("two\nlines");
  log.debug("area", "detail");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "two lines\narea: detail\n");
}

TEST(SystemLog, GivesThePriorityToTheJournal) {
  const Variable debug("VELMORA_DEBUG", nullptr);
  testing::internal::CaptureStderr();
  struct stat info;
  fstat(STDERR_FILENO, &info);
  const std::string stream = std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino);
  const Variable journal("JOURNAL_STREAM", stream.c_str());
  SystemLog log;
  log.notice("hello");
  log.debug("area", "not asked for");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "<5>hello\n");
}

TEST(Paths, FoldersAreMadeForThisUserOnly) {
  TempFolder folder;
  const Variable data("XDG_DATA_HOME", (folder / "deep/data").c_str());
  const Variable runtime("XDG_RUNTIME_DIR", folder.path().c_str());
  std::string error;
  EXPECT_EQ(paths::dataFolder(error), folder / "deep/data/velmora");
  EXPECT_EQ(modeOf(folder / "deep/data/velmora"), 0700u);
  EXPECT_EQ(paths::runtimeFolder(error), folder / "velmora");
  EXPECT_EQ(modeOf(folder / "velmora"), 0700u);
  EXPECT_EQ(paths::dataFolder(error), folder / "deep/data/velmora");
}

TEST(Paths, TheHomeFolderIsTheDefaultAndRelativePathsDontCount) {
  TempFolder folder;
  const Variable data("XDG_DATA_HOME", "relative");
  const Variable home("HOME", folder.path().c_str());
  std::string error;
  EXPECT_EQ(paths::dataFolder(error), folder / ".local/share/velmora");
}

TEST(Paths, AFolderThatSomebodyElsePreparedIsNotUsed) {
  TempFolder folder;
  TempFolder elsewhere;
  const Variable runtime("XDG_RUNTIME_DIR", folder.path().c_str());
  std::filesystem::create_directory_symlink(elsewhere.path(), folder / "velmora");
  std::string error;
  EXPECT_FALSE(paths::runtimeFolder(error));
  EXPECT_FALSE(error.empty());
  std::filesystem::remove(folder / "velmora");
  std::filesystem::create_directory(folder / "velmora");
  if (chown((folder / "velmora").c_str(), 65534, 65534) == 0) {
    EXPECT_FALSE(paths::runtimeFolder(error));
  }
}

TEST(CommandProcesses, ReportsOutputAndStatus) {
  CommandProcesses processes;
  const auto run = [&](const std::string& script) {
    return processes.run({"sh", "-c", script}).value_or(Processes::Outcome{-1, ""});
  };
  EXPECT_EQ(run("echo out; echo err >&2; exit 3").status, 3);
  EXPECT_EQ(run("echo out; echo err >&2").output, "out\n");
  EXPECT_EQ(run("kill -9 $$").status, 128 + 9);
  EXPECT_EQ(run("head -c 1000000 /dev/zero").output.size(), 1'000'000u);
  EXPECT_EQ(run("cat").status, 0) << "standard input is empty";
  EXPECT_FALSE(processes.run({"/nonexistent/program"}));
  EXPECT_FALSE(processes.run({}));
}

TEST(CommandProcesses, ProgramsInheritNothingOfOurs) {
  const int kept = dup(0);  // without close-on-exec, as libraries make them
  sigset_t term;
  sigemptyset(&term);
  sigaddset(&term, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &term, nullptr);
  CommandProcesses processes;
  const auto outcome = processes.run({"sh", "-c", "kill -TERM $$; echo survived"});
  const auto open = processes.run({"sh", "-c", "ls /proc/self/fd"});
  pthread_sigmask(SIG_UNBLOCK, &term, nullptr);
  close(kept);
  ASSERT_TRUE(outcome && open);
  EXPECT_EQ(outcome->status, 128 + SIGTERM);
  EXPECT_EQ(open->output, "0\n1\n2\n3\n") << "3 is the folder that ls reads";
}

}  // namespace
}  // namespace velmora
