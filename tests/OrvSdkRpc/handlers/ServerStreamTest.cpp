#include "OrvSdkRpc/handlers/ServerStream.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "testing/base/FreePort.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::allFields;

// An insecure server on two addresses. A peer that connects to 127.0.0.1 is not local to the other address, a
// unix socket; a peer on the unix socket is local to both.
class InsecureServerTest : public orvtest::StreamFixture {
protected:
   explicit InsecureServerTest(std::string tcp = orvtest::freeLoopbackAddress())
        : StreamFixture(streamQueueLimit, {.addresses = {tcp},
                                           .sslProfileState = SslProfileState::NotConfigured,
                                           .allowInsecureRemote = false}),
          remote_(stub(tcp)) {}

   // Opens the stream as a remote peer, which must be rejected.
   template <class Rq, class Rp>
   void expectRejected(std::unique_ptr<grpc::ClientReader<Rp>> (Stub::*call)(grpc::ClientContext*, const Rq&),
                       const Rq& request) {
      SCOPED_TRACE(Rq::descriptor()->name() + " " + request.ShortDebugString());
      orvtest::StreamClient<Rp> client(*remote_, call, request);
      EXPECT_FALSE(client.next()) << "something was written";
      const grpc::Status status = client.finish();
      EXPECT_EQ(status.error_code(), grpc::StatusCode::UNAUTHENTICATED);
      EXPECT_EQ(status.error_message(), "Insecure remote client rejected");
   }
   // The SDK was not called, and no stream has joined a controller.
   void expectUntouched() {
      for (const char* definition : {"Rows", "Watch", "WatchTable", "Rates", "Counters"})
         expectAllFreed(definition);
      EXPECT_EQ(service_->iterators, 0);
      EXPECT_EQ(service_->started, 0);
      EXPECT_EQ(service_->tableStreams().started, 0);
      EXPECT_EQ(service_->rateStreams().started, 0);
      EXPECT_EQ(service_->counterStreams().started, 0);
   }

   std::unique_ptr<Stub> remote_;
};

TEST_F(InsecureServerTest, aRemotePeerGetsNoList) {
   test::RowsRequest request;
   request.set_count(3);
   expectRejected(&Stub::rows, request);
   expectUntouched();
}

TEST_F(InsecureServerTest, aRemotePeerGetsNoEventsAndNoAcknowledgement) {
   test::WatchRequest request = all();
   expectRejected(&Stub::watch, request);
   request.set_ack(true);
   expectRejected(&Stub::watch, request);
   expectRejected(&Stub::watch_table, request);
   expectUntouched();
}

TEST_F(InsecureServerTest, aRemotePeerGetsNoDump) {
   bool read = false;
   change([&] {
      service_->table = {{"a", 1}, {"b", 2}};
      service_->onDumpElement = [&](const std::string&) { read = true; };
      // This would be the status if the iterator were made before the peer is checked.
      service_->iteratorError = "range";
   });
   expectRejected(&Stub::watch_table, withFields(all(), {allFields}));
   expectUntouched();
   change([&] { EXPECT_FALSE(read); });
}

TEST_F(InsecureServerTest, aRemotePeerGetsNoBatchesNoFirstMessageAndNoSnapshot) {
   test::CountersResponse response;
   response.add_data()->set_key(1);
   change([&] { service_->snapshot.push_back(response); });
   test::RatesRequest rates;
   expectRejected(&Stub::rates, rates);
   rates.set_first_message(true);
   expectRejected(&Stub::rates, rates);
   // The expression is not even parsed.
   rates.set_name_regex("(");
   expectRejected(&Stub::rates, rates);
   expectRejected(&Stub::counters, test::CountersRequest());
   test::CountersRequest notServed;
   notServed.set_compress_keys(false);
   expectRejected(&Stub::counters, notServed);
   expectUntouched();
}

TEST_F(InsecureServerTest, aLocalPeerGetsItsStreams) {
   change([&] { service_->table = {{"a", 1}}; });
   orvtest::StreamClient<test::WatchResponse> dump(*stub_, &Stub::watch_table,
                                                   withFields(all(), {allFields}));
   EXPECT_EQ(dump.next()->key(), "a");
   EXPECT_TRUE(dump.next()->ack());
   test::RatesRequest request;
   request.set_first_message(true);
   orvtest::StreamClient<test::RatesResponse> rates(*stub_, &Stub::rates, request);
   EXPECT_EQ(rates.next()->data_size(), 0);
}

}  // namespace
}  // namespace OrvSdkRpc
