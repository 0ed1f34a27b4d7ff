#include "OrvSdkRpc/types/Containers.h"

#include <set>

#include "Conversions.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(ContainersTest, aSetFoldsWhatIsEqualOnceConverted) {
   google::protobuf::RepeatedField<std::uint32_t> numbers;
   for (const std::uint32_t number : {7U, 17U, 8U, 27U})
      numbers.Add(number);
   EXPECT_EQ(setOf<std::set<std::uint32_t>>(numbers, [](std::uint32_t n) { return n % 10; }),
             (std::set<std::uint32_t>{7, 8}));
   google::protobuf::RepeatedPtrField<std::string> names;
   for (const char* name : {"b", "a", "b"})
      *names.Add() = name;
   EXPECT_EQ(setOf<std::unordered_set<std::string>>(names), (std::unordered_set<std::string>{"a", "b"}));
   EXPECT_TRUE(setOf<std::set<std::string>>(google::protobuf::RepeatedPtrField<std::string>()).empty());
}

TEST(ContainersTest, aMapKeepsItsKeysWholeAndIsJudgedInTheirOrder) {
   google::protobuf::Map<std::uint32_t, std::string> map;
   std::map<std::uint32_t, std::size_t> expected;
   std::vector<std::string> rising;
   for (std::uint32_t i = 0; i < 40; ++i) {
      const std::uint32_t key = i * 100'000'000;
      const std::string text(i % 7, 'a');
      map[key] = text;
      expected[key] = text.size();
      rising.push_back(text);
   }
   map[4294967295U] = "last";
   expected[4294967295U] = 4;
   rising.emplace_back("last");
   std::vector<std::string> asked;
   EXPECT_EQ((mapOf<std::size_t>(map,
                                 [&](const std::string& text) {
                                    asked.push_back(text);
                                    return text.size();
                                 })),
             expected);
   EXPECT_EQ(asked, rising);
}

TEST(ContainersTest, mapkvConvertsEachValueUnderItsKey) {
   std::map<std::uint32_t, orv::class_map_rule_t> rules;
   rules.emplace(0, orv::class_map_rule_t(orv::acl_key_t("a", orv::acl_type_t::ipv4)));
   rules.emplace(4294967295U, orv::class_map_rule_t(orv::acl_key_t("b", orv::acl_type_t::ipv6)));
   google::protobuf::Map<std::uint32_t, remote::ClassMapRule> wire;
   mapkv(rules, wire);
   ASSERT_EQ(wire.size(), 2U);
   EXPECT_TRUE(
        same(wire.at(0), parsed<remote::ClassMapRule>("acl_key { acl_name: 'a' acl_type: ACL_TYPE_IPV4 }")));
   EXPECT_TRUE(same(wire.at(4294967295U),
                    parsed<remote::ClassMapRule>("acl_key { acl_name: 'b' acl_type: ACL_TYPE_IPV6 }")));
}

TEST(ContainersTest, theFailureOfOneEntryEndsTheWhole) {
   std::map<std::uint32_t, orv::class_map_rule_t> rules;
   rules.emplace(1, orv::class_map_rule_t(orv::acl_key_t("a", orv::acl_type_t::ipv4)));
   rules.emplace(2, orv::class_map_rule_t(orv::acl_key_t("b", static_cast<orv::acl_type_t>(5))));
   google::protobuf::Map<std::uint32_t, remote::ClassMapRule> wire;
   EXPECT_EQ(refusalOf([&] { mapkv(rules, wire); }), invalidArgument("Unknown value for Acl type: 5"));
}

}  // namespace
