#include "softswitch/store/store.h"

#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <random>

#include "softswitch/store/verify.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch::store {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;
using Rows = std::map<std::string, std::string>;

Rows rowsOf(const Store& store, Store::Database db) {
   Rows rows;
   store.scan(db, [&](std::string_view key, std::string_view row) { rows.emplace(key, row); });
   return rows;
}

class StoreTest : public testing::Test {
protected:
   StoreOptions options() const {
      return {.directory = state(), .stepBytes = 1 << 20, .bootId = "boot", .log = {}};
   }
   fs::path state() const { return directory_ / "state"; }
   fs::path dataFile() const { return state() / "data.mdb"; }

   // The kind and the text of the refusal.
   std::pair<Trouble, std::string> refused(StoreOptions o) {
      try {
         Store store(std::move(o));
      } catch (const StoreError& e) {
         return {e.trouble(), e.what()};
      }
      ADD_FAILURE() << "was not refused";
      return {Trouble::unusable, ""};
   }

   orvtest::TempDir directory_;
};

TEST_F(StoreTest, rowsComeBackInKeyOrder) {
   {
      Store store(options());
      const auto db = store.open("t");
      store.put(db, "b", "2");
      store.put(db, "a", "1");
      store.put(db, "c", "");
      store.put(db, "b", "two");
      store.del(db, "c");
      store.del(db, "never there");
      store.commit();
   }
   Store store(options());
   EXPECT_EQ(rowsOf(store, store.open("t")), (Rows{{"a", "1"}, {"b", "two"}}));
   EXPECT_TRUE(rowsOf(store, store.open("another")).empty());
}

TEST_F(StoreTest, oneSpanIsOneTransaction) {
   Store store(options());
   const auto db = store.open("t");
   const auto other = store.open("u");
   EXPECT_FALSE(store.inSpan());
   store.commit();
   EXPECT_EQ(store.commits(), 0u);
   store.put(db, "a", "1");
   store.put(other, "a", "1");
   EXPECT_TRUE(store.inSpan());
   store.commit();
   EXPECT_EQ(store.commits(), 1u);
}

TEST_F(StoreTest, clearRemovesAllRowsOfOneTable) {
   Store store(options());
   const auto db = store.open("t");
   const auto other = store.open("u");
   for (int i = 0; i < 5000; ++i)
      store.put(db, std::to_string(i), "row");
   store.put(other, "kept", "row");
   store.commit();
   store.clear(db);
   store.put(db, "new", "row");
   store.commit();
   EXPECT_EQ(rowsOf(store, db), (Rows{{"new", "row"}}));
   EXPECT_EQ(rowsOf(store, other), (Rows{{"kept", "row"}}));
}

TEST_F(StoreTest, aKeyThatIsTooLongIsRefused) {
   Store store(options());
   const auto db = store.open("t");
   EXPECT_THROW(store.put(db, std::string(Store::maxKeyBytes + 1, 'k'), "row"), StoreError);
   store.put(db, std::string(Store::maxKeyBytes, 'k'), "row");
   store.commit();
   EXPECT_EQ(rowsOf(store, db).size(), 1u);
}

TEST_F(StoreTest, largeRowsComeBack) {
   const std::string row(3 << 20, 'x');
   {
      Store store(options());
      const auto db = store.open("t");
      store.put(db, "large", row);
      store.commit();
   }
   Store store(options());
   EXPECT_EQ(rowsOf(store, store.open("t")).at("large"), row);
}

TEST_F(StoreTest, aCleanStopRemovesTheMarkAndTheSlack) {
   {
      Store store(options());
      const auto db = store.open("t");
      store.put(db, "a", "1");
      store.commit();
      EXPECT_TRUE(fs::exists(state() / "in-use"));
      store.closeClean();
      EXPECT_THROW(store.put(db, "b", "2"), StoreError);
   }
   EXPECT_FALSE(fs::exists(state() / "in-use"));
   EXPECT_LT(fs::file_size(dataFile()), 1u << 20);
   Store store(options());
   EXPECT_EQ(rowsOf(store, store.open("t")), (Rows{{"a", "1"}}));
}

TEST_F(StoreTest, lookingAtADirectoryLeavesItAsItIs) {
   {
      Store store(options());
      store.put(store.open("t"), "a", "1");
      store.closeClean();
   }
   const auto size = fs::file_size(dataFile());
   {
      Store store(options());
      EXPECT_EQ(rowsOf(store, store.open("t")).size(), 1u);
   }
   EXPECT_FALSE(fs::exists(state() / "in-use"));
   EXPECT_EQ(fs::file_size(dataFile()), size);
}

TEST_F(StoreTest, syncDurabilityKeepsRowsToo) {
   auto o = options();
   o.durability = Durability::sync;
   {
      Store store(o);
      const auto db = store.open("t");
      for (int i = 0; i < 20; ++i) {
         store.put(db, std::to_string(i), "row");
         store.commit();
      }
   }
   // Another boot: synced commits are trusted.
   o.bootId = "another boot";
   Store store(o);
   EXPECT_EQ(rowsOf(store, store.open("t")).size(), 20u);
}

TEST_F(StoreTest, anotherBootAfterAnUncleanStopStartsEmpty) {
   {
      Store store(options());
      store.put(store.open("t"), "a", "1");
   }
   auto o = options();
   o.bootId = "another boot";
   std::vector<std::string> log;
   o.log = [&](std::string_view line) { log.emplace_back(line); };
   Store store(o);
   EXPECT_TRUE(rowsOf(store, store.open("t")).empty());
   ASSERT_EQ(log.size(), 1u);
   EXPECT_THAT(log[0], HasSubstr("starts empty"));
}

TEST_F(StoreTest, aSecondStoreIsRefused) {
   Store store(options());
   EXPECT_EQ(refused(options()).first, Trouble::busy);
}

TEST_F(StoreTest, aMapThatIsTooSmallIsNoSpace) {
   auto o = options();
   o.mapBytes = 4 << 20;
   Store store(o);
   const auto db = store.open("t");
   std::size_t written = 0;
   std::string words;
   try {
      for (;; ++written) {
         store.put(db, fmt::format("{:06}", written), std::string(1000, 'x'));
         store.commit();
      }
   } catch (const StoreError& e) {
      EXPECT_EQ(e.trouble(), Trouble::noSpace);
      words = e.what();
   }
   EXPECT_THAT(words, HasSubstr("no space left"));
   EXPECT_GT(written, 1000u);
   store.commit();
   EXPECT_EQ(rowsOf(store, db).size(), written);
}

TEST_F(StoreTest, writesThatThereIsRoomForAreNotRefused) {
   const std::string row(100, 'x');
   for (const std::size_t batch : {3u, 100u, 500u}) {
      SCOPED_TRACE(batch);
      auto o = options();
      o.directory = directory_ / std::to_string(batch);
      o.mapBytes = 16 << 20;
      Store store(o);
      const auto db = store.open("t");
      Rows expected;
      std::size_t written = 0;
      // Writes in batches until there is no room for one more.
      const auto fill = [&] {
         std::size_t batches = 0;
         bool asking = true;
         try {
            for (;; ++batches) {
               asking = true;
               store.requireRoom(batch, batch * 106);
               asking = false;
               for (std::size_t i = 0; i < batch; ++i) {
                  const auto key = fmt::format("{:06}", written++ * 7919 % 100003);
                  store.put(db, key, row);
                  expected[key] = row;
               }
               if (batches % 3 == 0) store.commit();
            }
         } catch (const StoreError& e) {
            EXPECT_EQ(e.trouble(), Trouble::noSpace);
         }
         EXPECT_TRUE(asking) << "refused behind " << batches << " batches, within the next";
         store.commit();
         EXPECT_EQ(rowsOf(store, db), expected);
         return batches;
      };
      EXPECT_GT(fill() * batch, 10000u);

      // Deletes still work, and what they free is room again.
      while (expected.size() > 100) {
         store.requireRoom(4, 0, true);
         for (int i = 0; i < 4; ++i) {
            store.del(db, expected.begin()->first);
            expected.erase(expected.begin());
         }
         store.commit();
      }
      // A large batch may find less room than it asks for.
      const auto again = fill();
      if (batch <= 100) {
         EXPECT_GT(again, 1u);
      }
   }
}

// Runs `body` in a child process that has a file system of `bytes` bytes at `mount`.
// RETURNS: the child's exit status, or -1 when this machine does not allow it.
template <class Body>
int onSmallDisk(const fs::path& mount, std::size_t bytes, Body body) {
   const auto child = ::fork();
   if (child == 0) {
      const auto uid = ::getuid();
      const auto gid = ::getgid();
      if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
         std::ofstream("/proc/self/setgroups") << "deny";
         std::ofstream("/proc/self/uid_map") << fmt::format("0 {} 1", uid);
         std::ofstream("/proc/self/gid_map") << fmt::format("0 {} 1", gid);
      } else if (::unshare(CLONE_NEWNS) != 0 ||
                 ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
         ::_exit(77);
      }
      if (::mount("tmpfs", mount.c_str(), "tmpfs", 0, fmt::format("size={}", bytes).c_str()) != 0)
         ::_exit(77);
      int result = 1;
      try {
         result = body();
      } catch (const std::exception& e) {
         fmt::print(stderr, "{}\n", e.what());
      }
      ::_exit(result);
   }
   int status = 0;
   ::waitpid(child, &status, 0);
   if (WIFEXITED(status) && WEXITSTATUS(status) == 77) return -1;
   return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

#define CHECK_IN_CHILD(condition)                                            \
   do {                                                                      \
      if (!(condition)) {                                                    \
         fmt::print(stderr, "{}: {} does not hold\n", __LINE__, #condition); \
         return 1;                                                           \
      }                                                                      \
   } while (false)

TEST_F(StoreTest, aFullDiskRefusesTheWriteAndCanBeEmptied) {
   fs::create_directories(state());
   const int result = onSmallDisk(state(), 8 << 20, [&] {
      Rows expected;
      {
         Store store(options());
         const auto db = store.open("t");
         const auto fill = [&] {
            std::size_t written = 0;
            try {
               for (int i = 0;; ++i) {
                  const auto key = fmt::format("{:06}", i * 7919 % 1000003);
                  if (expected.contains(key)) continue;
                  const std::string row(200 + i % 300, 'x');
                  store.put(db, key, row);
                  store.commit();
                  expected.emplace(key, row);
                  ++written;
               }
            } catch (const StoreError& e) {
               if (e.trouble() != Trouble::noSpace) throw;
            }
            store.commit();
            return written;
         };
         const auto first = fill();
         CHECK_IN_CHILD(first > 5000);
         CHECK_IN_CHILD(rowsOf(store, db) == expected);
         // A reservation is refused like a write.
         bool reserved = true;
         try {
            store.reserve(1 << 20);
         } catch (const StoreError&) {
            reserved = false;
         }
         CHECK_IN_CHILD(!reserved);
         // Every row can be deleted, and deletes make room.
         std::size_t n = 0;
         for (auto it = expected.begin(); it != expected.end(); ++n) {
            if (n % 3 == 0) {
               ++it;
               continue;
            }
            store.del(db, it->first);
            store.commit();
            it = expected.erase(it);
         }
         CHECK_IN_CHILD(rowsOf(store, db) == expected);
         CHECK_IN_CHILD(fill() > first / 4);
      }
      // The next start finds the disk still full.
      Store store(options());
      CHECK_IN_CHILD(rowsOf(store, store.open("t")) == expected);
      return 0;
   });
   if (result == -1) GTEST_SKIP() << "no user namespaces here";
   EXPECT_EQ(result, 0);
}

TEST_F(StoreTest, aReservedWriteAlwaysFits) {
   fs::create_directories(state());
   const int result = onSmallDisk(state(), 8 << 20, [&] {
      Store store(options());
      const auto db = store.open("t");
      const auto later = store.open("later");
      std::size_t held = 0;
      try {
         // In one span: the reserved rows are written at its end, after the other writes have taken the rest
         // of the room.
         for (; held < 1000; ++held)
            store.reserve(100);
         for (int i = 0;; ++i)
            store.put(db, std::to_string(i), std::string(1000, 'x'));
      } catch (const StoreError& e) {
         if (e.trouble() != Trouble::noSpace) throw;
      }
      CHECK_IN_CHILD(held > 10);
      for (std::size_t i = 0; i < held; ++i)
         store.putReserved(later, std::to_string(i), std::string(100, 'y'));
      store.commit();
      CHECK_IN_CHILD(rowsOf(store, later).size() == held);
      return 0;
   });
   if (result == -1) GTEST_SKIP() << "no user namespaces here";
   EXPECT_EQ(result, 0);
}

// Writes pairs, each pair under one span, and reports each commit to the parent; never returns.
[[noreturn]] void writePairs(StoreOptions options, int pipe, std::uint64_t from) {
   Store store(std::move(options));
   const auto left = store.open("left");
   const auto right = store.open("right");
   for (std::uint64_t i = from;; ++i) {
      const auto key = fmt::format("{:08}", i * 7919 % 100003);
      const auto row = fmt::format("{} {}", i, std::string(i % 200, 'x'));
      store.put(left, key, row);
      store.put(right, key, row);
      if (i % 3 == 0) {
         const auto gone = fmt::format("{:08}", (i - 1) * 7919 % 100003);
         store.del(left, gone);
         store.del(right, gone);
      }
      store.commit();
      if (::write(pipe, &i, sizeof i) != sizeof i) ::_exit(1);
   }
}

TEST_F(StoreTest, aKillLosesNothingThatWasAcknowledgedAndLeavesNothingHalf) {
   std::mt19937 random(1);
   std::uint64_t next = 1;
   for (int round = 0; round < 40; ++round) {
      int ends[2];
      ASSERT_EQ(::pipe(ends), 0);
      const auto child = ::fork();
      if (child == 0) {
         ::close(ends[0]);
         writePairs(options(), ends[1], next);
      }
      ::close(ends[1]);
      const std::uint64_t wanted = 1 + random() % 300;
      std::uint64_t acknowledged = 0, got = 0;
      while (got < wanted && ::read(ends[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged)
         ++got;
      ::kill(child, SIGKILL);
      // What was written to the pipe before the signal counts as acknowledged too.
      while (::read(ends[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged)
         ++got;
      ::close(ends[0]);
      int status = 0;
      ::waitpid(child, &status, 0);
      ASSERT_TRUE(WIFSIGNALED(status)) << "the child ended by itself: " << status;
      ASSERT_GT(acknowledged, 0u);

      Store store(options());
      const auto left = rowsOf(store, store.open("left"));
      const auto right = rowsOf(store, store.open("right"));
      ASSERT_EQ(left, right);
      // An acknowledged pair exists unless a later write removed it.
      for (auto i = next; i <= acknowledged; ++i) {
         const auto key = fmt::format("{:08}", i * 7919 % 100003);
         const bool removed = (i + 1) % 3 == 0 && i < acknowledged;
         const bool perhapsRemoved = (i + 1) % 3 == 0 && i == acknowledged;
         if (perhapsRemoved) continue;
         ASSERT_EQ(left.contains(key), !removed) << i << " of " << acknowledged;
      }
      next = acknowledged + 2;
   }
}

}  // namespace
}  // namespace softswitch::store
