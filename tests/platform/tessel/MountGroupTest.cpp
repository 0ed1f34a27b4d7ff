#include "platform/tessel/MountGroup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/tessel/SharedMem.h"

namespace Tessel {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

struct Config : Pavo::RefCounted {
   static constexpr std::string_view entityType = "Test::Config";
   explicit Config(std::string givenName, std::size_t givenSize)
        : name(std::move(givenName)), size(givenSize) {}
   std::string name;
   std::size_t size;
};
struct OtherEntity : Pavo::RefCounted {
   static constexpr std::string_view entityType = "Test::OtherEntity";
};

class MountGroupTest : public ::testing::Test {
protected:
   Pavo::Ptr<MountGroup> group() { return Pavo::makePtr<MountGroup>(manager); }
   const Pavo::Ptr<EntityManager> manager = Pavo::makePtr<EntityManager>();
};

TEST_F(MountGroupTest, aWriterMakesWhatIsNotThere) {
   const auto writer = group();
   writer->mount<Config>("te/config", MountMode::write, "override", 1024U);
   ASSERT_TRUE(manager->entity<Config>("te/config"));
   EXPECT_EQ(manager->entity<Config>("te/config")->name, "override");
   EXPECT_EQ(manager->entity<Config>("te/config")->size, 1024U);
   EXPECT_FALSE(manager->entity<OtherEntity>("te/config")) << "another type";
   EXPECT_FALSE(manager->entity<Config>("te")) << "nothing is there";
   EXPECT_EQ(writer->size(), 1U);
}

TEST_F(MountGroupTest, thereIsOneWriterUntilItsGroupGoes) {
   auto first = group();
   first->mount<Config>("te/config", MountMode::write, "first", 1U);
   const auto second = group();
   EXPECT_THAT([&] { second->mount<Config>("te/config", MountMode::write, "second", 2U); },
               ThrowsMessage<std::runtime_error>(HasSubstr("has a writer already")));
   first = nullptr;
   second->mount<Config>("te/config", MountMode::write, "second", 2U);
   EXPECT_EQ(manager->entity<Config>("te/config")->name, "first") << "the entity outlives its writer";
}

TEST_F(MountGroupTest, aReaderFindsWhatIsThereByItsType) {
   const auto reader = group();
   reader->mount<Config>("te/config", MountMode::read);
   EXPECT_FALSE(manager->entity<Config>("te/config"));
   const auto writer = group();
   writer->mount<OtherEntity>("te/config", MountMode::write);
   reader->mount<Config>("te/config", MountMode::read);
   EXPECT_FALSE(manager->entity<Config>("te/config"));
}

TEST_F(MountGroupTest, aWriterOfAnotherTypeIsRefusedInWords) {
   group()->mount<OtherEntity>("te/config", MountMode::write);
   EXPECT_THAT([&] { group()->mount<Config>("te/config", MountMode::write, "x", 1U); },
               ThrowsMessage<std::runtime_error>(HasSubstr("of another type, expected Test::Config")));
   EXPECT_NO_THROW(group()->mount<OtherEntity>("te/config", MountMode::write));
}

TEST_F(MountGroupTest, aWriterCannotMakeSomethingFromNothing) {
   EXPECT_THAT([&] { group()->mount<Config>("te/config", MountMode::write); },
               ThrowsMessage<std::logic_error>(HasSubstr("no arguments to construct a Test::Config")));
   EXPECT_NO_THROW(group()->mount<Config>("te/config", MountMode::write, "later", 1U))
        << "the path is free again";
}

TEST_F(MountGroupTest, sharedMemoryIsAWorldOfItsOwn) {
   const auto shared = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   const auto there = Pavo::makePtr<ZeltSharedMem::MountGroup>(shared);
   const auto here = group();
   there->mount<Config>("a", MountMode::write, "there", 1U);
   here->mount<Config>("a", MountMode::write, "here", 1U);
   EXPECT_EQ(shared->entity<Config>("a")->name, "there");
   EXPECT_EQ(manager->entity<Config>("a")->name, "here");
}

}  // namespace
}  // namespace Tessel
