// A client that learns of the interfaces from a watch alone knows what the switch knows.
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Daemon.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;
using Stub = remote::IntfMgrService::Stub;

// A value is unknown until a message reports it.
struct Intf {
   remote::OperStatus operStatus = remote::OPER_STATUS_UNKNOWN;
   std::string adminEnabled = "unknown";
   std::string description;

   bool operator==(const Intf&) const = default;
   friend std::ostream& operator<<(std::ostream& out, const Intf& intf) {
      return out << remote::OperStatus_Name(intf.operStatus) << ", admin enabled " << intf.adminEnabled
                 << ", '" << intf.description << "'";
   }
};
using Picture = std::map<std::string, Intf>;

std::string truth(bool value) {
   return value ? "true" : "false";
}

class IntfPicture : public testing::Test {
protected:
   IntfPicture() {
      daemon_.start();
      console_.emplace(daemon_.consolePath());
      stub_ = remote::IntfMgrService::NewStub(
           grpc::CreateChannel(daemon_.address(), grpc::InsecureChannelCredentials()));
      remote::WatchIntfRequest request;
      request.set_all(true);
      request.mutable_fields_control()->add_fields(remote::INTF_FIELD_ALL);
      watch_ =
           std::make_unique<orvtest::StreamClient<remote::WatchIntfResponse>>(*stub_, &Stub::watch, request);
      follow([](const auto& message) { return message.ack(); });
   }

   // Updates the picture from the messages, up to the first one that satisfies `last`.
   template <class Last>
   void follow(Last last) {
      while (const auto message = watch_->next()) {
         const std::string& name = message->intf().name();
         if (message->event() == remote::INTF_EVENT_DELETED) {
            picture_.erase(name);
         } else if (!message->ack()) {
            Intf& intf = picture_[name];
            if (message->has_oper_status()) intf.operStatus = message->oper_status();
            if (message->has_admin_enabled()) intf.adminEnabled = truth(message->admin_enabled());
            if (message->has_description()) intf.description = message->description();
         }
         if (last(*message)) return;
      }
      FAIL() << "the watch ended: " << watch_->finish().error_message();
   }
   // Ends with a change of its own: a description that is used nowhere else.
   void followAll() {
      const std::string mark = "mark " + std::to_string(++marks_);
      console_->run("configure interface Ethernet64 description " + mark);
      follow([&](const auto& message) { return message.description() == mark; });
   }

   template <class Rq, class Rp>
   Rp ask(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const remote::IntfId& intf) {
      Rq request;
      *request.mutable_intf_id() = intf;
      grpc::ClientContext context;
      Rp response;
      const grpc::Status status = ((*stub_).*rpc)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << intf.name() << ": " << status.error_message();
      return response;
   }
   // The picture as the unary RPCs report it.
   Picture asRead() {
      Picture result;
      const auto intfs =
           orvtest::StreamClient<remote::IntfsResponse>(*stub_, &Stub::intfs, remote::IntfsRequest()).rest();
      for (const auto& each : intfs) {
         const auto& id = each.intf_id();
         result[id.name()] = {
              .operStatus = ask<remote::IntfOperStatusRequest>(&Stub::oper_status, id).oper_status(),
              .adminEnabled =
                   truth(ask<remote::IntfAdminEnabledRequest>(&Stub::admin_enabled, id).admin_enabled()),
              .description = ask<remote::IntfDescriptionRequest>(&Stub::description, id).description()};
      }
      return result;
   }

   TempDir directory_{"orv-picture-"};
   Daemon daemon_{programPath("orvsdkrpcd"), directory_.path()};
   std::optional<Console> console_;
   std::unique_ptr<Stub> stub_;
   std::unique_ptr<orvtest::StreamClient<remote::WatchIntfResponse>> watch_;
   Picture picture_;
   int marks_ = 0;
};

TEST_F(IntfPicture, interfacesThatComeAreKnownWhole) {
   EXPECT_EQ(picture_, asRead());
   console_->run("configure interface Ethernet1 description to the spine");
   console_->run("configure interface Ethernet2 shutdown");
   for (const char* port : {"Ethernet1", "Ethernet2", "Ethernet3"})
      console_->run(std::string("set hardware ") + port + " removed");
   followAll();
   EXPECT_EQ(picture_.count("Ethernet1"), 0U);
   console_->run("configure interface Loopback77 create");
   console_->run("set hardware Ethernet1 inserted");
   console_->run("set hardware Ethernet2 inserted");
   followAll();
   EXPECT_EQ(picture_["Loopback77"], (Intf{remote::OPER_STATUS_UP, "true", ""}));
   EXPECT_EQ(picture_["Ethernet1"], (Intf{remote::OPER_STATUS_UP, "true", "to the spine"}));
   EXPECT_EQ(picture_["Ethernet2"], (Intf{remote::OPER_STATUS_DOWN, "false", ""}));
   EXPECT_EQ(picture_, asRead());
}

TEST_F(IntfPicture, nothingIsLeftOfAnInterfaceThatComesAndGoesFast) {
   for (int round = 0; round < 50; ++round) {
      console_->run("configure interface Loopback77 create");
      console_->run("configure interface Loopback77 description was here");
      console_->run("configure no interface Loopback77");
   }
   console_->run("configure interface Loopback77 create");
   followAll();
   EXPECT_EQ(picture_["Loopback77"], (Intf{remote::OPER_STATUS_UP, "true", ""}));
   EXPECT_EQ(picture_, asRead());
}

}  // namespace
}  // namespace orvtest
