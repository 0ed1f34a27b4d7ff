// Responses whose entries are overwritten from batch to batch.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "OrvSdkRpc/handlers/BulkStreams.h"
#include "testing/server/StreamProbe.h"

namespace OrvSdkRpc {
namespace {

struct Batches {
   static constexpr auto method = &orvtest::StreamProbe::AsyncService::Requestcounters;
   using Entry = test::CountersEntry;
   static constexpr int batchMax = 3;
   static auto& entries(test::CountersResponse& response) { return *response.mutable_data(); }
};

std::size_t sizeOf(const test::CountersResponse& response) {
   test::CountersResponse received;
   EXPECT_TRUE(received.ParseFromString(response.SerializeAsString()));
   return static_cast<std::size_t>(received.data_size());
}

TEST(ReusedBatchTest, aBatchHasWhatWasAddedSinceTheLastClear) {
   ReusedBatch<Batches> batch;
   EXPECT_EQ(sizeOf(batch.response()), 0U);
   for (const std::size_t size : {3, 1, 0, 2, 3}) {
      for (std::size_t i = 0; i < size; ++i)
         batch.add().set_key(10 * size + i);
      ASSERT_EQ(sizeOf(batch.response()), size);
      for (std::size_t i = 0; i < size; ++i)
         EXPECT_EQ(batch.response().data(static_cast<int>(i)).key(), 10 * size + i);
      batch.clear();
      EXPECT_EQ(sizeOf(batch.response()), 0U);
   }
}

TEST(ReusedBatchTest, itIsFullAtItsLimit) {
   ReusedBatch<Batches> batch;
   for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < Batches::batchMax; ++i) {
         EXPECT_FALSE(batch.full());
         batch.add();
      }
      EXPECT_TRUE(batch.full());
      batch.clear();
   }
}

// An entry keeps its sub-messages, so that overwriting them allocates nothing.
TEST(ReusedBatchTest, entriesAndWhatTheyHoldAreThoseOfTheBatchBefore) {
   ReusedBatch<Batches> batch;
   std::set<const void*> first;
   for (int i = 0; i < 3; ++i) {
      Batches::Entry& entry = batch.add();
      entry.mutable_detail()->set_number(7);
      first.insert(&entry);
      first.insert(&entry.detail());
   }
   EXPECT_EQ(first.size(), 6U);
   batch.clear();
   std::set<const void*> second;
   for (int i = 0; i < 3; ++i) {
      Batches::Entry& entry = batch.add();
      EXPECT_EQ(entry.detail().number(), 7U);
      second.insert(&entry);
      second.insert(&entry.detail());
   }
   EXPECT_EQ(second, first);
}

}  // namespace
}  // namespace OrvSdkRpc
