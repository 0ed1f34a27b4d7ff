#include "platform/rillo/Reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "testing/platform/Loop.h"

namespace Rillo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ReaderTest : public ::testing::Test {
protected:
   std::shared_ptr<Reader> reader() {
      return Reader::make(scheduler, "test", [this](std::uint32_t slot) { told.push_back(slot); });
   }
   void runLoop() {
      const Zelt::ActivityLockAnchor lock;
      while (scheduler->hasReady())
         scheduler->runReady();
   }

   const Pavo::Ptr<Gorm::TaskScheduler> scheduler = Pavo::makePtr<Gorm::TaskScheduler>("test");
   std::vector<std::uint32_t> told;
};

TEST_F(ReaderTest, tellsLaterOnceAndInOrder) {
   const auto made = reader();
   EXPECT_TRUE(made->changed(7));
   EXPECT_TRUE(made->changed(3));
   EXPECT_FALSE(made->changed(7)) << "waits already";
   EXPECT_THAT(told, IsEmpty());
   runLoop();
   EXPECT_THAT(told, ElementsAre(7, 3));
   EXPECT_TRUE(made->changed(7));
   runLoop();
   EXPECT_THAT(told, ElementsAre(7, 3, 7));
}

TEST_F(ReaderTest, manyRowsAreToldAcrossQuanta) {
   const auto made = reader();
   constexpr std::uint32_t count = 50'000;
   for (std::uint32_t slot = 0; slot < count; ++slot)
      made->changed(slot);
   runLoop();
   ASSERT_EQ(told.size(), count);
   EXPECT_EQ(told.back(), count - 1);
}

TEST_F(ReaderTest, aClosedReaderTellsNothingAndGivesBackWhatWaited) {
   const auto made = reader();
   made->changed(1);
   made->changed(2);
   EXPECT_THAT(made->close(), ElementsAre(1, 2));
   EXPECT_FALSE(made->changed(3));
   runLoop();
   EXPECT_THAT(told, IsEmpty());
}

TEST_F(ReaderTest, mayBeClosedAndDroppedWhileItTells) {
   std::shared_ptr<Reader> made;
   std::vector<std::uint32_t> rest;
   made = Reader::make(scheduler, "test", [&](std::uint32_t slot) {
      told.push_back(slot);
      rest = made->close();
      made.reset();
   });
   made->changed(1);
   made->changed(2);
   runLoop();
   EXPECT_THAT(told, ElementsAre(1));
   EXPECT_THAT(rest, ElementsAre(2));
}

TEST_F(ReaderTest, anExceptionDoesNotStrandTheRest) {
   const auto made = Reader::make(scheduler, "test", [&](std::uint32_t slot) {
      told.push_back(slot);
      if (slot == 1) throw std::runtime_error("reactor");
   });
   made->changed(1);
   made->changed(2);
   EXPECT_THROW(runLoop(), std::runtime_error);
   runLoop();
   EXPECT_THAT(told, ElementsAre(1, 2));
}

}  // namespace
}  // namespace Rillo
