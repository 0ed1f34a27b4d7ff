#include "platform/pavo/Ptr.h"

#include <gtest/gtest.h>

#include <thread>
#include <unordered_set>
#include <vector>

namespace Pavo {
namespace {

struct Base : RefCounted {
   explicit Base(int& n) : alive(n) { ++alive; }
   ~Base() override { --alive; }
   int& alive;
};
struct Derived : Base {
   using Base::Base;
};
struct Stranger : Base {
   using Base::Base;
};

TEST(Ptr, theLastOwnerDeletesTheObject) {
   int alive = 0;
   {
      Ptr<Base> first = makePtr<Base>(alive);
      EXPECT_EQ(first->refCount(), 1U);
      Ptr<Base> second = first;
      EXPECT_EQ(first->refCount(), 2U);
      first = nullptr;
      EXPECT_EQ(alive, 1);
      EXPECT_EQ(second->refCount(), 1U);
   }
   EXPECT_EQ(alive, 0);
}

TEST(Ptr, movingKeepsTheCount) {
   int alive = 0;
   Ptr<Base> first = makePtr<Base>(alive);
   Ptr<Base> second = std::move(first);
   EXPECT_EQ(second->refCount(), 1U);
   EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): it is what is tested
   second = std::move(second);
   EXPECT_TRUE(second);
}

TEST(Ptr, assigningToItselfKeepsTheObject) {
   int alive = 0;
   Ptr<Base> pointer = makePtr<Base>(alive);
   const Ptr<Base>& alias = pointer;
   pointer = alias;
   EXPECT_EQ(alive, 1);
   EXPECT_EQ(pointer->refCount(), 1U);
}

TEST(Ptr, convertsToBaseAndConstAndBack) {
   int alive = 0;
   const Ptr<Derived> derived = makePtr<Derived>(alive);
   const Ptr<Base> base = derived;
   const Ptr<const Base> constant = base;
   EXPECT_EQ(constant->refCount(), 3U);
   EXPECT_TRUE(base == derived);
   EXPECT_TRUE(constant == derived);
   EXPECT_EQ(dynamicPtr<Derived>(base), derived);
   EXPECT_EQ(dynamicPtr<Stranger>(base), nullptr);
   static_assert(!std::is_convertible_v<Ptr<Base>, Ptr<Derived>>);
   static_assert(!std::is_convertible_v<Ptr<const Base>, Ptr<Base>>);
}

TEST(Ptr, aPlainPointerBecomesAnOwnerAgain) {
   int alive = 0;
   const Ptr<Base> first = makePtr<Base>(alive);
   const Ptr<Base> second(first.get());
   EXPECT_EQ(first->refCount(), 2U);
}

TEST(Ptr, hashesByObject) {
   int alive = 0;
   std::unordered_set<Ptr<Base>> set;
   const Ptr<Base> one = makePtr<Base>(alive);
   set.insert(one);
   set.insert(one);
   set.insert(makePtr<Base>(alive));
   EXPECT_EQ(set.size(), 2U);
}

TEST(Ptr, ownersInSeveralThreadsDeleteOnce) {
   int alive = 0;
   Ptr<Base> shared = makePtr<Base>(alive);
   std::vector<std::thread> threads;
   for (int t = 0; t < 4; ++t) {
      threads.emplace_back([mine = shared] {
         Ptr<Base> copy;
         for (int i = 0; i < 10000; ++i) {
            copy = mine;
            copy = nullptr;
         }
      });
   }
   shared = nullptr;
   for (auto& thread : threads)
      thread.join();
   threads.clear();
   EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace Pavo
