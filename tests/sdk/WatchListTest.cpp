#include "orv/watch_list.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "orv/error.h"

namespace {

struct Watcher {
   std::string name;
   std::function<void()> then;
};
using List = orv::watch_list<Watcher, int>;

class WatchListTest : public testing::Test {
protected:
   void call(Watcher& w) {
      called += w.name;
      if (w.then) w.then();
   }
   std::string notified(int key) {
      called.clear();
      list.notify(key, [this](Watcher& w) { call(w); });
      return called;
   }
   std::string notifiedAll() {
      called.clear();
      list.notify_all([this](Watcher& w) { call(w); });
      return called;
   }
   std::string notifiedEvery() {
      called.clear();
      list.notify_every([this](Watcher& w) { call(w); });
      return called;
   }

   List list;
   std::string called;
   Watcher a{"a", {}};
   Watcher b{"b", {}};
   Watcher c{"c", {}};
};

TEST_F(WatchListTest, aHandlerThatWatchesNothingIsNotCalled) {
   EXPECT_TRUE(list.empty());
   list.add(&a);
   EXPECT_FALSE(list.empty());
   EXPECT_FALSE(list.wanted());
   EXPECT_FALSE(list.wanted(1));
   EXPECT_EQ(notified(1), "");
   EXPECT_EQ(notifiedAll(), "");
   EXPECT_EQ(notifiedEvery(), "a");
}

TEST_F(WatchListTest, callsThoseWhoWatchAllOrTheKeyInOrder) {
   list.add(&a);
   list.add(&b);
   list.add(&c);
   list.all_is(&c, true);
   list.key_is(&a, 7, true);
   EXPECT_EQ(notified(7), "ac");
   EXPECT_EQ(notified(8), "c");
   EXPECT_EQ(notifiedAll(), "c");
   EXPECT_TRUE(list.wanted());
   EXPECT_TRUE(list.wanted(8));
   list.all_is(&c, false);
   EXPECT_TRUE(list.wanted());
   EXPECT_TRUE(list.wanted(7));
   EXPECT_FALSE(list.wanted(8));
   list.key_is(&a, 7, false);
   EXPECT_FALSE(list.wanted());
}

TEST_F(WatchListTest, repeatsAndStrangersAreHarmless) {
   list.add(&a);
   list.all_is(&a, true);
   list.all_is(&a, true);
   EXPECT_EQ(notified(1), "a");
   list.all_is(&a, false);
   list.all_is(&a, false);
   list.all_is(&b, true);
   list.key_is(&b, 1, true);
   list.key_is(&a, 1, false);
   list.del(&b);
   EXPECT_EQ(notified(1), "");
}

TEST_F(WatchListTest, endingAKeyLeavesAll) {
   list.add(&a);
   list.all_is(&a, true);
   list.key_is(&a, 1, true);
   list.key_is(&a, 1, false);
   EXPECT_EQ(notified(1), "a");
   list.key_is(&a, 1, true);
   list.all_is(&a, false);
   EXPECT_EQ(notified(1), "a");
   EXPECT_EQ(notified(2), "");
}

TEST_F(WatchListTest, aCallbackMayDestroyHandlersItselfIncluded) {
   auto owned = std::make_unique<Watcher>(Watcher{"o", {}});
   list.add(&a);
   list.add(owned.get());
   list.add(&b);
   for (Watcher* w : {&a, owned.get(), &b})
      list.all_is(w, true);
   a.then = [&] {
      if (owned) list.del(owned.get());
      owned.reset();
   };
   b.then = [&] { list.del(&b); };
   EXPECT_EQ(notified(1), "ab");
   EXPECT_EQ(notified(1), "a");
}

TEST_F(WatchListTest, aHandlerMadeMeanwhileIsCalledNextTime) {
   list.add(&a);
   list.all_is(&a, true);
   std::vector<std::unique_ptr<Watcher>> made;
   a.then = [&] {
      for (int i = 0; i < 50; ++i) {
         made.push_back(std::make_unique<Watcher>(Watcher{"n", {}}));
         list.add(made.back().get());
         list.all_is(made.back().get(), true);
      }
      a.then = {};
   };
   EXPECT_EQ(notified(1), "a");
   EXPECT_EQ(notified(1), "a" + std::string(50, 'n'));
}

TEST_F(WatchListTest, aCallbackMayNotifyAndUnwatch) {
   list.add(&a);
   list.add(&b);
   list.all_is(&a, true);
   list.all_is(&b, true);
   a.then = [&] {
      a.then = [&] { list.all_is(&b, false); };
      list.notify(1, [this](Watcher& w) { call(w); });
      list.del(&a);
   };
   EXPECT_EQ(notified(1), "aa");
   EXPECT_EQ(notifiedEvery(), "b");
}

TEST_F(WatchListTest, aCallbackThatThrowsLeavesTheListWhole) {
   list.add(&a);
   list.add(&b);
   list.all_is(&a, true);
   list.all_is(&b, true);
   a.then = [&] {
      list.del(&a);
      throw orv::error("callback");
   };
   EXPECT_THROW(notified(1), orv::error);
   EXPECT_EQ(notified(1), "b");
}

TEST_F(WatchListTest, changesNeedTheLock) {
   list.add(&a);
   orv::host::main_thread_is();
   std::thread([this] {
      testing::internal::CaptureStderr();
      EXPECT_THROW(list.add(&b), orv::no_scoped_lock_obtained_error);
      EXPECT_THROW(list.all_is(&a, true), orv::no_scoped_lock_obtained_error);
      EXPECT_THROW(list.key_is(&a, 1, true), orv::no_scoped_lock_obtained_error);
      testing::internal::GetCapturedStderr();
   }).join();
   orv::host::main_thread_clear();
   EXPECT_EQ(notifiedEvery(), "a");
   EXPECT_FALSE(list.wanted());
}

}  // namespace
