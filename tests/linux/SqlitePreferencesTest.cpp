#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
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
  // A sound file of some pages.
  void fill() {
    Preferences::Changes changes;
    for (int i = 0; i < 200; ++i)
      changes.emplace_back("key" + std::to_string(i), std::string(500, 'v'));
    open()->write(changes);
  }
  void sql(const char* statements) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
  }
  std::vector<std::string> setAside() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      const auto name = entry.path().filename().string();
      const bool isCompanion = name.ends_with("-wal") || name.ends_with("-shm");
      if (name.starts_with("store.damaged-") && !isCompanion) found.push_back(entry.path());
    }
    return found;
  }
  // The damaged file is out of the way and whole, and a fresh, durable store has begun.
  void expectFreshStart(const std::string& damaged) {
    {
      const auto store = open();
      EXPECT_TRUE(store->isDurable());
      EXPECT_TRUE(store->all().empty());
      store->set("after", 1);
    }
    ASSERT_EQ(setAside().size(), 1u);
    if (!damaged.empty()) {
      EXPECT_TRUE(contentOf(setAside().front()) == damaged);
    }
    EXPECT_EQ(log.notices.size(), 1u);
    EXPECT_EQ(open()->integer("after"), 1);
    EXPECT_EQ(setAside().size(), 1u);
  }

  TempFolder folder;
  const std::string path = folder / "store";
  sim::FakeLog log;
};

TEST_F(StoreFile, GarbageIsSetAside) {
  const std::string garbage(5000, 'g');
  putContent(path, garbage);
  expectFreshStart(garbage);
}

TEST_F(StoreFile, ATruncatedFileIsSetAside) {
  fill();
  std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2 + 100);
  expectFreshStart(contentOf(path));
}

TEST_F(StoreFile, AFlippedPageIsSetAside) {
  fill();
  std::string content = contentOf(path);
  for (size_t i = 4096; i < 8192; ++i) content[i] = static_cast<char>(~content[i]);
  putContent(path, content);
  expectFreshStart(content);
}

TEST_F(StoreFile, AForeignSchemaIsSetAside) {
  sql("CREATE TABLE other (a); PRAGMA user_version = 7");
  expectFreshStart(contentOf(path));
}

TEST_F(StoreFile, AFolderInItsPlaceIsSetAside) {
  std::filesystem::create_directory(path);
  expectFreshStart("");
}

TEST_F(StoreFile, AnEmptyFileIsAFreshStore) {
  putContent(path, "");
  EXPECT_TRUE(open()->isDurable());
  EXPECT_TRUE(log.notices.empty());
}

TEST_F(StoreFile, EarlierDamageIsNeverOverwritten) {
  for (int i = 0; i < 3; ++i) {
    putContent(path, "garbage " + std::to_string(i) + std::string(1000, '.'));
    open();
  }
  EXPECT_EQ(setAside().size(), 3u);
}

TEST_F(StoreFile, WithoutAFolderItLivesInMemory) {
  const auto store = SqlitePreferences::open(folder / "absent/store", log);
  EXPECT_FALSE(store->isDurable());
  store->set("key", 1);
  EXPECT_EQ(store->integer("key"), 1);
  EXPECT_EQ(log.notices.size(), 1u);
}

TEST_F(StoreFile, RowsThatCantBeUnderstoodAreSkippedAndKept) {
  open()->set("good", 1);
  sql("INSERT INTO preferences VALUES ('odd kind', 'colour', 'blue'), ('odd content', 'bool', 5),"
      "('odd json', 'dictionary', '{\"a\":'), ('odd mark', 'dictionary', "
      "'{\"a\":{\"$bytes\":\"x\"}}')");
  {
    const auto store = open();
    EXPECT_TRUE(store->isDurable());
    EXPECT_EQ(store->all().size(), 1u);
    EXPECT_EQ(log.notices.size(), 4u);
    store->write({{"good", 2}, {"odd content", true}});
  }
  log.notices.clear();
  const auto store = open();
  EXPECT_EQ(store->integer("good"), 2);
  EXPECT_TRUE(store->boolean("odd content"));
  EXPECT_EQ(log.notices.size(), 3u);
}

TEST_F(StoreFile, ADictionaryTooDeepForTheFileLivesInMemory) {
  PreferenceValue deep("bottom");
  for (int i = 0; i < 200; ++i) deep = PreferenceValue::Dictionary{{"inner", std::move(deep)}};
  {
    const auto store = open();
    store->write({{"deep", deep}, {"other", 1}});
    EXPECT_TRUE(store->has("deep"));
    EXPECT_EQ(log.notices.size(), 1u);
  }
  const auto store = open();
  EXPECT_FALSE(store->has("deep"));
  EXPECT_EQ(store->integer("other"), 1);
}

// Another writer holds the file for longer than we wait, as nobody should.
TEST_F(StoreFile, AFailedWriteIsMadeUpForByTheNext) {
  const auto store = open();
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &other), SQLITE_OK);
  sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  store->set("first", 1);
  EXPECT_EQ(log.notices.size(), 1u);
  EXPECT_EQ(store->integer("first"), 1);
  sqlite3_close(other);
  store->set("second", 2);
  const auto saved = SqlitePreferences::readOnly(path, log);
  EXPECT_EQ(saved->integer("first"), 1);
  EXPECT_EQ(saved->integer("second"), 2);
}

TEST_F(StoreFile, ReadOnlyFollowsAWriterAndChangesNothing) {
  EXPECT_TRUE(SqlitePreferences::readOnly(path, log)->all().empty());
  EXPECT_FALSE(std::filesystem::exists(path));
  const auto writer = open();
  writer->set("key", 1);
  const auto reader = SqlitePreferences::readOnly(path, log);
  writer->set("key", 2);
  reader->set("key", 3);
  EXPECT_EQ(reader->integer("key"), 3);
  EXPECT_EQ(SqlitePreferences::readOnly(path, log)->integer("key"), 2);
  EXPECT_TRUE(log.notices.empty());
}

TEST_F(StoreFile, ReadOnlyOfGarbageIsEmptyAndLeavesItAlone) {
  putContent(path, std::string(1000, 'g'));
  EXPECT_TRUE(SqlitePreferences::readOnly(path, log)->all().empty());
  EXPECT_TRUE(contentOf(path) == std::string(1000, 'g'));
  EXPECT_EQ(log.notices.size(), 1u);
}

TEST_F(StoreFile, IsForThisUserOnly) {
  open()->set("key", 1);
  struct stat info;
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
}

// A writer is killed again and again in the middle of its work.
TEST_F(StoreFile, AKillLeavesAllOfABatchOrNothing) {
  constexpr int kKeys = 20;
  int64_t reached = -1;
  for (int round = 0; round < 10; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      const auto store = SqlitePreferences::open(path, log);
      for (int64_t value = store->integer("key0") + 1;; ++value) {
        Preferences::Changes changes;
        for (int i = 0; i < kKeys; ++i) changes.emplace_back("key" + std::to_string(i), value);
        store->write(changes);
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(30 + 7 * round));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const auto store = open();
    ASSERT_TRUE(store->isDurable());
    const int64_t value = store->integer("key0");
    for (int i = 1; i < kKeys; ++i) EXPECT_EQ(store->integer("key" + std::to_string(i)), value);
    EXPECT_GE(value, reached);
    reached = value;
  }
  EXPECT_GT(reached, 0);
  EXPECT_TRUE(setAside().empty());
}

TEST(InstanceLock, IsHeldByOneUntilItGoes) {
  TempFolder folder;
  const std::string path = folder / "velmora.lock";
  auto first = InstanceLock::acquire(path);
  ASSERT_TRUE(first);
  EXPECT_FALSE(InstanceLock::acquire(path));
  InstanceLock moved = std::move(*first);
  first.reset();
  EXPECT_FALSE(InstanceLock::acquire(path));

  const pid_t child = fork();
  if (child == 0) _exit(InstanceLock::acquire(path) ? 1 : 0);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST(InstanceLock, DiesWithItsProcessAndIsNotInherited) {
  TempFolder folder;
  const std::string path = folder / "velmora.lock";
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    const auto lock = InstanceLock::acquire(path);
    // A program that the holder started lives on.
    if (fork() == 0) {
      execlp("sleep", "sleep", "2", nullptr);
      _exit(1);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (write(ready[1], lock ? "y" : "n", 1) < 0) _exit(1);
    pause();
  }
  char held = 0;
  ASSERT_EQ(read(ready[0], &held, 1), 1);
  EXPECT_EQ(held, 'y');
  EXPECT_FALSE(InstanceLock::acquire(path));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(InstanceLock::acquire(path));
  close(ready[0]);
  close(ready[1]);
}

}  // namespace
}  // namespace velmora
