#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

class StreamingAdapterHandlerTest : public orvtest::StreamFixture {};

TEST_F(StreamingAdapterHandlerTest, eachStreamHasItsOwnFilter) {
   const auto everything = watch();
   const auto one = watch(key("a"));
   service_->publish("b", 1);
   service_->publish("a", 2);
   EXPECT_EQ(everything->next()->key(), "b");
   EXPECT_EQ(everything->next()->key(), "a");
   EXPECT_EQ(one->next()->key(), "a");
}

TEST_F(StreamingAdapterHandlerTest, anAcknowledgementPassesAFilterThatRejectsEverything) {
   test::WatchRequest request;
   request.set_all(false);
   request.set_ack(true);
   const auto client = watch(request);
   service_->publish("a", 1);
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_TRUE(response->ack());
   EXPECT_EQ(response->key(), "");
}

TEST_F(StreamingAdapterHandlerTest, withoutAnAckInTheRequestThereIsNone) {
   const auto client = watch();
   service_->publish("a", 1);
   const auto response = client->next();
   EXPECT_FALSE(response->ack());
   EXPECT_EQ(response->key(), "a");
}

TEST_F(StreamingAdapterHandlerTest, theQueueLimitIsTheSameForEveryService) {
   const auto first = watch();
   const auto second = watch();
   for (const auto& handler : service_->subscriptions().getHandlers())
      EXPECT_EQ(static_cast<EventStream&>(*handler).queueLimit(), 262144U);
}

// A limit that nothing but the handler before can have told.
class SmallQueueTest : public orvtest::StreamFixture {
protected:
   SmallQueueTest() : StreamFixture(7) {}
};

TEST_F(SmallQueueTest, theSuccessorHasTheQueueLimitOfItsPredecessor) {
   std::vector<std::unique_ptr<WatchClient>> clients;
   for (std::size_t i = 1; i <= 3; ++i) {
      clients.push_back(watchTable(all()));
      ASSERT_TRUE(orvtest::eventually([&] { return tableWatchers() == i; }));
   }
   for (const auto& handler : service_->tableStreams().getHandlers())
      EXPECT_EQ(static_cast<EventStream&>(*handler).queueLimit(), 7U);
}

TEST_F(StreamingAdapterHandlerTest, whatTheDefinitionsSubscribeThrowsIsTheStatusOfTheCall) {
   const std::pair<const char*, grpc::StatusCode> table[] = {
        {"range", grpc::StatusCode::OUT_OF_RANGE},
        {"argument", grpc::StatusCode::INVALID_ARGUMENT},
        {"configuration", grpc::StatusCode::FAILED_PRECONDITION},
        {"unsupported", grpc::StatusCode::UNIMPLEMENTED},
        {"error", grpc::StatusCode::INTERNAL},
        {"std", grpc::StatusCode::UNKNOWN},
   };
   for (const auto& [error, code] : table) {
      test::WatchRequest request = all();
      request.set_error(error);
      const auto client = watchTable(request);
      EXPECT_EQ(client->next(), std::nullopt);
      EXPECT_EQ(client->finish().error_code(), code);
   }
   expectAllFreed("WatchTable");
   EXPECT_EQ(service_->tableStreams().started, 0);
   EXPECT_EQ(service_->tableStreams().stopped, 0);
   test::WatchRequest request = all();
   request.set_error("configuration");
   EXPECT_EQ(watchTable(request)->finish().error_message(), "Events are disabled. Watch failed.");
}

TEST_F(StreamingAdapterHandlerTest, whatStartWatchingThrowsIsTheStatusAndTheNextWatcherIsTheFirstAgain) {
   change([&] { service_->tableStreams().onStart = [] { throw orv::configuration_error("not now"); }; });
   const grpc::Status status = watchTable(all())->finish();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::FAILED_PRECONDITION);
   EXPECT_EQ(status.error_message(), "not now");
   expectAllFreed("WatchTable");
   change([&] { service_->tableStreams().onStart = {}; });
   const auto client = watchTable(all());
   EXPECT_TRUE(orvtest::eventually([&] { return service_->tableStreams().started == 2; }));
   EXPECT_TRUE(service_->tableStreams().watching);
}

TEST_F(StreamingAdapterHandlerTest, aDefinitionMayChooseItsController) {
   const auto client = watchTable(all());
   EXPECT_TRUE(orvtest::eventually([&] { return tableWatchers() == 1; }));
   EXPECT_EQ(watchers(), 0U);
}

}  // namespace
}  // namespace OrvSdkRpc
