#include "softswitch/managers/mount_mgr.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Config : Pavo::RefCounted {
   static constexpr std::string_view entityType = "Test::Config";
};

class Mounter : public orv::mount_handler {
public:
   Mounter(orv::mount_mgr* mgr, std::string path, Tessel::MountMode mode)
        : orv::mount_handler(mgr), path_(std::move(path)), mode_(mode) {}

   void doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                 const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared) override {
      heard.push_back(initialized() ? "mounts, initialized" : "mounts");
      state->mount<Config>(path_, mode_);
      shared->mount<Config>("shared/" + path_, mode_);
   }
   void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                         const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) override {
      heard.push_back(initialized() ? "complete, initialized" : "complete");
      mine = state->entity<Config>(path_);
      ours = shared->entity<Config>("shared/" + path_);
   }

   std::vector<std::string> heard;
   Pavo::Ptr<Config> mine, ours;

private:
   const std::string path_;
   const Tessel::MountMode mode_;
};

class MountMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      mgr_ = std::make_unique<MountMgr>(context());
   }
   void TearDown() override {
      runLoop();
      mgr_.reset();
      ManagerFixture::TearDown();
   }
   std::unique_ptr<MountMgr> mgr_;
};

TEST_F(MountMgrTest, asksFromTheLoopOnce) {
   Mounter writer(mgr_.get(), "te/config", Tessel::MountMode::write);
   EXPECT_THAT(writer.heard, IsEmpty());
   runLoop();
   EXPECT_THAT(writer.heard, ElementsAre("mounts", "complete, initialized"));
   ASSERT_TRUE(writer.mine);
   ASSERT_TRUE(writer.ours);
   Mounter reader(mgr_.get(), "te/config", Tessel::MountMode::read);
   runLoop();
   EXPECT_EQ(reader.mine, writer.mine);
   EXPECT_EQ(reader.ours, writer.ours);
   EXPECT_EQ(writer.heard.size(), 2u);
}

TEST_F(MountMgrTest, aHandlerThatIsGoneIsNotAsked) {
   { Mounter gone(mgr_.get(), "a", Tessel::MountMode::write); }
   Mounter stays(mgr_.get(), "a", Tessel::MountMode::write);
   runLoop();
   EXPECT_TRUE(stays.mine);
}

TEST_F(MountMgrTest, aPathHasOneWriterAtATime) {
   auto first = std::make_unique<Mounter>(mgr_.get(), "a", Tessel::MountMode::write);
   runLoop();
   Mounter second(mgr_.get(), "a", Tessel::MountMode::write);
   EXPECT_THAT([&] { runLoop(); },
               testing::ThrowsMessage<std::runtime_error>(HasSubstr("has a writer already")));
   EXPECT_FALSE(second.initialized());
   first.reset();
   Mounter third(mgr_.get(), "a", Tessel::MountMode::write);
   runLoop();
   EXPECT_TRUE(third.mine) << "the mounts of a handler go with it";
}

TEST_F(MountMgrTest, aHandlerMayMakeAnother) {
   class Maker final : public orv::mount_handler {
   public:
      explicit Maker(MountMgr* mgr) : orv::mount_handler(mgr), mgr_(mgr) {}
      void doMounts(const Pavo::Ptr<Tessel::MountGroup>&,
                    const Pavo::Ptr<ZeltSharedMem::MountGroup>&) override {
         made = std::make_unique<Mounter>(mgr_, "b", Tessel::MountMode::write);
      }
      std::unique_ptr<Mounter> made;

   private:
      MountMgr* const mgr_;
   } maker(mgr_.get());
   runLoop();
   EXPECT_TRUE(maker.initialized());
   ASSERT_TRUE(maker.made);
   EXPECT_TRUE(maker.made->mine);
}

}  // namespace
}  // namespace softswitch
