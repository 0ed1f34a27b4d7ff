#include "OrvSdkRpc/mirror/IntfService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockIntfMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/IntfRequests.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orv::oper_status_t;
using orvtest::ethernet1;
using orvtest::ethernet2;
using orvtest::ethernet3;
using orvtest::iterOver;
using orvtest::ofIntf;
using testing::InSequence;
using testing::Return;
using testing::Throw;
using Words = orv::invalid_argument_error;

class IntfServiceTest
     : public MainLoop,
       public orvtest::MirrorFixture<IntfService, remote::IntfMgrService, orvtest::MockIntfMgr> {
protected:
   static remote::WatchIntfRequest all(const std::vector<int>& fields = {}, bool value = true) {
      remote::WatchIntfRequest request;
      request.set_all(value);
      return withFields(request, fields);
   }
   static remote::WatchIntfRequest one(const std::string& intf, const std::vector<int>& fields = {}) {
      remote::WatchIntfRequest request;
      request.mutable_intf()->set_name(intf);
      return withFields(request, fields);
   }
   static remote::WatchIntfRequest withFields(remote::WatchIntfRequest request,
                                              const std::vector<int>& fields) {
      for (const int field : fields)
         request.mutable_fields_control()->add_fields(static_cast<remote::IntfField>(field));
      return request;
   }
   void oper(const orv::intf_id_t& intf, oper_status_t status) {
      callBack([&](auto& handler) { handler.on_oper_status(intf, status); });
   }
   // The switch's interfaces, all up, enabled and with a description.
   void tableIs(std::vector<orv::intf_id_t> intfs) {
      EXPECT_CALL(mgr_, intf_iter()).WillRepeatedly([intfs] {
         EXPECT_TRUE(locked());
         return iterOver<orv::intf_iter_t>(intfs);
      });
      EXPECT_CALL(mgr_, oper_status).WillRepeatedly([](const orv::intf_id_t&) {
         EXPECT_TRUE(locked());
         return oper_status_t::up;
      });
      EXPECT_CALL(mgr_, admin_enabled).WillRepeatedly(Return(true));
      EXPECT_CALL(mgr_, description).WillRepeatedly([](const orv::intf_id_t& intf) {
         return "to " + intf.to_string();
      });
   }
   // A message in short form: "Ethernet1 created oper=1 admin=1 text='x'", "ack".
   static std::string shown(const std::optional<remote::WatchIntfResponse>& response) {
      if (!response) return "end";
      if (response->ack()) return "ack";
      std::string text = response->intf().name();
      if (response->has_event())
         text += response->event() == remote::INTF_EVENT_CREATED ? " created" : " deleted";
      if (response->has_oper_status()) text += " oper=" + std::to_string(response->oper_status());
      if (response->has_admin_enabled()) text += response->admin_enabled() ? " admin=1" : " admin=0";
      if (response->has_description()) text += " text='" + response->description() + "'";
      return text;
   }
};

TEST_F(IntfServiceTest, whatAnInterfaceIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, exists(ethernet1)).WillOnce([](const orv::intf_id_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::exists, ofIntf<remote::IntfExistsRequest>("Ethernet1")).exists());
   EXPECT_CALL(mgr_, admin_enabled(ethernet1)).WillOnce(Return(true)).WillOnce(Return(false));
   const auto admin = ofIntf<remote::IntfAdminEnabledRequest>("Ethernet1");
   EXPECT_TRUE(ok(&Stub::admin_enabled, admin).admin_enabled());
   EXPECT_FALSE(ok(&Stub::admin_enabled, admin).admin_enabled());
   EXPECT_CALL(mgr_, description(ethernet1)).WillOnce(Return("uplink"));
   EXPECT_EQ(ok(&Stub::description, ofIntf<remote::IntfDescriptionRequest>("Ethernet1")).description(),
             "uplink");
   EXPECT_CALL(mgr_, oper_status(ethernet1)).WillOnce(Return(oper_status_t::down));
   EXPECT_EQ(ok(&Stub::oper_status, ofIntf<remote::IntfOperStatusRequest>("Ethernet1")).oper_status(),
             static_cast<int>(oper_status_t::down));
}

TEST_F(IntfServiceTest, namesGoBothWays) {
   EXPECT_CALL(mgr_, orv_intf_name("et1")).WillOnce(Return(ethernet1)).WillOnce(Throw(Words("no such name")));
   remote::OrvIntfNameRequest request;
   request.set_kernel_intf_name("et1");
   EXPECT_EQ(ok(&Stub::orv_intf_name, request).intf_id().name(), "Ethernet1");
   fails(&Stub::orv_intf_name, request, grpc::StatusCode::INVALID_ARGUMENT, "no such name");
   EXPECT_CALL(mgr_, kernel_intf_name(ethernet1)).WillOnce(Return("et1"));
   EXPECT_EQ(
        ok(&Stub::kernel_intf_name, ofIntf<remote::KernelIntfNameRequest>("Ethernet1")).kernel_intf_name(),
        "et1");
}

TEST_F(IntfServiceTest, interfacesAreListedInTheSwitchesOrder) {
   EXPECT_CALL(mgr_, intf_iter())
        .WillOnce(Return(iterOver<orv::intf_iter_t>({ethernet2, ethernet1})))
        .WillOnce(Return(orv::intf_iter_t()));
   const auto intfs = list(&Stub::intfs, remote::IntfsRequest());
   ASSERT_EQ(intfs.size(), 2U);
   EXPECT_EQ(intfs[0].intf_id().name(), "Ethernet2");
   EXPECT_EQ(intfs[1].intf_id().name(), "Ethernet1");
   EXPECT_TRUE(list(&Stub::intfs, remote::IntfsRequest()).empty());
}

TEST_F(IntfServiceTest, editsReachTheSwitch) {
   EXPECT_CALL(mgr_, admin_enabled_is(ethernet1, true)).WillOnce([](const orv::intf_id_t&, bool) {
      EXPECT_TRUE(locked());
   });
   auto admin = ofIntf<remote::IntfAdminEnabledIsRequest>("Ethernet1");
   admin.set_admin_enabled(true);
   ok(&Stub::admin_enabled_is, admin);
   EXPECT_CALL(mgr_, description_is(ethernet1, "uplink"))
        .WillOnce(Return())
        .WillOnce(Throw(Words("too long")));
   auto description = ofIntf<remote::IntfDescriptionIsRequest>("Ethernet1");
   description.set_description("uplink");
   ok(&Stub::description_is, description);
   fails(&Stub::description_is, description, grpc::StatusCode::INVALID_ARGUMENT, "too long");
}

TEST_F(IntfServiceTest, bulksAreCarriedOutInOrderUpToTheFirstFailure) {
   const InSequence order;
   EXPECT_CALL(mgr_, admin_enabled_is(ethernet1, true));
   EXPECT_CALL(mgr_, admin_enabled_is(ethernet2, false)).WillOnce(Throw(Words("no such interface")));
   remote::BulkIntfAdminEnabledIsRequest admins;
   for (const char* name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      auto& item = *admins.add_requests();
      item = ofIntf<remote::IntfAdminEnabledIsRequest>(name);
      item.set_admin_enabled(item.intf_id().name() == "Ethernet1");
   }
   const auto adminResponse = ok(&Stub::bulk_admin_enabled_is, admins);
   EXPECT_EQ(adminResponse.count(), 1U);
   EXPECT_EQ(adminResponse.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT);
   EXPECT_EQ(adminResponse.status().message(), "no such interface");

   EXPECT_CALL(mgr_, description_is(ethernet1, "a"));
   EXPECT_CALL(mgr_, description_is(ethernet2, "b"));
   remote::BulkIntfDescriptionIsRequest descriptions;
   for (const auto& [name, text] : {std::pair("Ethernet1", "a"), std::pair("Ethernet2", "b")}) {
      auto& item = *descriptions.add_requests();
      item = ofIntf<remote::IntfDescriptionIsRequest>(name);
      item.set_description(text);
   }
   const auto descriptionResponse = ok(&Stub::bulk_description_is, descriptions);
   EXPECT_EQ(descriptionResponse.count(), 2U);
   EXPECT_EQ(descriptionResponse.status().code(), remote::RPC_RESPONSE_STATUS_CODE_SUCCESS);
}

TEST_F(IntfServiceTest, everyKindOfEventIsOneMessageAtOnce) {
   const auto client = watch(all());
   callBack([](auto& handler) {
      handler.on_intf_create(ethernet1);
      handler.on_oper_status(ethernet1, oper_status_t::up);
      handler.on_oper_status(ethernet1, oper_status_t::down);
      handler.on_admin_enabled(ethernet1, false);
      handler.on_admin_enabled(ethernet1, true);
      handler.on_intf_description(ethernet1, "uplink");
      handler.on_intf_description(ethernet1, "");
      handler.on_intf_delete(ethernet1);
   });
   // This takes no turn of the main loop, and nothing is merged.
   for (const char* event :
        {"Ethernet1 created", "Ethernet1 oper=1", "Ethernet1 oper=2", "Ethernet1 admin=0",
         "Ethernet1 admin=1", "Ethernet1 text='uplink'", "Ethernet1 text=''", "Ethernet1 deleted"}) {
      EXPECT_EQ(shown(client->next()), event);
   }
}

TEST_F(IntfServiceTest, aStatusThatTheWireDoesNotKnowCostsItsEventAndATrace) {
   const auto client = watch(all());
   const orvtest::TraceCapture traces("intf/0");
   oper(ethernet1, static_cast<oper_status_t>(9));
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"on_oper_status is not told: invalid oper_status_t"});
   oper(ethernet2, oper_status_t::up);
   EXPECT_EQ(client->next()->intf().name(), "Ethernet2");
}

TEST_F(IntfServiceTest, aDumpLeavesOutAStatusThatTheWireDoesNotKnow) {
   EXPECT_CALL(mgr_, intf_iter()).WillOnce(Return(iterOver<orv::intf_iter_t>({ethernet1, ethernet2})));
   EXPECT_CALL(mgr_, oper_status(ethernet1)).WillOnce(Return(oper_status_t::up));
   EXPECT_CALL(mgr_, oper_status(ethernet2)).WillOnce(Return(static_cast<oper_status_t>(9)));
   auto request = all();
   request.mutable_fields_control()->add_fields(remote::INTF_FIELD_OPER_STATUS);
   const auto client = open(request);
   EXPECT_TRUE(client->next()->has_oper_status());
   const auto second = client->next();
   ASSERT_TRUE(second);
   EXPECT_EQ(second->intf().name(), "Ethernet2");
   EXPECT_FALSE(second->has_oper_status());
   EXPECT_TRUE(client->next()->ack());
}

TEST_F(IntfServiceTest, withoutFieldsThereAreEventsButNoDump) {
   // The mock is strict: the table is not read.
   const orvtest::TraceCapture traces("intf/9");
   auto emptyControl = all();
   emptyControl.mutable_fields_control();
   for (const auto& request : {all(), emptyControl, all({4}), all({-1, 17})}) {
      auto client = watch(request);
      oper(ethernet1, oper_status_t::up);
      EXPECT_EQ(shown(client->next()), "Ethernet1 oper=1");
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
   EXPECT_EQ(traces.count("Not performing a dump as no dump fields have been requested"), 4U);
   EXPECT_EQ(traces.count("Unrecognised field 4 in dump request"), 1U);
   EXPECT_EQ(traces.count("Unrecognised field -1 in dump request"), 1U);
   EXPECT_EQ(traces.count("Unrecognised field 17 in dump request"), 1U);
}

TEST_F(IntfServiceTest, withoutADumpTheRequestDecidesAboutTheAcknowledgement) {
   auto request = all();
   request.set_ack(true);
   const auto client = open(request);
   EXPECT_EQ(shown(client->next()), "ack");
   oper(ethernet1, oper_status_t::up);
   EXPECT_EQ(shown(client->next()), "Ethernet1 oper=1");
}

TEST_F(IntfServiceTest, theTableComesFirstThenTheAcknowledgementThenEvents) {
   const orvtest::TraceCapture traces("intf/9");
   tableIs({ethernet1, ethernet2});
   const auto client = open(all({remote::INTF_FIELD_ALL}));
   EXPECT_EQ(shown(client->next()), "Ethernet1 oper=1 admin=1 text='to Ethernet1'");
   EXPECT_EQ(shown(client->next()), "Ethernet2 oper=1 admin=1 text='to Ethernet2'");
   EXPECT_EQ(shown(client->next()), "ack");
   // The requested fields do not restrict events.
   callBack([](auto& handler) { handler.on_intf_create(ethernet3); });
   EXPECT_EQ(shown(client->next()), "Ethernet3 created");
   std::size_t ends = 0;
   for (const std::string& text : traces.texts()) {
      if (text.starts_with("handler ") && text.ends_with(" end of dump")) ++ends;
   }
   EXPECT_EQ(ends, 1U);
}

TEST_F(IntfServiceTest, fieldsSelectWhatIsShown) {
   tableIs({ethernet1});
   const std::vector<std::pair<std::vector<int>, std::string>> selections{
        {{1}, "Ethernet1 oper=1"},
        {{2}, "Ethernet1 admin=1"},
        {{3}, "Ethernet1 text='to Ethernet1'"},
        {{3, 1}, "Ethernet1 oper=1 text='to Ethernet1'"},
        {{2, 0, 99}, "Ethernet1 oper=1 admin=1 text='to Ethernet1'"},
   };
   const orvtest::TraceCapture traces("intf/9");
   for (const auto& [fields, expected] : selections) {
      const auto client = open(all(fields));
      EXPECT_EQ(shown(client->next()), expected);
      EXPECT_EQ(shown(client->next()), "ack");
   }
   EXPECT_EQ(orvtest::tracesWith(traces, "Unrecognised field"), 0U) << "what is behind 0 is not read";
   const auto client = open(all({7, 3}));
   EXPECT_EQ(shown(client->next()), "Ethernet1 text='to Ethernet1'");
   EXPECT_EQ(traces.count("Unrecognised field 7 in dump request"), 1U);
}

TEST_F(IntfServiceTest, anEmptyTableIsAcknowledgedAtOnce) {
   EXPECT_CALL(mgr_, intf_iter()).WillOnce(Return(orv::intf_iter_t()));
   const auto client = open(all({0}));
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(IntfServiceTest, aWatchOfOneInterfaceHearsNothingOfOthers) {
   const auto client = watch(one("Ethernet2"));
   oper(ethernet1, oper_status_t::down);
   oper(ethernet2, oper_status_t::up);
   EXPECT_EQ(shown(client->next()), "Ethernet2 oper=1");
}

TEST_F(IntfServiceTest, aDumpOfOneInterfaceGoesOnWithTheEventsThatAreWritten) {
   tableIs({ethernet1, ethernet2});
   const auto client = watch(one("Ethernet2", {1}));
   // The first element was rejected, so nothing is written and the dump pauses.
   oper(ethernet1, oper_status_t::down);
   oper(ethernet2, oper_status_t::down);
   EXPECT_EQ(shown(client->next()), "Ethernet2 oper=2");
   EXPECT_EQ(shown(client->next()), "Ethernet2 oper=1");
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(IntfServiceTest, withoutASelectionOnlyWhatHasNoNameIsSent) {
   const orvtest::TraceCapture traces("intf/9");
   std::size_t enqueued = 0;
   for (const auto& request : {all({}, false), remote::WatchIntfRequest(), one("")}) {
      auto client = watch(request);
      oper(ethernet1, oper_status_t::up);
      EXPECT_EQ(orvtest::tracesWith(traces, "Enqueue "), enqueued);
      oper(orv::intf_id_t(), oper_status_t::up);
      EXPECT_EQ(shown(client->next()), " oper=1");
      ++enqueued;
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
}

TEST_F(IntfServiceTest, selectionsAreComparedAsMessages) {
   remote::WatchIntfRequest request = one("Ethernet1");
   // A field of a later version of the message.
   request.mutable_intf()->MergeFromString("\x78\x01");
   ASSERT_FALSE(request.intf().GetReflection()->GetUnknownFields(request.intf()).empty());
   const orvtest::TraceCapture traces("intf/9");
   const auto client = watch(request);
   oper(ethernet1, oper_status_t::up);
   EXPECT_EQ(orvtest::tracesWith(traces, "Enqueue "), 0U);
}

TEST_F(IntfServiceTest, anEventDuringTheDumpComesInTheOrderOfItsArrival) {
   EXPECT_CALL(mgr_, intf_iter()).WillOnce(Return(iterOver<orv::intf_iter_t>({ethernet1, ethernet2})));
   EXPECT_CALL(mgr_, oper_status(ethernet1)).WillOnce(Return(oper_status_t::up));
   EXPECT_CALL(mgr_, oper_status(ethernet2)).WillOnce([this](const orv::intf_id_t& intf) {
      service_->on_oper_status(intf, oper_status_t::down);
      return oper_status_t::up;
   });
   const auto client = open(all({1}));
   EXPECT_EQ(shown(client->next()), "Ethernet1 oper=1");
   EXPECT_EQ(shown(client->next()), "Ethernet2 oper=2");
   EXPECT_EQ(shown(client->next()), "Ethernet2 oper=1");
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(IntfServiceTest, anInterfaceThatGoesWhileItIsShownIsShownAsDeleted) {
   EXPECT_CALL(mgr_, intf_iter()).WillOnce(Return(iterOver<orv::intf_iter_t>({ethernet1, ethernet2})));
   EXPECT_CALL(mgr_, admin_enabled(ethernet1)).WillOnce(Throw(Words("unknown interface Ethernet1")));
   EXPECT_CALL(mgr_, exists(ethernet1)).WillOnce(Return(false));
   EXPECT_CALL(mgr_, admin_enabled(ethernet2)).WillOnce(Return(true));
   const auto client = open(all({2}));
   EXPECT_EQ(shown(client->next()), "Ethernet1 deleted");
   EXPECT_EQ(shown(client->next()), "Ethernet2 admin=1");
   EXPECT_EQ(shown(client->next()), "ack");
}

TEST_F(IntfServiceTest, anErrorAtTheBeginningOfTheDumpIsTheStatusOfTheCall) {
   EXPECT_CALL(mgr_, intf_iter()).WillOnce(Throw(orv::configuration_error("no table"))).WillRepeatedly([] {
      return iterOver<orv::intf_iter_t>({ethernet1});
   });
   const auto first = open(all({0}));
   EXPECT_EQ(first->finish().error_code(), grpc::StatusCode::FAILED_PRECONDITION);
   meetPump();
   EXPECT_CALL(mgr_, oper_status(ethernet1))
        .WillOnce(Throw(orv::error("broken")))
        .WillOnce(Throw(Words("not of this one")));
   const auto second = open(all({1}));
   EXPECT_EQ(second->finish().error_code(), grpc::StatusCode::INTERNAL);
   meetPump();
   // The interface exists, so the switch's answer counts.
   EXPECT_CALL(mgr_, exists(ethernet1)).WillOnce(Return(true));
   const auto third = open(all({1}));
   const grpc::Status status = third->finish();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   EXPECT_EQ(status.error_message(), "not of this one");
   EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   EXPECT_FALSE(sdkWatched());
}

TEST_F(IntfServiceTest, theSwitchIsWatchedWhileSomebodyListens) {
   EXPECT_FALSE(sdkWatched());
   {
      const auto first = watch(all());
      EXPECT_TRUE(sdkWatched());
      { const auto second = watch(one("Ethernet1")); }
      EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
      EXPECT_TRUE(sdkWatched());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
}

TEST_F(IntfServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
