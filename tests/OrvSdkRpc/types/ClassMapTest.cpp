#include "OrvSdkRpc/types/ClassMap.h"

#include "Conversions.h"
#include "testing/values/GeneratePolicy.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(ClassMapTest, fieldsGoWhereTheyBelong) {
   const auto message = parsed<remote::ClassMap>(R"(
      key { name: "c" feature: POLICY_FEATURE_PBR }
      rules { key: 4294967295 value { acl_key { acl_name: "a" acl_type: ACL_TYPE_IPV6 } } }
      rules { key: 0 value { } })");
   const orv::class_map_t map = convert(message);
   EXPECT_EQ(map.key(), orv::policy_map_key_t("c", orv::policy_feature_t::pbr));
   ASSERT_EQ(map.rules().size(), 2U);
   EXPECT_EQ(map.rules().at(4294967295U).acl_key(), orv::acl_key_t("a", orv::acl_type_t::ipv6));
   EXPECT_EQ(map.rules().at(0), orv::class_map_rule_t());
}

TEST(ClassMapTest, nothingGivenIsADefaultMap) {
   EXPECT_EQ(convert(remote::ClassMap()), orv::class_map_t());
   EXPECT_EQ(convert(remote::ClassMapRule()), orv::class_map_rule_t());
}

TEST(ClassMapTest, theFirstBadFieldIsTold) {
   const auto good = parsed<remote::ClassMap>("rules { key: 1 } rules { key: 2 }");
   const auto badRule = [](std::uint32_t key, int type) {
      return [key, type](remote::ClassMap& m) {
         (*m.mutable_rules())[key].mutable_acl_key()->set_acl_type(static_cast<remote::AclType>(type));
      };
   };
   expectFirstIsTold<remote::ClassMap>(
        good, kConvert,
        {{[](auto& m) { m.mutable_key()->set_feature(static_cast<remote::PolicyFeature>(5)); },
          invalidArgument("Unknown value for policy feature: 5")},
         {badRule(1, 5), invalidArgument("Unknown value for Acl type: 5")},
         {badRule(2, 6), invalidArgument("Unknown value for Acl type: 6")},
         {badRule(3'000'000'000, 7), invalidArgument("Unknown value for Acl type: 7")}});
}

TEST(ClassMapTest, roundTrips) {
   expectRoundTrips<orv::class_map_t>(kConvert, kConvert);
   expectRoundTrips<orv::class_map_rule_t>(kConvert, kConvert);
}

}  // namespace
