#include "softswitch/managers/topology.h"
#include "testing/base/TempDir.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace softswitch {
namespace {

using testing::Test;

TEST(Topology, builtInHasTheDefaultPorts) {
   const auto topology = Topology::builtIn();
   EXPECT_EQ(topology.interfaces().size(), 64u + 16u + 1u);
   const auto* first = topology.find("Ethernet1");
   ASSERT_NE(first, nullptr);
   EXPECT_EQ(first->type, IntfType::ethernet);
   EXPECT_EQ(speedName(first->speedBps), "100G");
   EXPECT_EQ(to_string(first->mac), "02:00:00:00:00:01");
   EXPECT_EQ(first->kernelName, "eth1");
   EXPECT_TRUE(first->linkUp);
   ASSERT_NE(topology.find("Ethernet64"), nullptr);
   EXPECT_EQ(to_string(topology.find("Ethernet64")->mac), "02:00:00:00:00:40");
   EXPECT_EQ(topology.find("Ethernet65"), nullptr);
   EXPECT_EQ(topology.find("Ethernet0"), nullptr);
   ASSERT_NE(topology.find("Loopback0"), nullptr);
   EXPECT_EQ(topology.find("Loopback0")->type, IntfType::loopback);
   EXPECT_EQ(topology.find("Loopback0")->speedBps, 0u);
   EXPECT_EQ(topology.find("Loopback15")->kernelName, "lo15");
   ASSERT_NE(topology.find("Management1"), nullptr);
   EXPECT_EQ(topology.find("Management1")->type, IntfType::management);
   EXPECT_EQ(speedName(topology.find("Management1")->speedBps), "1G");
   EXPECT_EQ(topology.find("Management1")->kernelName, "mgmt1");
}

TEST(Topology, entriesTakeWhatTheyAreGiven) {
   const auto topology = Topology::parse(R"({
      "system_mac": "02:aa:00:00:00:ff",
      "interfaces": [
         {"name": "Ethernet1/1", "count": 2, "speed": "2.5G", "mac": "02:00:00:00:ff:ff"},
         {"name": "uplink", "type": "ethernet", "kernel_name": "up0", "link": "down"},
         {"name": "Vxlan1"}, {"name": "Lag7"}, {"name": "Vlan100"}]})",
                                         "test");
   ASSERT_EQ(topology.interfaces().size(), 6u);
   EXPECT_EQ(to_string(topology.find("Ethernet1/1")->mac), "02:00:00:00:ff:ff");
   EXPECT_EQ(to_string(topology.find("Ethernet1/2")->mac), "02:00:00:01:00:00");
   EXPECT_EQ(topology.find("Ethernet1/2")->kernelName, "eth1_2");
   EXPECT_EQ(topology.find("Ethernet1/2")->speedBps, 2'500'000'000u);
   EXPECT_FALSE(topology.find("uplink")->linkUp);
   EXPECT_EQ(topology.find("uplink")->kernelName, "up0");
   EXPECT_EQ(to_string(topology.find("uplink")->mac), "02:aa:00:00:01:02");
   EXPECT_EQ(topology.find("Vxlan1")->type, IntfType::vxlan);
   EXPECT_EQ(topology.find("Lag7")->type, IntfType::lag);
   EXPECT_EQ(topology.find("Vlan100")->kernelName, "vlan100");
}

TEST(Topology, aNameTellsWhatALaterInterfaceIs) {
   const auto topology = Topology::builtIn();
   const auto port = topology.fromName("Ethernet65");
   ASSERT_TRUE(port);
   EXPECT_EQ(port->type, IntfType::ethernet);
   EXPECT_EQ(port->kernelName, "eth65");
   EXPECT_EQ(speedName(port->speedBps), "100G");
   EXPECT_EQ(to_string(port->mac), "02:00:00:01:00:41");
   EXPECT_EQ(topology.fromName("Ethernet3/2")->kernelName, "eth3_2");
   const auto loopback = topology.fromName("Loopback99");
   ASSERT_TRUE(loopback);
   EXPECT_EQ(loopback->type, IntfType::loopback);
   EXPECT_EQ(loopback->mac, topology.systemMac());
   for (const char* name :
        {"", "Tunnel1", "Loopback", "Loopback12345678901234", "Loopback 1", "Loopback1a"}) {
      EXPECT_FALSE(topology.fromName(name)) << name;
   }
}

struct BadTopology {
   const char* name;
   std::string text;
   const char* words;  // all of what() behind "topology FILE: "
};

class MalformedTopology : public testing::TestWithParam<BadTopology> {};

TEST_P(MalformedTopology, isRefusedInOneLine) {
   try {
      Topology::parse(GetParam().text, "FILE");
      FAIL() << "was accepted";
   } catch (const TopologyError& e) {
      const std::string words = e.what();
      EXPECT_EQ(words.find('\n'), std::string::npos) << words;
      EXPECT_TRUE(words.starts_with(std::string("topology FILE: ") + GetParam().words)) << words;
   }
}

std::string entry(const std::string& members) {
   return "{\"interfaces\": [" + members + "]}";
}

INSTANTIATE_TEST_SUITE_P(
     Kinds, MalformedTopology,
     testing::Values(
          BadTopology{"empty", "", "expected one JSON object: parse error at line 1"},
          BadTopology{"notJson", "interfaces:\n - Ethernet1\n",
                      "expected one JSON object: parse error at line 1"},
          BadTopology{"cutOff", "{\"interfaces\": [", "expected one JSON object: parse error at line 1"},
          BadTopology{"twoDocuments", "{} {}", "expected one JSON object: parse error at line 1"},
          BadTopology{"badUtf8", "{\"\xff\": 1}", "expected one JSON object: parse error at line 1"},
          BadTopology{"array", "[]", "is [], expected one JSON object"},
          BadTopology{"deep", std::string(100'000, '['), "is nested more than 8 deep"},
          BadTopology{"unknownTopKey", R"({"interface": []})",
                      "top level: unknown key \"interface\", expected one of system_mac, interfaces"},
          BadTopology{"repeatedKey", R"({"interfaces": [], "interfaces": []})",
                      "key \"interfaces\" is given twice, expected once per object"},
          BadTopology{"missing", "{}", "interfaces is missing, expected an array of objects"},
          BadTopology{"notArray", R"({"interfaces": {}})",
                      "interfaces is {}, expected an array of at least one object"},
          BadTopology{"none", R"({"interfaces": []})",
                      "interfaces is [], expected an array of at least one object"},
          BadTopology{"badSystemMac", R"({"system_mac": "02:00", "interfaces": [{"name": "Ethernet1"}]})",
                      "top level: system_mac is \"02:00\", expected six hex bytes of a unicast address"},
          BadTopology{"entryNotObject", entry("7"), "interfaces[0] is 7, expected an object with a \"name\""},
          BadTopology{"unknownKey", entry(R"({"name": "Ethernet1", "colour": "red"})"),
                      "interfaces[0]: unknown key \"colour\", expected one of name, count"},
          BadTopology{"noName", entry(R"({"speed": "1G"})"),
                      "interfaces[0]: name is missing, expected a name as in Ethernet1"},
          BadTopology{"nameNotText", entry(R"({"name": 1})"),
                      "interfaces[0]: name is 1, expected 1 to 64 letters"},
          BadTopology{"emptyName", entry(R"({"name": ""})"),
                      "interfaces[0]: name is \"\", expected 1 to 64 letters"},
          BadTopology{"nameWithNewline", entry(R"({"name": "Ether\nnet1"})"),
                      "interfaces[0]: name is \"Ether\\nnet1\", expected 1 to 64 letters"},
          BadTopology{"longName", entry("{\"name\": \"" + std::string(5000, 'e') + "\"}"),
                      "interfaces[0]: name is \"eeee"},
          BadTopology{"secondEntry", entry(R"({"name": "Ethernet1"}, {"name": "Foo1"})"),
                      "interfaces[1] (Foo1): type is missing, expected one of ethernet, loopback"},
          BadTopology{"badType", entry(R"({"name": "Ethernet1", "type": "token-ring"})"),
                      "interfaces[0] (Ethernet1): type is \"token-ring\", expected one of ethernet"},
          BadTopology{"badSpeed", entry(R"({"name": "Ethernet1", "speed": "9G"})"),
                      "interfaces[0] (Ethernet1): speed is \"9G\", expected one of 10M, 100M, 1G"},
          BadTopology{"speedNotText", entry(R"({"name": "Ethernet1", "speed": 100})"),
                      "interfaces[0] (Ethernet1): speed is 100, expected one of 10M"},
          BadTopology{"zeroCount", entry(R"({"name": "Ethernet1", "count": 0})"),
                      "interfaces[0] (Ethernet1): count is 0, expected 1 to 16384"},
          BadTopology{"negativeCount", entry(R"({"name": "Ethernet1", "count": -1})"),
                      "interfaces[0] (Ethernet1): count is -1, expected 1 to 16384"},
          BadTopology{"hugeCount", entry(R"({"name": "Ethernet1", "count": 18446744073709551615})"),
                      "interfaces[0] (Ethernet1): count is 18446744073709551615, expected 1 to 16384"},
          BadTopology{"fractionalCount", entry(R"({"name": "Ethernet1", "count": 1.5})"),
                      "interfaces[0] (Ethernet1): count is 1.5, expected 1 to 16384"},
          BadTopology{"tooMany", entry(R"({"name": "Ethernet1", "count": 16384}, {"name": "Loopback0"})"),
                      "interfaces[1] (Loopback0): 16385 interfaces, expected at most 16384"},
          BadTopology{"countWithoutNumber", entry(R"({"name": "EthernetA", "count": 2})"),
                      "interfaces[0] (EthernetA): count is 2, expected a name with a number at its end"},
          BadTopology{"badMac", entry(R"({"name": "Ethernet1", "mac": "02-00-00-00-00-01"})"),
                      "interfaces[0] (Ethernet1): mac is \"02-00-00-00-00-01\", expected six hex bytes"},
          BadTopology{"groupMac", entry(R"({"name": "Ethernet1", "mac": "01:00:00:00:00:01"})"),
                      "interfaces[0] (Ethernet1): mac is \"01:00:00:00:00:01\", expected six hex bytes of a "
                      "unicast"},
          BadTopology{"zeroMac", entry(R"({"name": "Ethernet1", "mac": "00:00:00:00:00:00"})"),
                      "interfaces[0] (Ethernet1): mac is \"00:00:00:00:00:00\", expected six hex bytes of a "
                      "unicast"},
          BadTopology{"badLink", entry(R"({"name": "Ethernet1", "link": "sideways"})"),
                      "interfaces[0] (Ethernet1): link is \"sideways\", expected \"up\" or \"down\""},
          BadTopology{"linkNotText", entry(R"({"name": "Ethernet1", "link": true})"),
                      "interfaces[0] (Ethernet1): link is true, expected \"up\" or \"down\""},
          BadTopology{
               "longKernelName", entry(R"({"name": "Ethernet1", "kernel_name": "sixteencharacter"})"),
               "interfaces[0] (Ethernet1): kernel_name is \"sixteencharacter\", expected 1 to 15 letters"},
          BadTopology{"kernelNameGrowsTooLong",
                      entry(R"({"name": "Ethernet1", "count": 99, "kernel_name": "fourteenletter1"})"),
                      "interfaces[0] (Ethernet1): kernel_name is \"fourteenletter99\", expected 1 to 15"},
          BadTopology{"kernelNameWithoutNumber",
                      entry(R"({"name": "Ethernet1", "count": 2, "kernel_name": "up"})"),
                      "interfaces[0] (Ethernet1): kernel_name is \"up\", expected a number at its end"},
          BadTopology{"sameName", entry(R"({"name": "Ethernet1", "count": 4}, {"name": "Ethernet3"})"),
                      "interface Ethernet3 is given twice, expected unique names"},
          BadTopology{"sameKernelName",
                      entry(R"({"name": "Ethernet1"}, {"name": "Ethernet2", "kernel_name": "eth1"})"),
                      "kernel_name eth1 of Ethernet2 is given twice, expected unique kernel names"},
          BadTopology{"sameMac",
                      entry(R"({"name": "Ethernet1"}, {"name": "Ethernet2", "mac": "02:00:00:00:00:01"})"),
                      "mac 02:00:00:00:00:01 of Ethernet2 is given twice, expected unique addresses"}),
     [](const auto& tested) { return tested.param.name; });

class TopologyFile : public Test {
protected:
   const orvtest::TempDir directory_;
};

TEST_F(TopologyFile, isRead) {
   const auto file = directory_ / "topology.json";
   std::ofstream(file) << R"({"interfaces": [{"name": "Ethernet7"}]})";
   EXPECT_NE(Topology::load(file).find("Ethernet7"), nullptr);
}

TEST_F(TopologyFile, thatCannotBeReadIsNamed) {
   for (const auto& file : {directory_ / "absent.json", directory_.path()}) {
      try {
         Topology::load(file);
         FAIL() << "was accepted";
      } catch (const TopologyError& e) {
         EXPECT_EQ(std::string(e.what()), "topology " + file + ": cannot be read, expected a JSON file");
      }
   }
}

TEST_F(TopologyFile, thatIsTooLongIsRefused) {
   const auto file = directory_ / "long.json";
   std::ofstream(file) << std::string((4 << 20) + 1, ' ');
   EXPECT_THROW(
        {
           try {
              Topology::load(file);
           } catch (const TopologyError& e) {
              EXPECT_NE(std::string(e.what()).find("longer than 4194304 bytes"), std::string::npos)
                   << e.what();
              throw;
           }
        },
        TopologyError);
}

}  // namespace
}  // namespace softswitch
