#include "softswitch/tables/deferred_row.h"

#include <gmock/gmock.h>

#include <optional>
#include <vector>

#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DeferredRowTest : public testing::Test {
protected:
   orvtest::TempDir directory_;
   store::Store store_{store::StoreOptions{.directory = directory_ / "state", .bootId = "boot", .log = {}}};
   std::vector<int> written_;
   std::optional<DeferredRow<int>> deferred_{std::in_place, store_,
                                             [this](int& row) { written_.push_back(row); },
                                             [](const int&) { return std::size_t{100}; }};
   int a_ = 1;
   int b_ = 2;
};

TEST_F(DeferredRowTest, aRowIsWrittenOnceWhenAnotherChangesOrTheSpanEnds) {
   deferred_->changed(a_);
   a_ = 10;
   deferred_->changed(a_);
   EXPECT_THAT(written_, IsEmpty());
   deferred_->changed(b_);
   EXPECT_THAT(written_, ElementsAre(10));
   store_.commit();
   EXPECT_THAT(written_, ElementsAre(10, 2));
   store_.commit();
   EXPECT_THAT(written_, ElementsAre(10, 2));
}

TEST_F(DeferredRowTest, aForgottenRowIsNotWritten) {
   deferred_->changed(a_);
   deferred_->forget(b_);
   deferred_->forget(a_);
   store_.commit();
   EXPECT_THAT(written_, IsEmpty());
}

TEST_F(DeferredRowTest, aRowIsWrittenEarlyOnDemand) {
   deferred_->changed(a_);
   deferred_->flush(b_);
   EXPECT_THAT(written_, IsEmpty());
   deferred_->flush(a_);
   EXPECT_THAT(written_, ElementsAre(1));
   store_.commit();
   EXPECT_THAT(written_, ElementsAre(1));
}

TEST_F(DeferredRowTest, theLastRowIsWrittenAtTheEndAndNoneLater) {
   deferred_->changed(a_);
   deferred_.reset();
   EXPECT_THAT(written_, ElementsAre(1));
   store_.commit();
   EXPECT_THAT(written_, ElementsAre(1));
}

}  // namespace
}  // namespace softswitch
