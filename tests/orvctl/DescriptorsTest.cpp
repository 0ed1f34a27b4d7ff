#include "orvctl/Descriptors.h"

#include <gtest/gtest.h>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

TEST(Descriptors, AMethodIsFoundByEveryFormOfItsName) {
   for (const char* name : {"OrvSdkRpc.pb.orvsdk_service/ip_route", "orvsdk_service/ip_route", "ip_route"}) {
      EXPECT_EQ(methodPath(findMethod(name)), "/OrvSdkRpc.pb.orvsdk_service/ip_route") << name;
   }
}

TEST(Descriptors, TheProgrammingServiceHasEighteenRpcs) {
   const auto services = linkedServices();
   ASSERT_FALSE(services.empty());
   EXPECT_EQ(services[0]->full_name(), "OrvSdkRpc.pb.orvsdk_service");
   EXPECT_EQ(services[0]->method_count(), 18);
}

TEST(Descriptors, AnUnknownNameIsRefused) {
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
