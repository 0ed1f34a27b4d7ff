#include "softswitch/managers/mpls_vrf_label_mgr.h"

#include <gmock/gmock.h>

#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using orv::mpls_label_t;
using orv::mpls_vrf_label_t;
using testing::HasSubstr;

class MplsVrfLabelMgrTest : public SwitchFixture {
protected:
   MplsVrfLabelMgr& mgr() { return sw().mplsVrfLabels(); }
   void set(std::uint32_t label, std::string vrf) {
      mgr().mpls_vrf_label_set({mpls_label_t(label), std::move(vrf)});
   }
};

TEST_F(MplsVrfLabelMgrTest, setReplaceDeleteAndRestart) {
   set(200, "blue");
   set(100, "red");
   set(100, "green");
   set(300, "gone");
   mgr().mpls_vrf_label_del(mpls_label_t(300));
   mgr().mpls_vrf_label_del(mpls_label_t(301));
   restart();
   const auto labels = listOf(mgr().mpls_vrf_label_iter());
   ASSERT_EQ(labels.size(), 2u);
   EXPECT_EQ(labels[0], mpls_vrf_label_t(mpls_label_t(100), "green"));
   EXPECT_EQ(labels[1], mpls_vrf_label_t(mpls_label_t(200), "blue"));
   EXPECT_EQ(mgr().mpls_vrf_label(mpls_label_t(300)).vrf_name(), "");
   EXPECT_EQ(mgr().mpls_vrf_label(mpls_label_t(200)).vrf_name(), "blue");
}

TEST_F(MplsVrfLabelMgrTest, whatNamesNothingIsRefused) {
   EXPECT_THAT(refusal([&] { mgr().mpls_vrf_label_set({mpls_label_t(), "red"}); }), HasSubstr("1048576"));
   EXPECT_THAT(refusal([&] { set(100, ""); }), HasSubstr("100 names no VRF"));
   EXPECT_THAT(refusal([&] { set(100, std::string(256, 'v')); }), HasSubstr("256 bytes"));
   EXPECT_EQ(refusal([&] { set(1048575, "red"); }), "");
   EXPECT_EQ(mgr().size(), 1u);
}

TEST_F(MplsVrfLabelMgrTest, resyncRemovesWhatWasNotSetAgain) {
   set(100, "red");
   set(200, "blue");
   mgr().resync_init();
   set(200, "blue");
   mgr().resync_complete();
   EXPECT_EQ(mgr().size(), 1u);
   EXPECT_EQ(mgr().mpls_vrf_label(mpls_label_t(200)).vrf_name(), "blue");
}

}  // namespace
}  // namespace softswitch
