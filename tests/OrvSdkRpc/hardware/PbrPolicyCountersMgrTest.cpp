#include "OrvSdkRpc/hardware/PbrPolicyCountersMgr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testing/mock/MockMountMgr.h"
#include "testing/server/PolicyCounterTables.h"

namespace OrvSdkRpc {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Records what it gets: "1 web new 5", "1 web 6", "1 web gone".
class RecordingFrontend final : public PbrCountersFrontend {
public:
   explicit RecordingFrontend(std::vector<std::string>& told) : told_(told) {}

   void appendItem(const PbrCounters& counters, PbrCountersEncodingFlags flags) override {
      std::string text = fmt::format("{} {}", counters.shortKey, counters.key.className);
      if (flags.longKey()) text += " new";
      if (flags.deleted()) text += " gone";
      EXPECT_EQ(counters.status == nullptr, flags.deleted());
      if (counters.status != nullptr) text += fmt::format(" {}", counters.status->packets);
      told_.push_back(text);
   }
   void push() override { ++pushes; }

   int pushes = 0;

private:
   std::vector<std::string>& told_;
};

class PbrPolicyCountersMgrTest : public PolicyCounterTables, public testing::Test {
protected:
   ~PbrPolicyCountersMgrTest() override {
      const orv::sdk_scoped_lock lock;
      mgr_.reset();
   }

   void start() {
      const orv::sdk_scoped_lock lock;
      mgr_->startWatching(frontend_);
   }
   void stop() {
      const orv::sdk_scoped_lock lock;
      mgr_->stopWatching();
   }
   std::vector<std::string> take() {
      runLoop();
      return std::exchange(told_, {});
   }
   // The keys with their counters: "1 web 5".
   std::vector<std::string> listed() {
      const orv::sdk_scoped_lock lock;
      std::vector<std::string> all;
      mgr_->keys().forEach([&](PbrPolicyCountersMgr::Id id, const PbrCountersKey& key) {
         const auto counters = mgr_->counters(id, key);
         EXPECT_EQ(counters.shortKey, id);
         EXPECT_EQ(counters.key, key);
         all.push_back(fmt::format("{} {} {}", id, key.className, counters.status->packets));
      });
      return all;
   }

   std::vector<std::string> told_;
   const Pavo::Ptr<RecordingFrontend> frontend_ = Pavo::makePtr<RecordingFrontend>(told_);
   std::optional<PbrPolicyCountersMgr> mgr_{std::in_place, nullptr};
};

TEST_F(PbrPolicyCountersMgrTest, registersForItsMountsForAsLongAsItLives) {
   testing::StrictMock<orvtest::MockMountMgr> mounts;
   orv::mount_handler* handler = nullptr;
   EXPECT_CALL(mounts, handler_add).WillOnce(testing::SaveArg<0>(&handler));
   const PbrPolicyCountersMgr mgr(&mounts);
   EXPECT_EQ(handler, &mgr);
   EXPECT_CALL(mounts, handler_del(handler));
}

TEST_F(PbrPolicyCountersMgrTest, withoutATableNothingIsThere) {
   EXPECT_THAT(listed(), IsEmpty());
   start();
   rowIs("web", 1);
   EXPECT_THAT(take(), IsEmpty());
   const orv::sdk_scoped_lock lock;
   EXPECT_EQ(mgr_->counters(1, keyOf("web")).status, nullptr);
   EXPECT_EQ(mgr_->statusDir(), nullptr);
}

TEST_F(PbrPolicyCountersMgrTest, theLongKeyComesWithTheFirstReportAlone) {
   mount(*mgr_);
   start();
   rowIs("web", 1);
   rowIs("mail", 2);
   EXPECT_THAT(take(), ElementsAre("1 web new 1", "2 mail new 2"));
   rowIs("web", 3);
   rowIs("web", 4);
   EXPECT_THAT(take(), ElementsAre("1 web 4"));
   rowDel("web");
   EXPECT_THAT(take(), ElementsAre("1 web gone"));
   EXPECT_EQ(frontend_->pushes, 4);
}

TEST_F(PbrPolicyCountersMgrTest, aRuleThatComesBackHasANewNumber) {
   mount(*mgr_);
   start();
   rowIs("web", 1);
   take();
   rowDel("web");
   take();
   rowIs("web", 0);
   EXPECT_THAT(take(), ElementsAre("2 web new 0"));
}

TEST_F(PbrPolicyCountersMgrTest, aRuleThatComesAndGoesAtOnceIsNotReported) {
   mount(*mgr_);
   start();
   rowIs("web", 1);
   rowDel("web");
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(PbrPolicyCountersMgrTest, nothingIsPassedOnWhileNobodyWatches) {
   rowIs("web", 1);
   mount(*mgr_);
   runLoop();
   EXPECT_FALSE(mgr_->watching());
   rowIs("mail", 2);
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_THAT(listed(), ElementsAre("1 web 1", "2 mail 2"));
   start();
   EXPECT_TRUE(mgr_->watching());
   // What is there is in the keys.
   EXPECT_THAT(take(), IsEmpty());
   rowIs("web", 3);
   EXPECT_THAT(take(), ElementsAre("1 web 3"));
   stop();
   stop();
   rowIs("web", 4);
   rowDel("mail");
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(frontend_->refCount(), 1U);
   EXPECT_THAT(listed(), ElementsAre("1 web 4"));
}

TEST_F(PbrPolicyCountersMgrTest, theKeysAreUpToDateAndWhoeverWatchesHearsOfThem) {
   mount(*mgr_);
   start();
   rowIs("web", 1);
   rowIs("mail", 2);
   take();
   // The main loop has not told of these yet.
   rowDel("web");
   rowIs("voice", 3);
   EXPECT_THAT(listed(), ElementsAre("2 mail 2", "3 voice 3"));
   EXPECT_THAT(std::exchange(told_, {}), UnorderedElementsAre("1 web gone", "3 voice new 3"));
   rowIs("web", 4);
   EXPECT_THAT(take(), UnorderedElementsAre("3 voice 3", "4 web new 4"));
}

TEST_F(PbrPolicyCountersMgrTest, aDamagedRowIsGone) {
   mount(*mgr_);
   start();
   rowIs("web", 1);
   take();
   {
      const orv::sdk_scoped_lock lock;
      ASSERT_TRUE(table_->damageRow(keyOf("web")));
   }
   EXPECT_THAT(take(), ElementsAre("1 web gone"));
   EXPECT_EQ(table_->corruptions(), 1U);
   EXPECT_THAT(listed(), IsEmpty());
}

}  // namespace
}  // namespace OrvSdkRpc
