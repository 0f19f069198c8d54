#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "platform/linux/CommandProcesses.h"
#include "platform/linux/Paths.h"
#include "platform/linux/SystemFiles.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

// The environment of the tests' process, given back at the end of each.
class System : public testing::Test {
 protected:
  ~System() override {
    for (const auto& [name, old] : saved)
      old ? setenv(name.c_str(), old->c_str(), 1) : unsetenv(name.c_str());
  }
  void set(const char* name, const std::string& value) {
    const char* old = getenv(name);
    saved.emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
    setenv(name, value.c_str(), 1);
  }
  TempFolder folder;
  std::string error;
  std::map<std::string, std::optional<std::string>> saved;
};

TEST_F(System, FoldersAreThisUsersOnly) {
  set("XDG_DATA_HOME", "relative");  // counts as unset
  set("HOME", folder / "home");
  const std::string data = folder / "home/.local/share/velmora";
  EXPECT_EQ(paths::dataFolder(error), data);
  EXPECT_EQ(std::filesystem::status(data).permissions(), std::filesystem::perms::owner_all);
  // Nor is one used that somebody else prepared.
  set("XDG_RUNTIME_DIR", folder.path());
  std::filesystem::create_directory_symlink(data, folder / "velmora");
  EXPECT_FALSE(paths::runtimeFolder(error));
  EXPECT_FALSE(error.empty());
}

TEST_F(System, CommandsReportTheirEndAndInheritNothingOfOurs) {
  const int kept = dup(0);  // without close-on-exec, as libraries make them
  sigset_t term;
  sigemptyset(&term);
  sigaddset(&term, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &term, nullptr);
  const auto run = [](const std::string& script) {
    return CommandProcesses().run({"sh", "-c", script}).value_or(Processes::Outcome{-1, ""});
  };
  EXPECT_EQ(run("kill -TERM $$").status, 128 + SIGTERM);
  EXPECT_EQ(run("head -c 1000000 /dev/zero; cat").output.size(), 1'000'000u);
  EXPECT_EQ(run("ls /proc/self/fd").output, "0\n1\n2\n3\n") << "3 is the folder that ls reads";
  EXPECT_FALSE(CommandProcesses().run({"/nonexistent/program"}));
  pthread_sigmask(SIG_UNBLOCK, &term, nullptr);
  close(kept);
}

TEST_F(System, FilesAreWrittenWholeAndNotWhereOthersWantThem) {
  SystemFiles files;
  const std::string path = folder / "file";
  std::filesystem::create_symlink("victim", path);
  EXPECT_TRUE(files.writeTextAtomically(path, std::string(50000, 'x')));
  EXPECT_EQ(files.readText(path), std::string(50000, 'x'));
  EXPECT_FALSE(files.exists(folder / "victim"));
  mkfifo((folder / "pipe").c_str(), 0600);
  EXPECT_EQ(files.readText(folder / "pipe"), std::nullopt);
  EXPECT_FALSE(files.writeTextAtomically(folder / "no/such", "x"));
}

}  // namespace
}  // namespace velmora
