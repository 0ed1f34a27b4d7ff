#include "orvctl/Descriptors.h"

#include <gtest/gtest.h>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

TEST(Descriptors, aMethodIsFoundByEveryFormOfItsName) {
   for (const char* name : {"OrvSdkRpc.pb.orvsdk_service/ip_route", "orvsdk_service/ip_route", "ip_route"}) {
      EXPECT_EQ(methodPath(findMethod(name)), "/OrvSdkRpc.pb.orvsdk_service/ip_route") << name;
   }
}

TEST(Descriptors, aBareNameIsTheProgrammingServicesFirst) {
   EXPECT_EQ(methodPath(findMethod("nexthop_group")), "/OrvSdkRpc.pb.orvsdk_service/nexthop_group");
   EXPECT_EQ(methodPath(findMethod("NexthopGroupMgrService/nexthop_group")),
             "/orv.remote.NexthopGroupMgrService/nexthop_group");
   EXPECT_EQ(methodPath(findMethod("acl_commit")), "/orv.remote.AclMgrService/acl_commit");
}

TEST(Descriptors, aBareNameOfSeveralServicesIsRefused) {
   try {
      findMethod("watch");
      FAIL() << "'watch' was found";
   } catch (const UsageError& error) {
      EXPECT_STREQ(
           error.what(),
           "the RPC is 'watch', expected SERVICE/METHOD: both AclMgrService and AgentService have it");
   }
}

TEST(Descriptors, theMirrorServicesAreLinked) {
   std::vector<std::string> names;
   for (const auto* service : OrvSdkRpc::pb::services())
      names.push_back(service->name());
   EXPECT_EQ(names, (std::vector<std::string>{
                         "orvsdk_service", "AclMgrService", "AgentService", "ClassMapMgrService",
                         "EthPhyIntfMgrService", "FibMgrService", "IntfMgrService", "IntfCounterMgrService",
                         "IpRouteMgrService", "MplsRouteMgrService", "MplsVrfLabelMgrService",
                         "NexthopGroupMgrService", "PolicyMapMgrService", "PolicyMapCountersService"}));
}

TEST(Descriptors, theProgrammingServiceHasEighteenRpcs) {
   const auto services = OrvSdkRpc::pb::services();
   ASSERT_FALSE(services.empty());
   EXPECT_EQ(services[0]->full_name(), "OrvSdkRpc.pb.orvsdk_service");
   EXPECT_EQ(services[0]->method_count(), 18);
}

TEST(Descriptors, anUnknownNameIsRefused) {
   for (const char* name :
        {"", "nope", "nope/ip_route", "orvsdk_service/nope", "orvsdk_service/", "/ip_route"}) {
      try {
         findMethod(name);
         FAIL() << "'" << name << "' was found";
      } catch (const UsageError& error) {
         EXPECT_TRUE(std::string(error.what())
                          .starts_with(std::string("the RPC is '") + name + "', expected SERVICE/METHOD"));
      }
   }
}

}  // namespace
}  // namespace orvctl
