// What a controller meets on a switch whose disk is full: a request is served as a whole or changes nothing.
#include <gmock/gmock.h>

#include <optional>
#include <string>

#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/forwarding/memory_plane.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/mpls_vrf_label_mgr.h"
#include "testing/server/Contract.h"
#include "testing/softswitch/ManagerFixture.h"
#include "testing/softswitch/SwitchFixture.h"

namespace orvtest {
namespace {

namespace pb = OrvSdkRpc::pb;

constexpr std::uint32_t firstLabel = 100;
constexpr std::uint32_t labelCount = 100;

struct Managers {
   explicit Managers(const softswitch::Context& context)
        : hardware(context.scheduler, std::make_unique<softswitch::MemoryPlane>()),
          intfs(context, softswitch::Topology::builtIn()),
          mounts(context),
          groups(context, hardware, names, intfs),
          routes(context, hardware, names, groups, intfs, mounts),
          vrfLabels(context) {}

   softswitch::Names names;
   softswitch::Hardware hardware;
   softswitch::IntfMgr intfs;
   softswitch::MountMgr mounts;
   softswitch::NexthopGroupMgr groups;
   softswitch::MplsRouteMgr routes;
   softswitch::MplsVrfLabelMgr vrfLabels;
};

// Labels that lead to the group "g", and then no room for another.
class FullDisk : public softswitch::ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      contract_.init();
      make();
      for (std::uint32_t label = firstLabel; label < firstLabel + labelCount; ++label) {
         ASSERT_EQ(send(toGroup(label, "g")), "");
         context().store.commit();
      }
      softswitch::fillDisk(context().store);
   }
   void TearDown() override {
      forget();
      ManagerFixture::TearDown();
   }
   void make() {
      managers_.emplace(context());
      mpls_.emplace(contract_.client, &managers_->routes, &managers_->vrfLabels);
   }
   void forget() {
      mpls_.reset();
      managers_.reset();
   }

   static pb::mpls_route_msg toGroup(std::uint32_t label, const std::string& group) {
      pb::mpls_route_msg request;
      request.set_label(label);
      request.mutable_nexthop_group_msg()->set_name(group);
      return request;
   }
   // The refusal's words; "" when there was none.
   std::string send(const pb::mpls_route_msg& request) {
      pb::rpc_status_msg response;
      mpls_->processMPLSRouteRequest(request, response);
      return response.debug_string();
   }
   // The same, with the lock span that a request has.
   std::string sendAlone(const pb::mpls_route_msg& request) {
      auto words = send(request);
      context().store.commit();
      return words;
   }
   // "" where the label has no route, or one without a group.
   std::string groupOf(std::uint32_t label) const {
      const orv::mpls_route_key_t key(orv::mpls_label_t(label), 0);
      auto via = managers_->routes.mpls_route_via_iter(key);
      return via ? via->nexthop_group() : "";
   }

   orvtest::Contract contract_;
   std::optional<Managers> managers_;
   std::optional<OrvSdkRpc::MplsRouteProgrammer> mpls_;
};

// A label is written by a removal and a set, and of the two a full disk refuses the set alone.
TEST_F(FullDisk, leavesALabelThatIsReplayedOrRefusedWhereItLeads) {
   EXPECT_THAT(sendAlone(toGroup(firstLabel + labelCount, "g")), testing::HasSubstr("no space left"));
   EXPECT_THAT(sendAlone(toGroup(firstLabel, "longer")), testing::HasSubstr("no space left"));
   EXPECT_EQ(groupOf(firstLabel), "g");
   for (std::uint32_t label = firstLabel; label < firstLabel + labelCount; ++label) {
      EXPECT_EQ(sendAlone(toGroup(label, "g")), "");
      EXPECT_EQ(groupOf(label), "g");
   }
   EXPECT_EQ(sendAlone(toGroup(firstLabel, "h")), "");
   restart([&] { forget(); });
   make();
   EXPECT_EQ(groupOf(firstLabel), "h");
   for (std::uint32_t label = firstLabel + 1; label < firstLabel + labelCount; ++label)
      EXPECT_EQ(groupOf(label), "g");
   EXPECT_EQ(groupOf(firstLabel + labelCount), "");
}

TEST_F(FullDisk, refusesALabelWholeOnceItsSpanHasNoRoomForARemovalEither) {
   std::uint32_t refused = 0;
   for (std::uint32_t label = firstLabel; label < firstLabel + labelCount; ++label) {
      refused += send(toGroup(label, "g")).empty() ? 0 : 1;
      EXPECT_EQ(groupOf(label), "g");
   }
   EXPECT_GT(refused, 0U);
   EXPECT_LT(refused, labelCount);
   EXPECT_NE(send(toGroup(firstLabel, "longer")), "");
   EXPECT_EQ(groupOf(firstLabel), "g");
}

}  // namespace
}  // namespace orvtest
