#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "OrvSdkRpcProtos/eth_phy_intf.pb.h"
#include "OrvSdkRpcProtos/intf.pb.h"
#include "OrvctlRun.h"

namespace orvctl {
namespace {

using test::Result;
using testing::ElementsAre;
namespace rpc = orv::remote;

class OrvctlIntf : public test::Orvctl {
protected:
   static rpc::WatchIntfResponse row(const std::string& name, bool admin, rpc::OperStatus oper,
                                     const std::string& description) {
      rpc::WatchIntfResponse shown;
      shown.mutable_intf()->set_name(name);
      shown.set_admin_enabled(admin);
      shown.set_oper_status(oper);
      shown.set_description(description);
      return shown;
   }
};

TEST_F(OrvctlIntf, listsNames) {
   rpc::IntfsResponse one, two;
   one.mutable_intf_id()->set_name("Ethernet1");
   two.mutable_intf_id()->set_name("Loopback0");
   server_.mirror.answer("IntfMgrService/intfs", one, two);
   server_.start();
   EXPECT_EQ(orvctl({"intf", "list"}).out, "NAME\nEthernet1\nLoopback0\n");
   EXPECT_EQ(orvctl({"--json", "intf", "list"}).out, "{\"name\":\"Ethernet1\"}\n{\"name\":\"Loopback0\"}\n");
}

TEST_F(OrvctlIntf, showsThePictureOfADump) {
   rpc::WatchIntfResponse change, gone, whole;
   change.mutable_intf()->set_name("Ethernet1");
   change.set_oper_status(rpc::OPER_STATUS_DOWN);
   gone.mutable_intf()->set_name("Ethernet3");
   gone.set_event(rpc::INTF_EVENT_DELETED);
   whole.set_ack(true);
   server_.mirror
        .answer("IntfMgrService/watch", row("Ethernet1", true, rpc::OPER_STATUS_UP, "to core"),
                row("Ethernet3", true, rpc::OPER_STATUS_UP, ""), change, gone,
                row("Ethernet2", false, rpc::OPER_STATUS_DOWN, ""), whole,
                row("Ethernet9", true, rpc::OPER_STATUS_UP, ""))
        .held = true;
   server_.start();
   EXPECT_EQ(orvctl({"intf", "show"}).out,
             "NAME       ADMIN  OPER  DESCRIPTION\n"
             "Ethernet1  up     down  to core\n"
             "Ethernet2  down   down\n");
   EXPECT_THAT(server_.mirror.requests(),
               ElementsAre(R"(IntfMgrService/watch {"fields_control":{"fields":["INTF_FIELD_ALL"]},)"
                           R"("ack":false,"all":true})"));
}

TEST_F(OrvctlIntf, aPictureThatIsNotWholeIsNone) {
   server_.mirror.answer("IntfMgrService/watch", row("Ethernet1", true, rpc::OPER_STATUS_UP, ""));
   server_.start();
   const Result result = orvctl({"intf", "show"});
   EXPECT_EQ(result.code, 3);
   EXPECT_EQ(result.out, "");
}

TEST_F(OrvctlIntf, showsOnesThatAreNamed) {
   rpc::IntfAdminEnabledResponse admin;
   admin.set_admin_enabled(true);
   rpc::IntfOperStatusResponse oper;
   oper.set_oper_status(rpc::OPER_STATUS_UP);
   rpc::IntfDescriptionResponse description;
   description.set_description("to core");
   rpc::KernelIntfNameResponse kernel;
   kernel.set_kernel_intf_name("et1");
   server_.mirror.answer("IntfMgrService/admin_enabled", admin);
   server_.mirror.answer("IntfMgrService/oper_status", oper);
   server_.mirror.answer("IntfMgrService/description", description);
   server_.mirror.answer("IntfMgrService/kernel_intf_name", kernel);
   server_.start();
   EXPECT_EQ(orvctl({"--json", "intf", "show", "Ethernet1"}).out,
             R"({"name":"Ethernet1","admin":"up","oper":"up","kernel_name":"et1","description":"to core"})"
             "\n");
}

TEST_F(OrvctlIntf, aRefusalHasTheSwitchsWords) {
   server_.mirror.answer("IntfMgrService/admin_enabled").end =
        grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "unknown interface Ethernet99");
   server_.start();
   const Result result = orvctl({"intf", "show", "Ethernet99"});
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.err, "orvctl: admin_enabled Ethernet99: " + server_.target() +
                              " answered INVALID_ARGUMENT: unknown interface Ethernet99\n");
}

TEST_F(OrvctlIntf, setsWhatIsGiven) {
   server_.mirror.answer("IntfMgrService/admin_enabled_is", rpc::IntfAdminEnabledIsResponse());
   server_.mirror.answer("IntfMgrService/description_is", rpc::IntfDescriptionIsResponse());
   server_.start();
   EXPECT_EQ(orvctl({"intf", "set", "Ethernet1", "--admin", "down"}).code, 0);
   EXPECT_EQ(orvctl({"intf", "set", "Ethernet1", "--admin", "up", "--description", "to core"}).code, 0);
   EXPECT_EQ(orvctl({"intf", "set", "Ethernet1", "--description", ""}).code, 0);
   EXPECT_THAT(
        server_.mirror.requests(),
        ElementsAre(
             R"(IntfMgrService/admin_enabled_is {"intf_id":{"name":"Ethernet1"},"admin_enabled":false})",
             R"(IntfMgrService/admin_enabled_is {"intf_id":{"name":"Ethernet1"},"admin_enabled":true})",
             R"(IntfMgrService/description_is {"intf_id":{"name":"Ethernet1"},"description":"to core"})",
             R"(IntfMgrService/description_is {"intf_id":{"name":"Ethernet1"},"description":""})"));
   EXPECT_EQ(orvctl({"intf", "set", "Ethernet1"}).code, 2);
   EXPECT_EQ(orvctl({"intf", "set", "Ethernet1", "--admin", "on"}).code, 2);
}

class OrvctlPhy : public OrvctlIntf {};

TEST_F(OrvctlPhy, listsAndShows) {
   rpc::EthPhyIntfsResponse one;
   one.mutable_intf_id()->set_name("Ethernet1");
   rpc::EthPhyIntfHardwarePresentResponse hardware;
   hardware.set_hardware_present(true);
   rpc::EthPhyIntfTransceiverPresentResponse transceiver;
   rpc::EthPhyIntfLinkSpeedResponse speed;
   speed.set_link_speed(rpc::ETH_LINK_SPEED_100_GBPS);
   rpc::EthPhyIntfBurnedInEthAddrResponse address;
   address.set_burned_in_eth_addr(std::string("\x02\0\0\0\0\x2a", 6));
   server_.mirror.answer("EthPhyIntfMgrService/eth_phy_intfs", one);
   server_.mirror.answer("EthPhyIntfMgrService/hardware_present", hardware);
   server_.mirror.answer("EthPhyIntfMgrService/transceiver_present", transceiver);
   server_.mirror.answer("EthPhyIntfMgrService/link_speed", speed);
   server_.mirror.answer("EthPhyIntfMgrService/burned_in_eth_addr", address);
   server_.start();
   EXPECT_EQ(orvctl({"phy", "list"}).out, "NAME\nEthernet1\n");
   const std::string table =
        "NAME       HARDWARE  TRANSCEIVER  SPEED     MAC\n"
        "Ethernet1  yes       no           100_gbps  02:00:00:00:00:2a\n";
   EXPECT_EQ(orvctl({"phy", "show"}).out, table);
   EXPECT_EQ(orvctl({"phy", "show", "Ethernet1"}).out, table);
}

}  // namespace
}  // namespace orvctl
