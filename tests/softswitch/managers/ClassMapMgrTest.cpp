#include "softswitch/managers/class_map_mgr.h"

#include <gmock/gmock.h>

#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using orv::acl_key_t;
using orv::acl_type_t;
using orv::class_map_rule_t;
using orv::class_map_t;
using orv::policy_feature_t;
using orv::policy_map_key_t;
using testing::ElementsAre;

class_map_t mapOf(const policy_map_key_t& key, const std::string& acl = "list") {
   class_map_t map(key);
   map.rule_set(1, class_map_rule_t(acl_key_t(acl + "_IPv4", acl_type_t::ipv4)));
   map.rule_set(2, class_map_rule_t(acl_key_t(acl + "_IPv6", acl_type_t::ipv6)));
   return map;
}

class ClassMapMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      limits_.classMaps = 3;
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      mgr_.reset();
      ManagerFixture::TearDown();
   }
   void make() {
      mgr_ = std::make_unique<ClassMapMgr>(context());
      mgr_->onChange([this] { ++changes_; });
   }

   const policy_map_key_t a_{"a", policy_feature_t::pbr}, b_{"b", policy_feature_t::pbr},
        qos_{"a", policy_feature_t::qos};
   int changes_ = 0;
   std::unique_ptr<ClassMapMgr> mgr_;
};

TEST_F(ClassMapMgrTest, keepsWhatItIsGiven) {
   EXPECT_FALSE(mgr_->exists(a_));
   EXPECT_EQ(mgr_->class_map(a_), class_map_t());
   mgr_->class_map_is(mapOf(a_));
   EXPECT_EQ(mgr_->class_map(a_), mapOf(a_));
   mgr_->class_map_is(mapOf(a_, "another"));
   EXPECT_EQ(mgr_->class_map(a_), mapOf(a_, "another"));
   mgr_->class_map_is(mapOf(a_, "another"));
   EXPECT_EQ(changes_, 2);
   mgr_->class_map_del(a_);
   mgr_->class_map_del(a_);
   EXPECT_FALSE(mgr_->exists(a_));
   EXPECT_EQ(changes_, 3);
}

TEST_F(ClassMapMgrTest, listsByFeature) {
   for (const auto& key : {b_, a_, qos_})
      mgr_->class_map_is(mapOf(key));
   EXPECT_THAT(listOf(mgr_->class_map_iter(policy_feature_t::pbr)), ElementsAre(a_, b_));
   EXPECT_THAT(listOf(mgr_->class_map_iter(policy_feature_t::qos)), ElementsAre(qos_));
   EXPECT_THAT(listOf(mgr_->class_map_iter(policy_feature_t::control_plane)), ElementsAre());
}

TEST_F(ClassMapMgrTest, survivesARestart) {
   mgr_->class_map_is(mapOf(a_));
   mgr_->class_map_is(class_map_t(b_));
   restart([&] { mgr_.reset(); });
   make();
   EXPECT_EQ(mgr_->class_map(a_), mapOf(a_));
   EXPECT_EQ(mgr_->class_map(b_), class_map_t(b_));
}

TEST_F(ClassMapMgrTest, resyncRemovesWhatWasNotSetAgain) {
   for (const auto& key : {a_, b_, qos_})
      mgr_->class_map_is(mapOf(key));
   changes_ = 0;
   mgr_->resync_init();
   mgr_->class_map_is(mapOf(a_));
   mgr_->resync_complete();
   EXPECT_TRUE(mgr_->exists(a_));
   EXPECT_FALSE(mgr_->exists(b_));
   EXPECT_FALSE(mgr_->exists(qos_));
   EXPECT_EQ(changes_, 1);
   mgr_->resync_complete();
   EXPECT_TRUE(mgr_->exists(a_));
}

TEST_F(ClassMapMgrTest, refuses) {
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(class_map_t(policy_map_key_t("", policy_feature_t::pbr))); }),
             "class map name is empty, expected a name");
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(class_map_t(policy_map_key_t("a", policy_feature_t::none))); }),
             "class map 'a' has feature none, expected pbr, qos, tap-aggregation or control-plane");
   EXPECT_EQ(refusal([&] { mgr_->class_map_del(policy_map_key_t()); }),
             "class map name is empty, expected a name");
   class_map_t bad(a_);
   bad.rule_set(3, class_map_rule_t(acl_key_t("", acl_type_t::ipv4)));
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(bad); }),
             "class map 'a' rule 3: ACL name is empty, expected a name");
   EXPECT_FALSE(mgr_->exists(a_));
   const policy_map_key_t longName(std::string(401, 'n'), policy_feature_t::pbr);
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(mapOf(longName)); }),
             "class map name of 401 bytes, expected at most 400");
   EXPECT_FALSE(mgr_->exists(longName));
   EXPECT_EQ(refusal([&] {
                mgr_->class_map_is(mapOf({"Z\xfcrich", policy_feature_t::pbr}));
             }),
             "class map name 'Z\\xfcrich' is not UTF-8");
   bad.rule_set(3, class_map_rule_t(acl_key_t(std::string(401, 'n'), acl_type_t::ipv4)));
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(bad); }),
             "class map 'a' rule 3: ACL name of 401 bytes, expected at most 400");
   // The store accepts the longest name.
   const policy_map_key_t longest(std::string(400, 'n'), policy_feature_t::pbr);
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(mapOf(longest)); }), "");
   mgr_->class_map_del(longest);
   for (const auto* name : {"1", "2", "3"})
      mgr_->class_map_is(mapOf({name, policy_feature_t::pbr}));
   EXPECT_EQ(refusal([&] { mgr_->class_map_is(mapOf(a_)); }), "class map table is full, it holds 3 rows");
}

}  // namespace
}  // namespace softswitch
