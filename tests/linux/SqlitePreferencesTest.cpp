#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <thread>

#include "platform/linux/InstanceLock.h"
#include "platform/linux/SqlitePreferences.h"
#include "platform/sim/Fakes.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

class StoreFile : public testing::Test {
 protected:
  std::unique_ptr<SqlitePreferences> open() { return SqlitePreferences::open(path, log); }
  std::unique_ptr<SqlitePreferences> peek() { return SqlitePreferences::readOnly(path, log); }
  void sql(const char* statements) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    EXPECT_EQ(sqlite3_exec(db, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
  }
  void expectFreshStart() {
    EXPECT_TRUE(open()->all().empty());
    open()->set("after", 1);
    EXPECT_EQ(open()->integer("after"), 1);
    EXPECT_EQ(std::exchange(log.notices, {}).size(), 1u);
  }
  std::multiset<std::string> setAside() const {
    std::multiset<std::string> contents;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
      if (entry.path().extension().string().starts_with(".damaged-"))
        contents.insert(contentOf(entry.path()));
    return contents;
  }
  TempFolder folder;
  const std::string path = folder / "store";
  sim::FakeLog log;
};

TEST_F(StoreFile, DamageIsSetAsideByteForByteAndAFreshStoreBegins) {
  open()->set("key", std::string(100'000, 'v'));
  const std::string whole = contentOf(path), half = whole.substr(0, whole.size() / 2 + 100);
  std::string flipped = whole;
  for (size_t i = 4096; i < 8192; ++i) flipped[i] = static_cast<char>(~flipped[i]);
  std::filesystem::remove(path);
  sql("CREATE TABLE other (a); PRAGMA user_version = 7");
  const std::multiset damaged{std::string(5000, 'g'), half, flipped, contentOf(path)};
  for (const auto& content : damaged) {
    putContent(path, content);
    expectFreshStart();
  }
  EXPECT_TRUE(std::ranges::includes(setAside(), damaged));
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  expectFreshStart();
}

TEST_F(StoreFile, RowsThatCantBeUnderstoodAreSkippedAndKept) {
  open()->set("good", 1);
  sql("INSERT INTO preferences VALUES ('odd kind', 'colour', 'blue'), ('odd bool', 'bool', 5),"
      "('odd json', 'dictionary', '{\"a\":')");
  open()->write({{"good", 2}, {"odd bool", true}});
  EXPECT_EQ(std::exchange(log.notices, {}).size(), 3u);
  const auto store = open();
  EXPECT_EQ(store->integer("good"), 2);
  EXPECT_TRUE(store->boolean("odd bool"));
  EXPECT_EQ(log.notices.size(), 2u);
}

// Another writer holds the file for longer than we wait, as nobody should.
TEST_F(StoreFile, AFailedWriteIsMadeUpForByTheNext) {
  const auto store = open();
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &other), SQLITE_OK);
  sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  store->set("first", 1);
  EXPECT_EQ(log.notices.size(), 1u);
  sqlite3_close(other);
  store->set("second", 2);
  EXPECT_EQ(peek()->integer("first"), 1);
}

// A writer is killed again and again in the middle of its work.
TEST_F(StoreFile, AKillLeavesAllOfABatchOrNothing) {
  int64_t reached = 0;
  for (int round = 0; round < 10; ++round) {
    const pid_t writer = fork();
    if (writer == 0)
      for (const auto store = open();;) {
        Preferences::Changes batch;
        for (const char* key : {"a", "b", "c", "d"})
          batch.emplace_back(key, store->integer("a") + 1);
        store->write(batch);
      }
    std::this_thread::sleep_for(std::chrono::milliseconds(30 + 7 * round));
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    const auto store = open();
    for (const char* key : {"b", "c", "d"}) EXPECT_EQ(store->integer(key), store->integer("a"));
    EXPECT_GE(store->integer("a"), reached);
    reached = store->integer("a");
  }
  EXPECT_GT(reached, 0);
}

TEST(InstanceLock, IsHeldByOneProcessUntilItDiesAndIsNotInherited) {
  TempFolder folder;
  const std::string path = folder / "velmora.lock";
  const pid_t holder = fork();
  if (holder == 0) {
    const auto lock = InstanceLock::acquire(path);
    if (lock && system("sleep 2 >/dev/null 2>&1 &") == 0) raise(SIGSTOP);
    _exit(1);
  }
  int status = 0;
  waitpid(holder, &status, WUNTRACED);
  EXPECT_TRUE(WIFSTOPPED(status));
  EXPECT_FALSE(InstanceLock::acquire(path));
  EXPECT_TRUE(InstanceLock::isHeld(path));
  kill(holder, SIGKILL);
  waitpid(holder, nullptr, 0);
  EXPECT_FALSE(InstanceLock::isHeld(path));
  const auto first = InstanceLock::acquire(path);
  EXPECT_TRUE(first && !InstanceLock::acquire(path));
}

}  // namespace
}  // namespace velmora
