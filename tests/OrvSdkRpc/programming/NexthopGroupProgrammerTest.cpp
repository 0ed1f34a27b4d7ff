#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

#include "OrvSdkRpc/programming/Reply.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "platform/process/Toggles.h"
#include "testing/base/TempDir.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/server/TraceCapture.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using orvtest::addNexthop;
using testing::_;
using testing::Return;

pb::nexthop_group_msg groupNamed(const std::string& name) {
   pb::nexthop_group_msg group;
   group.set_name(name);
   return group;
}

std::vector<std::uint32_t> labelsOf(const orv::nexthop_group_entry_t& entry) {
   std::vector<std::uint32_t> labels;
   for (const auto& label : entry.mpls_action().label_stack())
      labels.push_back(label.label());
   return labels;
}

class NexthopGroupProgrammerTest : public testing::Test {
protected:
   pb::rpc_status_msg process(const pb::nexthop_group_msg& request) {
      pb::rpc_status_msg response;
      groups_.processNexthopGroupRequest(request, response);
      return response;
   }
   // Processes an add. RETURNS: what reached the SDK.
   orv::nexthop_group_t set(const pb::nexthop_group_msg& request) {
      orv::nexthop_group_t written;
      EXPECT_CALL(mgr_, nexthop_group_set(_)).WillOnce(testing::SaveArg<0>(&written));
      EXPECT_EQ(process(request).status(), pb::RPC_STATUS_OK);
      return written;
   }

   orvtest::Contract contract_;
   testing::NiceMock<orvtest::MockNexthopGroupMgr>& mgr_ = contract_.host.nexthopGroupMgr;
   NexthopGroupProgrammer groups_{contract_.client, &mgr_};
};

class InitializedNexthopGroupProgrammerTest : public NexthopGroupProgrammerTest {
protected:
   InitializedNexthopGroupProgrammerTest() { contract_.init(); }
};

TEST_F(NexthopGroupProgrammerTest, beforeInitEveryItemOfABulkIsRefused) {
   EXPECT_CALL(mgr_, nexthop_group_set(_)).Times(0);
   pb::nexthop_group_bulk_msg request;
   *request.add_bulk() = groupNamed("a");
   *request.add_bulk() = groupNamed("b");
   pb::rpc_status_bulk_msg response;
   groups_.processNexthopGroupBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 2);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(response.statuses(0).debug_string(),
             "Error: no prior rpc_server_init call, request name: \"a\"");
   EXPECT_EQ(response.statuses(1).debug_string(),
             "Error: no prior rpc_server_init call, request name: \"b\"");
}

TEST_F(InitializedNexthopGroupProgrammerTest, aGroupIsWrittenAsAWhole) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {100, 200});
   request.mutable_nexthops(0)->set_intf("Ethernet1");
   request.mutable_nexthops(0)->mutable_sbfd_session()->set_nexthop_intf("Ethernet2");
   request.set_counters_unshared(true);
   request.set_autosize(true);
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const orv::nexthop_group_t group = set(request);
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"Programming " + pb::toString(request)});
   EXPECT_EQ(group.name(), "g");
   EXPECT_EQ(static_cast<int>(group.type()), 3);
   EXPECT_TRUE(group.counters_unshared());
   EXPECT_TRUE(group.autosize());
   ASSERT_EQ(group.nexthops().size(), 1U);
   const auto& entry = group.nexthops().begin()->second;
   EXPECT_EQ(entry.nexthop(), orv::ip_addr_t("192.0.2.1"));
   EXPECT_EQ(entry.intf(), orv::intf_id_t("Ethernet1"));
   EXPECT_EQ(entry.sbfd_session_key().nexthop_intf(), orv::intf_id_t("Ethernet2"));
   EXPECT_EQ(entry.mpls_action().action_type(), orv::mpls_action_t::push);
}

TEST_F(InitializedNexthopGroupProgrammerTest, labelsReachTheStackFromTheLastToTheFirst) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {100, 200});
   EXPECT_EQ(labelsOf(set(request).nexthops().begin()->second), (std::vector<std::uint32_t>{200, 100}));
}

// Or a few thousand labels times a large weight would be more memory than the process has.
TEST_F(InitializedNexthopGroupProgrammerTest, theSlotsOfANexthopShareALongStack) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {100, 200, 300, 400}, 3);
   *request.add_backup_nexthops() = request.nexthops(0);
   const auto group = set(request);
   for (const auto* entries : {&group.nexthops(), &group.backup_nexthops()}) {
      ASSERT_EQ(entries->size(), 3U);
      const auto& first = entries->begin()->second.mpls_action().label_stack();
      for (const auto& [slot, entry] : *entries)
         EXPECT_EQ(entry.mpls_action().label_stack().begin(), first.begin()) << slot;
   }
}

TEST_F(InitializedNexthopGroupProgrammerTest, aLoneImplicitNullIsNoOperation) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {3});
   const auto group = set(request);
   const auto& entry = group.nexthops().begin()->second;
   EXPECT_EQ(static_cast<int>(entry.mpls_action().action_type()), 0);
   EXPECT_TRUE(labelsOf(entry).empty());
}

TEST_F(InitializedNexthopGroupProgrammerTest, implicitNullAmongOthersStays) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {3, 100});
   EXPECT_EQ(labelsOf(set(request).nexthops().begin()->second), (std::vector<std::uint32_t>{100, 3}));
}

TEST_F(InitializedNexthopGroupProgrammerTest, withoutLabelsTheActionStays) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {});
   const auto group = set(request);
   EXPECT_EQ(group.nexthops().begin()->second.mpls_action().action_type(), orv::mpls_action_t::push);
   EXPECT_TRUE(labelsOf(group.nexthops().begin()->second).empty());
   EXPECT_EQ(group.nexthops().begin()->second.sbfd_session_key(), orv::sbfd_echo_session_key_t());
}

TEST_F(InitializedNexthopGroupProgrammerTest, weightsFillConsecutiveSlotsAndZeroTakesNone) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {}, 2);
   addNexthop(request, 2, {}, 0);
   addNexthop(request, 3, {}, 1);
   const auto group = set(request);
   ASSERT_EQ(group.nexthops().size(), 3U);
   EXPECT_EQ(group.nexthops().find(0)->nexthop(), orv::ip_addr_t("192.0.2.1"));
   EXPECT_EQ(group.nexthops().find(1)->nexthop(), orv::ip_addr_t("192.0.2.1"));
   EXPECT_EQ(group.nexthops().find(2)->nexthop(), orv::ip_addr_t("192.0.2.3"));
}

TEST_F(InitializedNexthopGroupProgrammerTest, allWeightsZeroSetAGroupWithoutEntries) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {}, 0);
   EXPECT_TRUE(set(request).nexthops().empty());
}

TEST_F(InitializedNexthopGroupProgrammerTest, slotsWrapAt65536) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {}, 65535);
   addNexthop(request, 2, {}, 3);
   const auto group = set(request);
   EXPECT_EQ(group.nexthops().size(), 65536U);
   for (const std::uint16_t slot : {65535, 0, 1}) {
      EXPECT_EQ(group.nexthops().find(slot)->nexthop(), orv::ip_addr_t("192.0.2.2"));
   }
   EXPECT_EQ(group.nexthops().find(2)->nexthop(), orv::ip_addr_t("192.0.2.1"));
}

TEST_F(InitializedNexthopGroupProgrammerTest, aWeightOfManyRoundsEndsWhereItsLastSlotIs) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {}, 4294967295U);  // 65536 rounds less one slot
   addNexthop(request, 2, {}, 1);
   const auto group = set(request);
   EXPECT_EQ(group.nexthops().size(), 65536U);
   EXPECT_EQ(group.nexthops().find(65535)->nexthop(), orv::ip_addr_t("192.0.2.2"));
   EXPECT_EQ(group.nexthops().find(65534)->nexthop(), orv::ip_addr_t("192.0.2.1"));
   EXPECT_EQ(group.nexthops().find(0)->nexthop(), orv::ip_addr_t("192.0.2.1"));
}

TEST_F(InitializedNexthopGroupProgrammerTest, manyHeavyNexthopsCostNoMoreThanOneRound) {
   auto request = groupNamed("g");
   // More than 10^13 slots: this finishes only because one round is written.
   for (int i = 0; i < 5000; ++i)
      addNexthop(request, 1, {}, 4294967295U);
   addNexthop(request, 2, {}, 32768);
   const auto group = set(request);
   EXPECT_EQ(group.nexthops().size(), 65536U);
   // 5000 weights, each one less than whole rounds, end 5000 slots before slot 0.
   EXPECT_EQ(group.nexthops().find(65536 - 5000)->nexthop(), orv::ip_addr_t("192.0.2.2"));
   EXPECT_EQ(group.nexthops().find(32768 - 5001)->nexthop(), orv::ip_addr_t("192.0.2.2"));
   EXPECT_EQ(group.nexthops().find(32768 - 5000)->nexthop(), orv::ip_addr_t("192.0.2.1"));
   EXPECT_EQ(group.nexthops().find(65536 - 5001)->nexthop(), orv::ip_addr_t("192.0.2.1"));
}

TEST_F(InitializedNexthopGroupProgrammerTest, aBadNexthopIsFoundWhereverItStands) {
   EXPECT_CALL(mgr_, nexthop_group_set(_)).Times(0);
   auto request = groupNamed("g");
   addNexthop(request, 1, {}, 0);
   addNexthop(request, 2, {}, 4294967295U);
   request.mutable_nexthops(0)->mutable_address()->set_address("xyz");
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_ERROR);
}

TEST_F(InitializedNexthopGroupProgrammerTest, backupsFillSlotsOfTheirOwn) {
   auto request = groupNamed("g");
   addNexthop(request, 1, {}, 2);
   addNexthop(request, 9, {7}, 2);
   *request.add_backup_nexthops() = request.nexthops(1);
   request.mutable_nexthops()->RemoveLast();
   const auto group = set(request);
   EXPECT_EQ(group.nexthops().size(), 2U);
   ASSERT_EQ(group.backup_nexthops().size(), 2U);
   EXPECT_EQ(group.backup_nexthops().begin()->first, 0);
   EXPECT_EQ(group.backup_nexthops().begin()->second.nexthop(), orv::ip_addr_t("192.0.2.9"));
}

TEST_F(InitializedNexthopGroupProgrammerTest, anAddNeedsAName) {
   EXPECT_CALL(mgr_, nexthop_group_set(_)).Times(0);
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   pb::nexthop_group_msg request;
   request.set_autosize(true);
   const auto response = process(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.debug_string(), "Error: NHG name required, request autosize: true");
   EXPECT_EQ(traces.count(response.debug_string()), 1U);
}

TEST_F(InitializedNexthopGroupProgrammerTest, anAddNeedsNexthops) {
   EXPECT_CALL(mgr_, nexthop_group_set(_)).Times(0);
   const auto response = process(groupNamed("g"));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.debug_string(), "Error: NHG g has no nexthops, request name: \"g\"");
}

TEST_F(InitializedNexthopGroupProgrammerTest, aDeleteIgnoresAllButTheName) {
   auto request = groupNamed("g");
   request.set_delete_(true);
   EXPECT_CALL(mgr_, exists("g")).WillOnce(Return(true));
   EXPECT_CALL(mgr_, nexthop_group_del("g"));
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const auto response = process(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"Delete NHG g"});
}

TEST_F(InitializedNexthopGroupProgrammerTest, aDeleteOfAnAbsentGroupIsNotFoundByName) {
   EXPECT_CALL(mgr_, nexthop_group_del(_)).Times(0);
   auto request = groupNamed("g");
   request.set_delete_(true);
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"Delete NHG g ignored, not found"});
   EXPECT_EQ(process(request).debug_string(), "NHG g not found");
   request.clear_name();
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(process(request).debug_string(), "NHG  not found");
}

TEST_F(InitializedNexthopGroupProgrammerTest, anErrorLeavesTheSdkAsItWas) {
   EXPECT_CALL(mgr_, nexthop_group_set(_)).Times(0);
   auto request = groupNamed("g");
   addNexthop(request, 1, {});
   request.mutable_nexthops(0)->mutable_address()->set_address("xyz");
   auto response = process(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(response.debug_string().starts_with("Error: request nexthops {"));
   EXPECT_TRUE(
        response.debug_string().ends_with("exception bytes length 3 does not match IPv4(4) or IPv6(16)"));
   // For a long request the reply leaves out the middle, not the reason.
   for (int i = 0; i < 1000; ++i)
      *request.add_nexthops() = request.nexthops(0);
   response = process(request);
   EXPECT_EQ(response.debug_string().size(), errorTextBytesMax);
   EXPECT_TRUE(response.debug_string().starts_with("Error: request nexthops {"));
   EXPECT_TRUE(
        response.debug_string().ends_with("exception bytes length 3 does not match IPv4(4) or IPv6(16)"));
   request.mutable_nexthops()->DeleteSubrange(1, 1000);
   request.mutable_nexthops(0)->clear_address();
   request.mutable_nexthops(0)->set_mpls_operation(static_cast<pb::mpls_operation_enum>(9));
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_ERROR);
   request.mutable_nexthops(0)->set_mpls_operation(pb::MPLS_OPERATION_PUSH);
   request.mutable_nexthops(0)->set_intf("no such name!");
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_ERROR);
   request.mutable_nexthops(0)->clear_intf();
   request.mutable_nexthops(0)->add_mpls_labels(4000000000U);
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_ERROR);
}

TEST_F(InitializedNexthopGroupProgrammerTest, aBulkGoesOnBehindAFailedItem) {
   pb::nexthop_group_bulk_msg request;
   *request.add_bulk() = groupNamed("one");
   addNexthop(*request.mutable_bulk(0), 1, {});
   *request.add_bulk() = groupNamed("two");
   *request.add_bulk() = groupNamed("three");
   addNexthop(*request.mutable_bulk(2), 3, {});
   std::vector<std::string> written;
   EXPECT_CALL(mgr_, nexthop_group_set(_)).Times(2).WillRepeatedly([&](const orv::nexthop_group_t& group) {
      written.push_back(group.name());
   });
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   pb::rpc_status_bulk_msg response;
   groups_.processNexthopGroupBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 3);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(1).debug_string(), "Error: NHG two has no nexthops, request name: \"two\"");
   EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(written, (std::vector<std::string>{"one", "three"}));
   EXPECT_EQ(traces.texts().front(), "processNexthopGroupBulkRequest NHGs");
}

TEST_F(InitializedNexthopGroupProgrammerTest, theLockSpansOneItem) {
   orvtest::WatchedLock lock;
   // Which taking of the lock each call of the SDK stands under; 0 for none.
   std::vector<int> seen;
   const auto see = [&] { seen.push_back(orv::sdk_call_allowed() ? lock.taken() : 0); };
   ON_CALL(mgr_, nexthop_group_set(_)).WillByDefault([&](const auto&) { see(); });
   ON_CALL(mgr_, nexthop_group_del(_)).WillByDefault([&](const auto&) { see(); });
   ON_CALL(mgr_, exists(_)).WillByDefault([&](const auto&) {
      see();
      return true;
   });
   pb::nexthop_group_bulk_msg bulk;
   *bulk.add_bulk() = groupNamed("g");
   addNexthop(*bulk.mutable_bulk(0), 1, {});
   *bulk.add_bulk() = groupNamed("g");
   bulk.mutable_bulk(1)->set_delete_(true);
   std::thread pump([&] {
      process(bulk.bulk(0));
      process(bulk.bulk(1));
      pb::rpc_status_bulk_msg response;
      groups_.processNexthopGroupBulkRequest(bulk, response);
   });
   pump.join();
   // A set, then the look and the delete; the same in the bulk.
   EXPECT_EQ(seen, (std::vector{1, 2, 2, 3, 4, 4}));
   EXPECT_EQ(lock.released(), 4);
}

// The toggle is read once per process, so this runs in a process of its own.
int withBackupsOff() {
   const orvtest::TempDir dir;
   std::ofstream(dir / "NexthopGroup.json") << R"({"NHGBackupNexthops": false})";
   toggleDirectoryIs(dir.path());
   orvtest::Contract contract;
   contract.init();
   NexthopGroupProgrammer groups(contract.client, &contract.host.nexthopGroupMgr);
   auto request = groupNamed("g");
   addNexthop(request, 1, {});
   *request.add_backup_nexthops() = request.nexthops(0);
   // Backups are ignored, so this one is not refused either.
   request.mutable_backup_nexthops(0)->mutable_address()->set_address("xyz");
   orv::nexthop_group_t written;
   ON_CALL(contract.host.nexthopGroupMgr, nexthop_group_set(_)).WillByDefault(testing::SaveArg<0>(&written));
   for (int round = 0; round < 2; ++round) {
      pb::rpc_status_msg response;
      groups.processNexthopGroupRequest(request, response);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
      EXPECT_EQ(written.nexthops().size(), 1U);
      EXPECT_TRUE(written.backup_nexthops().empty());
      // Too late: the toggle has been read.
      toggleDirectoryDel();
   }
   return testing::Test::HasFailure() ? 1 : 0;
}

TEST(NexthopGroupProgrammerDeathTest, backupsAreIgnoredWhereTheToggleIsOff) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(withBackupsOff()), testing::ExitedWithCode(0), "");
}

TEST(NexthopGroupProgrammerDeathTest, anUnknownTypeEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   orvtest::Contract contract;
   contract.init();
   NexthopGroupProgrammer groups(contract.client, &contract.host.nexthopGroupMgr);
   auto request = groupNamed("g");
   addNexthop(request, 1, {});
   request.set_type(static_cast<pb::nexthop_group_type_enum>(1));
   pb::rpc_status_msg response;
   EXPECT_DEATH(groups.processNexthopGroupRequest(request, response), "NEXTHOP_GROUP_TYPE_MPLS");
}

}  // namespace
}  // namespace OrvSdkRpc
