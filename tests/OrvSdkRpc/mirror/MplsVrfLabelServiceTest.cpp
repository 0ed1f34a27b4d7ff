#include "OrvSdkRpc/mirror/MplsVrfLabelService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/mock/MockMplsVrfLabelMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::InSequence;
using testing::Return;
using testing::Throw;

using MplsVrfLabelServiceTest = orvtest::MirrorFixture<MplsVrfLabelService, remote::MplsVrfLabelMgrService,
                                                       orvtest::MockMplsVrfLabelMgr>;

template <class Rq>
Rq ofLabel(std::uint32_t label) {
   Rq request;
   request.mutable_label()->set_label(label);
   return request;
}
remote::MplsVrfLabelSetRequest vrfLabelSet(std::uint32_t label, const std::string& vrf) {
   remote::MplsVrfLabelSetRequest request;
   request.mutable_mpls_vrf_label()->mutable_label()->set_label(label);
   request.mutable_mpls_vrf_label()->set_vrf_name(vrf);
   return request;
}
orv::mpls_vrf_label_t vrfLabel(std::uint32_t label, const std::string& vrf) {
   return {orv::mpls_label_t(label), vrf};
}

TEST_F(MplsVrfLabelServiceTest, aLabelReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, mpls_vrf_label(orv::mpls_label_t(100))).WillOnce([](orv::mpls_label_t label) {
      EXPECT_TRUE(orv::sdk_call_allowed());
      return orv::mpls_vrf_label_t(label, "red");
   });
   const auto response = ok(&Stub::mpls_vrf_label, ofLabel<remote::MplsVrfLabelRequest>(100));
   EXPECT_EQ(response.mpls_vrf_label().label().label(), 100U);
   EXPECT_EQ(response.mpls_vrf_label().vrf_name(), "red");
}

TEST_F(MplsVrfLabelServiceTest, labelsAreListedInTheSwitchesOrder) {
   EXPECT_CALL(mgr_, mpls_vrf_label_iter())
        .WillOnce(
             Return(iterOver<orv::mpls_vrf_label_iter_t>({vrfLabel(200, "blue"), vrfLabel(100, "red")})));
   const auto labels = list(&Stub::mpls_vrf_labels, remote::MplsVrfLabelsRequest());
   ASSERT_EQ(labels.size(), 2U);
   EXPECT_EQ(labels[0].mpls_vrf_label().label().label(), 200U);
   EXPECT_EQ(labels[0].mpls_vrf_label().vrf_name(), "blue");
   EXPECT_EQ(labels[1].mpls_vrf_label().label().label(), 100U);
}

TEST_F(MplsVrfLabelServiceTest, labelsAreSetAndDeletedOneOrMany) {
   const InSequence sequence;
   EXPECT_CALL(mgr_, mpls_vrf_label_set(vrfLabel(100, "red")));
   EXPECT_CALL(mgr_, mpls_vrf_label_set(vrfLabel(1, "a")));
   EXPECT_CALL(mgr_, mpls_vrf_label_set(vrfLabel(2, "b")))
        .WillOnce(Throw(orv::invalid_argument_error("no VRF")));
   EXPECT_CALL(mgr_, mpls_vrf_label_del(orv::mpls_label_t(100)));
   EXPECT_CALL(mgr_, mpls_vrf_label_del(orv::mpls_label_t(1)));
   EXPECT_CALL(mgr_, mpls_vrf_label_del(orv::mpls_label_t(2)));

   ok(&Stub::mpls_vrf_label_set, vrfLabelSet(100, "red"));
   remote::BulkMplsVrfLabelSetRequest sets;
   *sets.add_requests() = vrfLabelSet(1, "a");
   *sets.add_requests() = vrfLabelSet(2, "b");
   *sets.add_requests() = vrfLabelSet(3, "c");
   const auto set = ok(&Stub::bulk_mpls_vrf_label_set, sets);
   EXPECT_EQ(set.count(), 1U);
   EXPECT_EQ(set.status().message(), "no VRF");

   ok(&Stub::mpls_vrf_label_del, ofLabel<remote::MplsVrfLabelDelRequest>(100));
   remote::BulkMplsVrfLabelDelRequest dels;
   *dels.add_requests() = ofLabel<remote::MplsVrfLabelDelRequest>(1);
   *dels.add_requests() = ofLabel<remote::MplsVrfLabelDelRequest>(2);
   EXPECT_EQ(ok(&Stub::bulk_mpls_vrf_label_del, dels).count(), 2U);
}

TEST_F(MplsVrfLabelServiceTest, aLabelOutOfRangeNeverReachesTheSwitch) {
   remote::MplsVrfLabelSetResponse response;
   EXPECT_EQ(call(&Stub::mpls_vrf_label_set, vrfLabelSet(1048577, "red"), response).error_code(),
             grpc::StatusCode::OUT_OF_RANGE);
}

TEST_F(MplsVrfLabelServiceTest, aReplayIsTheSwitchesBusiness) {
   const InSequence sequence;
   EXPECT_CALL(mgr_, resync_init());
   EXPECT_CALL(mgr_, resync_complete()).WillOnce(Throw(orv::error("not now")));
   ok(&Stub::resync_init, remote::MplsVrfLabelResyncInitRequest());
   fails(&Stub::resync_complete, remote::MplsVrfLabelResyncCompleteRequest(), grpc::StatusCode::INTERNAL,
         "not now");
}

TEST_F(MplsVrfLabelServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
