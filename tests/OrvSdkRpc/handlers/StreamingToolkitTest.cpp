#include "OrvSdkRpc/handlers/StreamingToolkit.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "testing/base/Eventually.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

// A stream without a call; it records what it writes and how it ends.
class LooseStream final : public EventStream, public std::enable_shared_from_this<LooseStream> {
public:
   LooseStream(GrpcService& service, grpc::ServerCompletionQueue& cq, unsigned long queueLimit)
        : EventStream(service.nextOpaqueId(), service.server(), cq, service) {
      queueLimit_ = queueLimit;
   }

   std::shared_ptr<RequestHandler> chain(OpaqueId) override { return nullptr; }
   void publish(const std::string& key, bool ack = false) {
      auto message = std::make_shared<test::WatchResponse>();
      message->set_key(key);
      message->set_ack(ack);
      enqueue(std::move(message), ack);
   }
   void publishAck() override { publish("", true); }
   [[nodiscard]] CqEventSource source() {
      MutexLock lock(mutex_);
      return source_;
   }
   void sourceIs(CqEventSource source) {
      MutexLock lock(mutex_);
      source_ = source;
   }
   [[nodiscard]] OpaqueId alarmTag() const { return alarmTag_; }
   [[nodiscard]] OpaqueId writeTag() const { return writeTag_; }

   struct Written {
      std::string key;
      OpaqueId tag;
      bool withOptions;
      bool ack;
   };
   std::vector<Written> written;
   // The last status, and how often the stream was finished.
   std::optional<grpc::Status> finished;
   int finishes = 0;
   bool wantsAll = true;
   bool ackRequested = false;
   bool isCancelled = false;
   int subscribed = 0;
   int left = 0;

private:
   [[nodiscard]] std::string peer() const override { return "unix:"; }
   [[nodiscard]] bool cancelled() const override { return isCancelled; }
   [[nodiscard]] std::shared_ptr<RequestHandler> self() override { return shared_from_this(); }
   void write(const google::protobuf::Message& message, OpaqueId tag,
              const grpc::WriteOptions* options) override {
      const auto& response = static_cast<const test::WatchResponse&>(message);
      written.push_back({response.key(), tag, options != nullptr, response.ack()});
   }
   void finishStream(const grpc::Status& status) override {
      finished = status;
      ++finishes;
   }
   void subscribe() override { ++subscribed; }
   void cancel() override {
      // Would deadlock if the stream still held its mutex.
      static_cast<void>(queued());
      ++left;
   }
   [[nodiscard]] bool wants(const google::protobuf::Message&) const override { return wantsAll; }
   [[nodiscard]] bool ackWanted() override { return ackRequested; }
};

// The stream's alarms go to a queue of the test's own, so that the test delivers every event.
class EventStreamTest : public orvtest::StreamFixture {
protected:
   void TearDown() override {
      service_->removeHandler(stream_->tag());
      service_->removeHandler(stream_->alarmTag());
      service_->removeHandler(stream_->writeTag());
      cq_->Shutdown();
      OpaqueId tag = nullptr;
      bool ok = false;
      while (cq_->Next(&tag, &ok))
         service_->events().end();
   }

   void begin(unsigned long limit = streamQueueLimit, bool ack = false) {
      stream_ = std::make_shared<LooseStream>(*service_, *cq_, limit);
      stream_->ackRequested = ack;
      service_->registerHandler(stream_);
      stream_->process(stream_->tag());
   }
   // Waits for the alarm and delivers it.
   void alarm() {
      OpaqueId tag = nullptr;
      bool ok = false;
      ASSERT_TRUE(cq_->Next(&tag, &ok));
      service_->events().end();
      EXPECT_EQ(tag, stream_->alarmTag());
      if (stream_->state() == 1) stream_->process(tag);
   }
   [[nodiscard]] bool alarmWaits() {
      OpaqueId tag = nullptr;
      bool ok = false;
      const auto event = cq_->AsyncNext(&tag, &ok, gpr_inf_past(GPR_CLOCK_REALTIME));
      if (event == grpc::CompletionQueue::GOT_EVENT) service_->events().end();
      return event == grpc::CompletionQueue::GOT_EVENT;
   }
   void writeCompletes() { stream_->process(stream_->writeTag()); }

   grpc::ServerBuilder builder_;
   std::unique_ptr<grpc::ServerCompletionQueue> cq_ = builder_.AddCompletionQueue();
   std::shared_ptr<LooseStream> stream_;
};

TEST_F(EventStreamTest, startsByTakingItsTagsAndSubscribing) {
   begin();
   EXPECT_EQ(stream_->state(), 1);
   EXPECT_EQ(stream_->subscribed, 1);
   EXPECT_EQ(service_->findHandler(stream_->alarmTag()), stream_);
   EXPECT_EQ(service_->findHandler(stream_->writeTag()), stream_);
   EXPECT_NE(stream_->alarmTag(), stream_->writeTag());
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(stream_->source(), CqEventSource::None);
}

TEST_F(EventStreamTest, anAcknowledgementIsQueuedWhenTheRequestAsksForOne) {
   begin(streamQueueLimit, true);
   alarm();
   ASSERT_EQ(stream_->written.size(), 1U);
   EXPECT_TRUE(stream_->written[0].ack);
}

TEST_F(EventStreamTest, aMessageIntoAnIdleStreamSetsTheAlarmAndIsWrittenWhenItFires) {
   begin();
   const orvtest::TraceCapture traces("stream-probe/0-9");
   stream_->publish("a");
   EXPECT_EQ(stream_->source(), CqEventSource::Alarm);
   EXPECT_TRUE(stream_->written.empty());
   alarm();
   ASSERT_EQ(stream_->written.size(), 1U);
   EXPECT_EQ(stream_->written[0].key, "a");
   EXPECT_EQ(stream_->written[0].tag, stream_->writeTag());
   EXPECT_FALSE(stream_->written[0].withOptions);
   EXPECT_EQ(stream_->source(), CqEventSource::Write);
   writeCompletes();
   EXPECT_EQ(stream_->source(), CqEventSource::None);
   EXPECT_EQ(stream_->written.size(), 1U);
   const std::string tag = fmt::format("{}", stream_->tag());
   const std::string alarmTag = fmt::format("{}", stream_->alarmTag());
   const std::string writeTag = fmt::format("{}", stream_->writeTag());
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{"Enqueue key: \"a\" to handler " + tag,
                                       "Set alarm for handler " + tag + "\n",
                                       "process handler " + tag + " source ALARM tag " + alarmTag,
                                       "Write key: \"a\" to handler " + tag + " tag " + writeTag,
                                       "process handler " + tag + " source WRITE tag " + writeTag}));
   EXPECT_EQ(traces.countAt(8), 1U);
   EXPECT_EQ(traces.countAt(9), 4U);
}

TEST_F(EventStreamTest, anAlarmIsDueAtOnce) {
   begin();
   stream_->publish("a");
   // Looks at the queue without waiting.
   EXPECT_TRUE(alarmWaits());
}

TEST_F(EventStreamTest, twoMessagesBeforeTheAlarmFiresMakeOneAlarmAndTwoWrites) {
   begin();
   stream_->publish("a");
   stream_->publish("b");
   alarm();
   EXPECT_EQ(stream_->written.size(), 1U);
   writeCompletes();
   ASSERT_EQ(stream_->written.size(), 2U);
   EXPECT_EQ(stream_->written[0].key, "a");
   EXPECT_EQ(stream_->written[1].key, "b");
   EXPECT_TRUE(stream_->written[1].withOptions);
   writeCompletes();
   EXPECT_EQ(stream_->source(), CqEventSource::None);
   EXPECT_FALSE(alarmWaits());
}

TEST_F(EventStreamTest, aMessageDuringAWriteWaitsForItsCompletionAndSetsNoAlarm) {
   begin();
   stream_->publish("a");
   alarm();
   stream_->publish("b");
   EXPECT_EQ(stream_->source(), CqEventSource::Write);
   EXPECT_FALSE(alarmWaits());
   writeCompletes();
   ASSERT_EQ(stream_->written.size(), 2U);
   EXPECT_EQ(stream_->written[1].key, "b");
   writeCompletes();
   stream_->publish("c");
   EXPECT_EQ(stream_->source(), CqEventSource::Alarm);
   alarm();
   EXPECT_EQ(stream_->written.size(), 3U);
}

TEST_F(EventStreamTest, exactlyTheLimitIsHeldAndTheNextMessageEndsTheStream) {
   begin();
   stream_->publish("first");
   alarm();
   const orvtest::TraceCapture traces("stream-probe/3");
   const auto message = std::make_shared<test::WatchResponse>();
   for (unsigned long i = 0; i < 262144; ++i)
      stream_->enqueue(message, false);
   EXPECT_EQ(stream_->queued(), 262144U);
   EXPECT_EQ(stream_->left, 0);
   EXPECT_TRUE(traces.texts().empty());
   const std::string tag = fmt::format("{}", stream_->tag());
   const std::string unsubscribing = "Queue limit reached (262144) for tag " + tag + ". Unsubscribing.";
   const std::string closing = "Queue limit reached (262144) for tag " + tag + ". Closing stream.";

   stream_->enqueue(message, false);
   EXPECT_EQ(stream_->left, 1);
   EXPECT_FALSE(stream_->finished);
   EXPECT_EQ(traces.texts(), std::vector<std::string>{unsubscribing});
   // The stream unsubscribes once; later messages are dropped.
   stream_->enqueue(message, false);
   stream_->publishAck();
   EXPECT_EQ(stream_->left, 1);

   writeCompletes();
   EXPECT_EQ(traces.texts(), (std::vector<std::string>{unsubscribing, closing}));
   EXPECT_EQ(traces.countAt(3), 2U);
   EXPECT_EQ(stream_->written.size(), 1U);
   ASSERT_TRUE(stream_->finished);
   EXPECT_EQ(stream_->finished->error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
   EXPECT_EQ(stream_->finished->error_message(),
             "Slow stream reader, too many responses waiting in a queue.");
   EXPECT_EQ(stream_->finishes, 1);
   EXPECT_EQ(stream_->state(), 2);
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(message.use_count(), 1);
   // The alarm that should have emptied the queue fires too late.
   alarm();
   EXPECT_EQ(stream_->finishes, 1);
}

TEST_F(EventStreamTest, anOverflowedQueueIsLetGoOfWhileTheLastWriteIsStillOut) {
   begin(4);
   stream_->publish("first");
   alarm();
   auto message = std::make_shared<const test::WatchResponse>();
   const std::weak_ptr<const test::WatchResponse> weak = message;
   for (int i = 0; i < 5; ++i)
      stream_->enqueue(message, false);
   message.reset();
   EXPECT_EQ(stream_->left, 1);
   // The stream is destroyed on the pump, not on the publishing thread.
   EXPECT_FALSE(weak.expired());
   alarm();
   EXPECT_TRUE(weak.expired());
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(stream_->state(), 1);
   EXPECT_FALSE(stream_->finished);
   EXPECT_EQ(stream_->source(), CqEventSource::Write);
   EXPECT_FALSE(alarmWaits());
   writeCompletes();
   ASSERT_TRUE(stream_->finished);
   EXPECT_EQ(stream_->finished->error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
}

TEST_F(EventStreamTest, aClientThatLeavesAnOverflowedStreamEndsIt) {
   begin(4);
   stream_->publish("first");
   alarm();
   for (int i = 0; i < 5; ++i)
      stream_->publish("x");
   stream_->isCancelled = true;
   stream_->callDone();
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(stream_->finishes, 1);
   // Both events are still delivered, and find nothing to do.
   alarm();
   writeCompletes();
   EXPECT_EQ(stream_->finishes, 1);
   EXPECT_EQ(stream_->written.size(), 1U);
}

TEST_F(EventStreamTest, aQueueAtItsLimitLivesOn) {
   begin(4);
   for (int i = 0; i < 4; ++i)
      stream_->publish("x");
   EXPECT_EQ(stream_->left, 0);
   alarm();
   for (int i = 0; i < 4; ++i)
      writeCompletes();
   EXPECT_EQ(stream_->written.size(), 4U);
   EXPECT_FALSE(stream_->finished);
}

TEST_F(EventStreamTest, aMessageForAStreamThatEndsIsDropped) {
   begin(2);
   for (int i = 0; i < 3; ++i)
      stream_->publish("x");
   alarm();
   ASSERT_EQ(stream_->state(), 2);
   const orvtest::TraceCapture traces("stream-probe/0-9");
   stream_->publish("y");
   stream_->publish("", true);
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_TRUE(traces.texts().empty());
}

TEST_F(EventStreamTest, aMessageBehindACancelIsDropped) {
   begin();
   stream_->isCancelled = true;
   stream_->callDone();
   ASSERT_EQ(stream_->state(), 2);
   const orvtest::TraceCapture traces("stream-probe/0-9");
   stream_->publish("y");
   stream_->publishAck();
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(stream_->source(), CqEventSource::None);
   EXPECT_FALSE(alarmWaits());
   EXPECT_TRUE(traces.texts().empty());
}

TEST_F(EventStreamTest, aFilterRejectsMessagesButNoAcknowledgement) {
   begin();
   stream_->wantsAll = false;
   stream_->publish("a");
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(stream_->source(), CqEventSource::None);
   stream_->publishAck();
   alarm();
   ASSERT_EQ(stream_->written.size(), 1U);
   EXPECT_TRUE(stream_->written[0].ack);
}

TEST_F(EventStreamTest, aCancelledAlarmFindsTheStreamEndedAndDoesNothing) {
   begin();
   stream_->publish("a");
   const orvtest::TraceCapture traces("stream-probe/0-9");
   stream_->isCancelled = true;
   stream_->callDone();
   EXPECT_EQ(traces.texts(), std::vector<std::string>{fmt::format("Cancelled handler {}", stream_->tag())});
   EXPECT_EQ(stream_->state(), 2);
   EXPECT_EQ(stream_->left, 1);
   ASSERT_TRUE(stream_->finished);
   EXPECT_TRUE(stream_->finished->ok());
   EXPECT_EQ(stream_->queued(), 0U);
   // The alarm's event is pending; no write is.
   EXPECT_EQ(service_->findHandler(stream_->alarmTag()), stream_);
   EXPECT_EQ(service_->findHandler(stream_->writeTag()), nullptr);
   OpaqueId tag = nullptr;
   bool ok = true;
   ASSERT_TRUE(cq_->Next(&tag, &ok));
   service_->events().end();
   EXPECT_EQ(tag, stream_->alarmTag());
   stream_->process(tag);
   // A tick would have taken note of the event.
   EXPECT_EQ(stream_->source(), CqEventSource::Alarm);
   EXPECT_TRUE(stream_->written.empty());
   EXPECT_EQ(stream_->finishes, 1);
   EXPECT_EQ(stream_->left, 1);
}

TEST_F(EventStreamTest, aCancelDuringAWriteKeepsTheWriteTagOnly) {
   begin();
   stream_->publish("a");
   alarm();
   stream_->isCancelled = true;
   stream_->callDone();
   EXPECT_EQ(service_->findHandler(stream_->alarmTag()), nullptr);
   EXPECT_EQ(service_->findHandler(stream_->writeTag()), stream_);
   // The write that completes finds nothing to do.
   writeCompletes();
   EXPECT_EQ(stream_->written.size(), 1U);
   EXPECT_EQ(stream_->finishes, 1);
   EXPECT_EQ(stream_->left, 1);
}

TEST_F(EventStreamTest, aCancelWithNothingOutstandingGivesBothTagsBack) {
   begin();
   stream_->isCancelled = true;
   stream_->callDone();
   EXPECT_EQ(service_->findHandler(stream_->alarmTag()), nullptr);
   EXPECT_EQ(service_->findHandler(stream_->writeTag()), nullptr);
   EXPECT_EQ(stream_->finishes, 1);
   EXPECT_EQ(stream_->left, 1);
}

TEST_F(EventStreamTest, theEndOfACallThatTheServerClosedIsNoCancel) {
   begin(2);
   for (int i = 0; i < 3; ++i)
      stream_->publish("x");
   EXPECT_EQ(stream_->left, 1);
   alarm();
   ASSERT_EQ(stream_->finishes, 1);
   stream_->callDone();
   stream_->isCancelled = true;
   stream_->callDone();
   EXPECT_EQ(stream_->finishes, 1);
   EXPECT_EQ(stream_->left, 1);
}

TEST_F(EventStreamTest, nothingIsQueuedOnceTheServerStops) {
   begin();
   running_->stop();
   stream_->publish("a");
   EXPECT_EQ(stream_->queued(), 0U);
   EXPECT_EQ(stream_->source(), CqEventSource::None);
}

TEST_F(EventStreamTest, anEventUnderAForeignTagEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   begin();
   EXPECT_DEATH(stream_->process(service_->nextOpaqueId()), "tag == alarmTag_");
}

TEST_F(EventStreamTest, aSourceThatIsNoneOfTheThreeIsALogicError) {
   begin();
   stream_->sourceIs(static_cast<CqEventSource>(7));
   EXPECT_THROW(stream_->process(stream_->writeTag()), std::logic_error);
   stream_->sourceIs(CqEventSource::None);
}

TEST_F(EventStreamTest, aQueuedMessageCostsAnotherStreamTwoPointers) {
   begin();
   const auto message = std::make_shared<const test::WatchResponse>();
   stream_->enqueue(message, false);
   constexpr std::size_t count = 200'000;
   const auto used = [] {
      const struct mallinfo2 info = mallinfo2();
      return info.uordblks + info.hblkhd;
   };
   const std::size_t before = used();
   if (before == 0) GTEST_SKIP() << "this allocator keeps no account";
   for (std::size_t i = 0; i < count; ++i)
      stream_->enqueue(message, false);
   EXPECT_LE(used() - before, 24 * count);
}

class StreamingToolkitTest : public orvtest::StreamFixture {};

TEST_F(StreamingToolkitTest, messagesArriveInOrder) {
   const auto client = watch();
   for (std::uint64_t i = 1; i <= 1000; ++i)
      service_->publish("k", i);
   for (std::uint64_t i = 1; i <= 1000; ++i) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      EXPECT_EQ(response->number(), i);
   }
}

TEST_F(StreamingToolkitTest, aClientThatStopsReadingIsCutOffAndItsNeighboursMissNothing) {
   const auto handlers = [&] { return service_->subscriptions().getHandlers(); };
   // The controller serves the slow stream between the other two.
   std::map<const RequestHandler*, std::unique_ptr<WatchClient>> clients;
   for (int i = 0; i < 3; ++i) {
      auto client = watch();
      for (const auto& stream : handlers()) {
         if (auto& own = clients[stream.get()]; !own && client) own = std::move(client);
      }
   }
   ASSERT_EQ(clients.size(), 3U);
   const auto slow = std::move(clients.extract(handlers().at(1).get()).mapped());
   std::vector<std::unique_ptr<WatchClient>> quick;
   for (auto& [handler, client] : clients)
      quick.push_back(std::move(client));
   // Larger than the client's window, so the write cannot complete until the client reads.
   service_->publish("first", 1, 8U << 20);
   for (const auto& client : quick)
      ASSERT_TRUE(client->next());
   // Every stream is writing the message.
   ASSERT_TRUE(orvtest::eventually([&] {
      for (const auto& stream : handlers()) {
         if (static_cast<EventStream&>(*stream).queued() != 0) return false;
      }
      return true;
   }));
   constexpr std::uint64_t limit = 262144;
   std::vector<std::atomic<std::uint64_t>> received(quick.size());
   std::vector<std::thread> readers;
   for (std::size_t i = 0; i < quick.size(); ++i) {
      readers.emplace_back([&, i] {
         for (auto response = quick[i]->next(); response && response->key() == "k";
              response = quick[i]->next())
            ++received[i];
      });
   }
   test::WatchResponse message;
   const auto publish = [&] {
      message.set_key("k");
      service_->subscriptions().publish(message);
   };
   for (std::uint64_t i = 0; i < limit; ++i)
      publish();
   EXPECT_EQ(watchers(), quick.size() + 1);
   // On a busy machine too, none of the quick clients may be the one that is cut off.
   for (const auto& count : received)
      EXPECT_TRUE(orvtest::eventually([&] { return count > 1; }));
   publish();
   EXPECT_EQ(watchers(), quick.size());
   EXPECT_TRUE(service_->watching);
   service_->publish("after", 1);
   for (auto& reader : readers)
      reader.join();
   for (const auto& count : received)
      EXPECT_EQ(count, limit + 1);
   // The client reads again: it gets the message that was being written, and then the status.
   const auto first = slow->next();
   ASSERT_TRUE(first);
   EXPECT_EQ(first->key(), "first");
   EXPECT_EQ(slow->next(), std::nullopt);
   const grpc::Status status = slow->finish();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
   EXPECT_EQ(status.error_message(), "Slow stream reader, too many responses waiting in a queue.");
   EXPECT_TRUE(orvtest::eventually([&] { return open("Watch") == quick.size(); }));
}

}  // namespace
}  // namespace OrvSdkRpc
