#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::eventually;
using orvtest::StreamClient;
using orvtest::tracesWith;

class IteratorStreamingHandlerTest : public orvtest::StreamFixture {
protected:
   using RowsClient = StreamClient<test::Row>;

   RowsClient rows(std::uint32_t count, const std::string& error = "") {
      test::RowsRequest request;
      request.set_count(count);
      request.set_error(error);
      return RowsClient(*stub_, &Stub::rows, request);
   }
};

TEST_F(IteratorStreamingHandlerTest, anEmptyTableIsOkWithoutAMessage) {
   const orvtest::TraceCapture traces("stream-probe/9");
   auto client = rows(0);
   EXPECT_EQ(client.next(), std::nullopt);
   EXPECT_TRUE(client.finish().ok());
   EXPECT_TRUE(eventually([&] { return tracesWith(traces, "iterator complete handler 0x") == 1; }));
   EXPECT_EQ(traces.texts().back().back(), '\n');
   EXPECT_EQ(tracesWith(traces, "iterator streaming"), 0U);
}

TEST_F(IteratorStreamingHandlerTest, theStatusFollowsTheLastElement) {
   const orvtest::TraceCapture traces("stream-probe/9");
   for (const std::uint32_t count : {1U, 2U, 3U, 1000U}) {
      auto client = rows(count);
      const std::vector<test::Row> all = client.rest();
      ASSERT_EQ(all.size(), count);
      for (std::uint32_t i = 0; i < count; ++i)
         EXPECT_EQ(all[i].number(), i);
      EXPECT_TRUE(client.finish().ok());
   }
   EXPECT_EQ(tracesWith(traces, "iterator streaming number: 999 to handler 0x"), 1U);
   EXPECT_TRUE(eventually([&] { return tracesWith(traces, "iterator complete handler 0x") == 4; }));
   expectAllFreed("Rows");
}

TEST_F(IteratorStreamingHandlerTest, anErrorOfTheIteratorIsTheStatusOfTheCall) {
   const orvtest::TraceCapture traces("stream-probe/9");
   const std::pair<const char*, grpc::StatusCode> table[] = {
        {"range", grpc::StatusCode::OUT_OF_RANGE},
        {"argument", grpc::StatusCode::INVALID_ARGUMENT},
        {"configuration", grpc::StatusCode::FAILED_PRECONDITION},
        {"unsupported", grpc::StatusCode::UNIMPLEMENTED},
        {"error", grpc::StatusCode::INTERNAL},
        {"std", grpc::StatusCode::UNKNOWN},
   };
   for (const auto& [error, code] : table) {
      auto client = rows(3, error);
      EXPECT_EQ(client.next(), std::nullopt);
      EXPECT_EQ(client.finish().error_code(), code);
   }
   EXPECT_TRUE(traces.texts().empty());
   expectAllFreed("Rows");
}

TEST_F(IteratorStreamingHandlerTest, stepsHaveTheSdksLock) {
   orv::host::main_thread_is();
   {
      auto client = rows(10);
      EXPECT_EQ(client.rest().size(), 10U);
   }
   EXPECT_TRUE(service_->stepsLocked);
   orv::host::main_thread_clear();
}

TEST_F(IteratorStreamingHandlerTest, anIteratorThatAnswersByValueIsReadUnderTheLockAlone) {
   orv::host::main_thread_is();
   {
      // Reading it without the lock would end the process.
      StreamClient<test::Row> client(*stub_, &Stub::values, test::RowsRequest());
      EXPECT_EQ(client.rest().size(), 3U);
      EXPECT_TRUE(client.finish().ok());
   }
   orv::host::main_thread_clear();
}

TEST_F(IteratorStreamingHandlerTest, aSlowClientHoldsUpItsWalkAndNobodyElse) {
   service_->rowPayload = 1U << 20;
   const auto own = stub();
   test::RowsRequest request;
   request.set_count(100);
   RowsClient slow(*own, &Stub::rows, request);
   ASSERT_TRUE(slow.next());
   service_->rowPayload = 0;
   EXPECT_EQ(rows(100).rest().size(), 100U);
   EXPECT_EQ(slow.rest().size(), 99U);
   EXPECT_TRUE(slow.finish().ok());
}

// A write with the hint completes as soon as gRPC's buffer has taken the message. A write without it
// completes when the client's window has let the message out.
TEST_F(IteratorStreamingHandlerTest, theBufferHintReachesGrpcSoTheWalkRunsAheadOfTheWindow) {
   constexpr std::size_t payload = 1000;
   constexpr std::size_t window = 65535;
   const orvtest::TraceCapture traces("stream-probe/9");
   service_->rowPayload = payload;
   const auto own = stub();
   test::RowsRequest request;
   request.set_count(1000);
   // The client does not read, so its window keeps its initial size.
   const RowsClient client(*own, &Stub::rows, request);
   EXPECT_TRUE(eventually([&] { return tracesWith(traces, "iterator streaming") > window / payload + 20; }));
}

TEST_F(IteratorStreamingHandlerTest, aClientThatLeavesEndsItsWalk) {
   service_->rowPayload = 1U << 20;
   for (int read = 0; read < 3; ++read) {
      auto client = rows(1000);
      for (int i = 0; i < read; ++i)
         ASSERT_TRUE(client.next());
      client.cancel();
      EXPECT_EQ(client.finish().error_code(), grpc::StatusCode::CANCELLED);
   }
   expectAllFreed("Rows");
}

TEST_F(IteratorStreamingHandlerTest, stopEndsAWalkThatCannotProceed) {
   service_->rowPayload = 8U << 20;
   auto client = rows(1000);
   ASSERT_TRUE(client.next());
   running_->stop();
   EXPECT_EQ(orvtest::liveHandlers("orvtest::Rows,"), 0U);
}

// A list stream without a call; it records what it writes.
class RecordedList final : public ListStream {
public:
   RecordedList(GrpcService& service, int rows) : RecordedList(service, service.cq(), rows) {}
   // Its events go to a queue of the test's own.
   RecordedList(GrpcService& service, grpc::ServerCompletionQueue& cq, int rows)
        : ListStream(service.nextOpaqueId(), service.server(), cq, service), rows_(rows) {}

   std::shared_ptr<RequestHandler> chain(OpaqueId) override { return nullptr; }

   struct Written {
      OpaqueId tag;
      bool bufferHint;
   };
   std::vector<Written> written;
   std::optional<grpc::Status> finished;
   int begun = 0;
   // How many more steps the search for the next element takes.
   int searches = 0;
   bool lockedAtWrite = false;

private:
   [[nodiscard]] std::string peer() const override { return "ipv4:192.0.2.1:4000"; }
   [[nodiscard]] bool cancelled() const override { return false; }
   [[nodiscard]] std::shared_ptr<RequestHandler> self() override { return nullptr; }
   void write(const google::protobuf::Message&, OpaqueId tag, const grpc::WriteOptions* options) override {
      lockedAtWrite = lockedAtWrite || orv::detail::this_thread_lock.depth != 0;
      written.push_back({tag, options && options->get_buffer_hint()});
   }
   void finishStream(const grpc::Status& status) override { finished = status; }
   void begin() override { ++begun; }
   void step() override { --rows_; }
   [[nodiscard]] bool atElement() const override { return searches == 0 && rows_ > 0; }
   [[nodiscard]] bool searching() const override { return searches > 0; }
   void search() override {
      EXPECT_NE(orv::detail::this_thread_lock.depth, 0);
      --searches;
   }
   void writeElement(bool first) override { writeResponse(test::Row(), first); }

   int rows_;
};

class ListStreamTest : public orvtest::StreamFixture {};

TEST_F(ListStreamTest, oneElementIsOnePlainWriteAndTheStatusComesAfterItsCompletion) {
   RecordedList list(*service_, 1);
   list.process(list.tag());
   ASSERT_EQ(list.written.size(), 1U);
   EXPECT_EQ(list.written[0].tag, list.tag());
   EXPECT_FALSE(list.written[0].bufferHint);
   EXPECT_FALSE(list.finished);
   EXPECT_EQ(list.state(), 1);
   list.process(list.tag());
   ASSERT_TRUE(list.finished);
   EXPECT_TRUE(list.finished->ok());
   EXPECT_EQ(list.state(), 2);
   EXPECT_EQ(list.written.size(), 1U);
}

TEST_F(ListStreamTest, onlyTheFirstWriteIsPushedOutAtOnce) {
   RecordedList list(*service_, 3);
   for (int i = 0; i < 3; ++i)
      list.process(list.tag());
   ASSERT_EQ(list.written.size(), 3U);
   EXPECT_FALSE(list.written[0].bufferHint);
   EXPECT_TRUE(list.written[1].bufferHint);
   EXPECT_TRUE(list.written[2].bufferHint);
   EXPECT_FALSE(list.lockedAtWrite);
}

TEST_F(ListStreamTest, aSearchGoesOnInPartsAndItsFirstFindIsPushedOutAtOnce) {
   grpc::ServerBuilder builder;
   const auto cq = builder.AddCompletionQueue();
   RecordedList list(*service_, *cq, 2);
   list.searches = 2;
   OpaqueId tag = list.tag();
   bool ok = true;
   for (int part = 0; part < 2; ++part) {
      list.process(tag);
      EXPECT_TRUE(list.written.empty());
      EXPECT_FALSE(list.finished);
      EXPECT_EQ(list.state(), 1);
      // The stream schedules itself again.
      ASSERT_TRUE(cq->Next(&tag, &ok));
      service_->events().end();
      EXPECT_TRUE(ok);
      EXPECT_EQ(tag, list.tag());
   }
   list.process(tag);
   ASSERT_EQ(list.written.size(), 1U);
   EXPECT_FALSE(list.written[0].bufferHint);
   list.process(list.tag());
   EXPECT_EQ(list.written.size(), 2U);
   EXPECT_EQ(list.begun, 1);
   cq->Shutdown();
   EXPECT_FALSE(cq->Next(&tag, &ok));
}

TEST_F(ListStreamTest, aClientThatHasLeftEndsTheWalkAtItsNextStep) {
   RecordedList searching(*service_, 3);
   searching.searches = 1000;
   RecordedList writing(*service_, 3);
   for (RecordedList* list : {&searching, &writing}) {
      list->process(list->tag());
      list->callDone();
      EXPECT_FALSE(list->finished);
      list->process(list->tag());
      ASSERT_TRUE(list->finished);
      EXPECT_EQ(list->finished->error_code(), grpc::StatusCode::CANCELLED);
      EXPECT_EQ(list->state(), 2);
   }
   EXPECT_EQ(searching.searches, 1000);
   EXPECT_EQ(writing.written.size(), 1U);
}

TEST_F(ListStreamTest, aServerThatStopsEndsTheWalkAtItsNextStep) {
   RecordedList list(*service_, 3);
   list.searches = 1000;
   list.process(list.tag());
   running_->stop();
   list.process(list.tag());
   EXPECT_TRUE(list.finished);
   EXPECT_EQ(list.searches, 1000);
}

TEST(ListStream, aRemotePeerOfAnInsecureServerIsRejectedBeforeTheIteratorIsMade) {
   auto* const service = new orvtest::StreamProbe;
   const orvtest::RunningServer running{
        std::unique_ptr<orvtest::StreamProbe>(service),
        {.sslProfileState = SslProfileState::NotConfigured, .allowInsecureRemote = false}};
   RecordedList list(*service, 3);
   list.process(list.tag());
   ASSERT_TRUE(list.finished);
   EXPECT_EQ(list.finished->error_code(), grpc::StatusCode::UNAUTHENTICATED);
   EXPECT_EQ(list.finished->error_message(), "Insecure remote client rejected");
   EXPECT_TRUE(list.written.empty());
   EXPECT_EQ(list.begun, 0);
   EXPECT_EQ(list.state(), 2);
}

}  // namespace
}  // namespace OrvSdkRpc
