#include "platform/tessel/EntityManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace Tessel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

struct Status : Pavo::RefCounted {};
struct Unrelated : Pavo::RefCounted {};

class EntityManagerTest : public ::testing::Test {
protected:
   const Pavo::Ptr<EntityManager> manager = Pavo::makePtr<EntityManager>();
};

TEST_F(EntityManagerTest, readersSeeWhatTheWriterPuts) {
   const Mount writer = manager->mount("hardware/status", MountMode::write);
   const Mount reader = manager->mount("hardware/status", MountMode::read);
   EXPECT_FALSE(reader.entity<Status>());
   const auto status = Pavo::makePtr<Status>();
   writer.entityIs(status);
   EXPECT_EQ(reader.entity<Status>(), status);
   EXPECT_FALSE(reader.entity<Unrelated>()) << "another type";
   EXPECT_THAT(manager->paths(), ElementsAre("hardware/status"));
   writer.entityIs(nullptr);
   EXPECT_FALSE(reader.entity<Status>());
}

TEST_F(EntityManagerTest, readersAreToldOfChangesAtTheirPathOnly) {
   int changes = 0;
   const Mount reader = manager->mount("a/b", MountMode::read, [&] { ++changes; });
   const Mount here = manager->mount("a/b", MountMode::write);
   const Mount elsewhere = manager->mount("a", MountMode::write);
   elsewhere.entityIs(Pavo::makePtr<Status>());
   EXPECT_EQ(changes, 0);
   here.entityIs(Pavo::makePtr<Status>());
   here.entityIs(nullptr);
   EXPECT_EQ(changes, 2);
}

TEST_F(EntityManagerTest, anUnmountedReaderIsNotTold) {
   int changes = 0;
   const Mount writer = manager->mount("a", MountMode::write);
   {
      const Mount reader = manager->mount("a", MountMode::read, [&] { ++changes; });
   }
   writer.entityIs(Pavo::makePtr<Status>());
   EXPECT_EQ(changes, 0);
}

TEST_F(EntityManagerTest, aSecondWriterIsRefusedInWords) {
   Mount writer = manager->mount("a", MountMode::write);
   EXPECT_THAT([&] { manager->mount("a", MountMode::write); },
               ThrowsMessage<std::runtime_error>(HasSubstr("mount path 'a': has a writer already")));
   writer.entityIs(Pavo::makePtr<Status>());
   writer = Mount();
   const Mount next = manager->mount("a", MountMode::write);
   EXPECT_TRUE(next.entity<Status>()) << "the entity outlives its writer's handle";
}

TEST_F(EntityManagerTest, aMovedMountStaysTheWriter) {
   Mount first = manager->mount("a", MountMode::write);
   {
      const Mount second = std::move(first);
      EXPECT_THROW(manager->mount("a", MountMode::write), std::runtime_error);
      second.entityIs(Pavo::makePtr<Status>());
   }
   EXPECT_NO_THROW(manager->mount("a", MountMode::write));
}

TEST_F(EntityManagerTest, onlyAWriterWrites) {
   const Mount reader = manager->mount("a", MountMode::read);
   EXPECT_THROW(reader.entityIs(Pavo::makePtr<Status>()), std::logic_error);
   const Mount nowhere;
   EXPECT_FALSE(nowhere);
   EXPECT_FALSE(nowhere.entity<Status>());
   EXPECT_THROW(nowhere.entityIs(Pavo::makePtr<Status>()), std::logic_error);
}

TEST_F(EntityManagerTest, malformedPathsAreRefusedInWords) {
   for (const char* path : {"", "/a", "a/", "a//b"}) {
      EXPECT_THAT([&] { manager->mount(path, MountMode::read); },
                  ThrowsMessage<std::invalid_argument>(HasSubstr("expected names joined by single slashes")))
           << path;
   }
}

TEST_F(EntityManagerTest, aMountKeepsItsManager) {
   Pavo::Ptr<EntityManager> own = Pavo::makePtr<EntityManager>();
   const Mount writer = own->mount("a", MountMode::write);
   own = nullptr;
   writer.entityIs(Pavo::makePtr<Status>());
   EXPECT_TRUE(writer.entity<Status>());
}

}  // namespace
}  // namespace Tessel
