#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvSdkRpcProtos/intf_counter.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
namespace rpc = orv::remote;

using OrvctlCounters = test::Orvctl;

TEST_F(OrvctlCounters, ofThoseNamedAndOfAll) {
   rpc::IntfCountersResponse counters;
   counters.mutable_counters()->set_in_octets(1ULL << 60);
   counters.mutable_counters()->set_out_errors(3);
   rpc::IntfTrafficRatesResponse rates;
   rates.mutable_rates()->set_in_pkts_rate(999.9999999999994);
   rates.mutable_rates()->set_in_bits_rate(1.5);
   rates.mutable_rates()->set_out_pkts_rate(0);
   rates.mutable_rates()->set_out_bits_rate(8e17);
   rates.mutable_rates()->set_sample_time(1763719828.5);
   rpc::IntfsResponse one;
   one.mutable_intf_id()->set_name("Ethernet1");
   server_.mirror.answer("IntfCounterMgrService/intf_counters", counters);
   server_.mirror.answer("IntfCounterMgrService/intf_traffic_rates", rates);
   server_.mirror.answer("IntfMgrService/intfs", one);
   server_.start();
   EXPECT_THAT(orvctl({"counters", "show", "Ethernet2"}).out, HasSubstr("1152921504606846976"));
   EXPECT_EQ(orvctl({"counters", "rates"}).out,
             "NAME       IN PKTS RATE  IN BITS RATE  OUT PKTS RATE  OUT BITS RATE\n"
             "Ethernet1  1000          1.5           0              800000000000000000\n");
   const auto json = nlohmann::json::parse(orvctl({"--json", "counters", "rates", "Ethernet3"}).out);
   EXPECT_EQ(json["name"], "Ethernet3");
   EXPECT_EQ(json["in_bits_rate"], 1.5);
   EXPECT_EQ(json["in_pkts_rate"], 999.9999999999994);
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(IntfCounterMgrService/intf_counters {"intf_id":{"name":"Ethernet2"}})",
                           "IntfMgrService/intfs {}",
                           R"(IntfCounterMgrService/intf_traffic_rates {"intf_id":{"name":"Ethernet1"}})",
                           R"(IntfCounterMgrService/intf_traffic_rates {"intf_id":{"name":"Ethernet3"}})"));
}

}  // namespace
}  // namespace orvctl
