#include "OrvSdkRpc/mirror/Forward.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpcProtos/acl.grpc.pb.h"
#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "orv/error.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Intf = IntfMgrService::AsyncService;
using Acl = AclMgrService::AsyncService;

// Operations with the SDK's signatures, which record their calls.
struct Manager {
   [[nodiscard]] std::string description(const orv::intf_id_t& intf) const {
      return "of " + std::string(intf.name());
   }
   void description_is(const orv::intf_id_t& intf, const std::string& description) {
      calls.push_back(std::string(intf.name()) + " " + description);
   }
   [[nodiscard]] orv::oper_status_t oper_status(const orv::intf_id_t&) const {
      return orv::oper_status_t::up;
   }
   void acl_apply(const orv::acl_key_t& key, const orv::intf_id_t& intf, orv::acl_direction_t, bool apply) {
      calls.push_back(std::string(key.acl_name()) + " " + std::string(intf.name()) +
                      (apply ? " on" : " off"));
   }
   void acl_commit() { calls.emplace_back("commit"); }
   [[nodiscard]] std::vector<orv::intf_id_t> intf_iter() const { return {orv::intf_id_t("Ethernet7")}; }

   std::vector<std::string> calls;
};

struct Service {
   [[nodiscard]] Manager& manager() { return mgr; }
   Manager mgr;
};

struct Description : Getter<&Intf::Requestdescription, &Manager::description,
                            &IntfDescriptionResponse::mutable_description, &IntfDescriptionRequest::intf_id> {
};
struct OperStatusOf : Getter<&Intf::Requestoper_status, &Manager::oper_status,
                             &IntfOperStatusResponse::set_oper_status, &IntfOperStatusRequest::intf_id> {};
struct DescriptionIs : Setter<&Intf::Requestdescription_is, &Manager::description_is,
                              &IntfDescriptionIsRequest::intf_id, &IntfDescriptionIsRequest::description> {};
struct BulkDescriptionIs : BulkOf<DescriptionIs, &Intf::Requestbulk_description_is> {};
struct Intfs : Lister<&Intf::Requestintfs, &Manager::intf_iter, &IntfsResponse::mutable_intf_id> {};
struct AclApply : Setter<&Acl::Requestacl_apply, &Manager::acl_apply, &AclApplyRequest::key,
                         &AclApplyRequest::intf, &AclApplyRequest::direction, &AclApplyRequest::apply> {};
struct AclCommit : Setter<&Acl::Requestacl_commit, &Manager::acl_commit> {};

TEST(Forward, aGetterConvertsTheKeyAndTheValue) {
   Service service;
   IntfDescriptionRequest request;
   request.mutable_intf_id()->set_name("Ethernet1");
   EXPECT_EQ(Description::impl(request, service).description(), "of Ethernet1");
   EXPECT_EQ(OperStatusOf::impl({}, service).oper_status(), OPER_STATUS_UP);
}

TEST(Forward, aSetterHandsTheFieldsOnInTheirOrder) {
   Service service;
   IntfDescriptionIsRequest request;
   request.mutable_intf_id()->set_name("Ethernet1");
   request.set_description("uplink");
   DescriptionIs::impl(request, service);
   BulkDescriptionIs::impl(request, service);
   AclCommit::impl({}, service);
   EXPECT_EQ(service.mgr.calls, (std::vector<std::string>{"Ethernet1 uplink", "Ethernet1 uplink", "commit"}));
}

// Of several bad fields the first one is reported, and nothing is called.
TEST(Forward, theFieldsAreConvertedInTheirOrder) {
   Service service;
   AclApplyRequest request;
   request.mutable_key()->set_acl_name("acl");
   request.mutable_intf()->set_name("Ethernet1");
   request.set_direction(static_cast<AclDirection>(77));
   const auto refusal = [&]() -> std::string {
      try {
         AclApply::impl(request, service);
      } catch (const orv::error& e) {
         return e.what();
      }
      return {};
   };
   const std::string direction = refusal();
   EXPECT_NE(direction, "");
   request.mutable_key()->set_acl_type(static_cast<AclType>(77));
   const std::string key = refusal();
   EXPECT_NE(key, "");
   EXPECT_NE(key, direction);
   EXPECT_TRUE(service.mgr.calls.empty());
   request.mutable_key()->clear_acl_type();
   request.set_direction(ACL_DIRECTION_IN);
   request.set_apply(true);
   EXPECT_EQ(refusal(), "");
   EXPECT_EQ(service.mgr.calls, std::vector<std::string>{"acl Ethernet1 on"});
}

TEST(Forward, aListerConvertsEachElementIntoItsField) {
   Service service;
   const auto elements = Intfs::iterator({}, service);
   ASSERT_EQ(elements.size(), 1U);
   EXPECT_EQ(Intfs::convert(elements.front()).intf_id().name(), "Ethernet7");
}

}  // namespace
}  // namespace OrvSdkRpc
