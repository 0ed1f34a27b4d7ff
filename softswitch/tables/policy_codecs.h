// ACLs, class maps and policy maps in the store's binary form. Readers throw as in value_codec.h.
//
// Thread-safety: functions without state.
#pragma once

#include "orv/acl_types.h"
#include "orv/class_map_types.h"
#include "orv/policy_map_types.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {

void write(store::Writer& out, const orv::acl_key_t& v);
orv::acl_key_t readAclKey(store::Reader& in);

void write(store::Writer& out, const orv::policy_map_key_t& v);
orv::policy_map_key_t readPolicyMapKey(store::Reader& in);

void write(store::Writer& out, const orv::acl_rule_ip_t& v);
orv::acl_rule_ip_t readAclRuleIp(store::Reader& in);

void write(store::Writer& out, const orv::acl_rule_eth_t& v);
orv::acl_rule_eth_t readAclRuleEth(store::Reader& in);

// The rules of a map, without its key.
void writeRules(store::Writer& out, const orv::class_map_t& v);
void readRules(store::Reader& in, orv::class_map_t& into);

void writeRules(store::Writer& out, const orv::policy_map_t& v);
void readRules(store::Reader& in, orv::policy_map_t& into);

// The codec (table.h) of the class maps and of the policy maps: a row is the rules of its map.
template <class Map>
struct RulesCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::policy_map_key_t& key, store::Writer& out) { write(out, key); }
   static orv::policy_map_key_t decodeKey(store::Reader& in) { return readPolicyMapKey(in); }
   static void encodeRow(const Map& row, store::Writer& out) { writeRules(out, row); }
   static Map decodeRow(store::Reader& in, std::uint8_t) {
      Map map;
      readRules(in, map);
      return map;
   }
};

}  // namespace softswitch
