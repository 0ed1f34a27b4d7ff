// Traffic policies in the store's binary form. The reader throws as in value_codec.h.
//
// Thread-safety: functions without state.
#pragma once

#include <string>

#include "orv/traffic_policy_types.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {

// The counters and rules of a traffic policy, without its key.
void writePolicy(store::Writer& out, const orv::traffic_policy_t& v);
orv::traffic_policy_t readPolicy(store::Reader& in);

// The codec (table.h) of the traffic policies, by name. The policies in the rows have empty keys.
struct TrafficPolicyCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const std::string& name, store::Writer& out) { out.text(name); }
   static std::string decodeKey(store::Reader& in) { return std::string(in.text()); }
   static void encodeRow(const orv::traffic_policy_t& row, store::Writer& out) { writePolicy(out, row); }
   static orv::traffic_policy_t decodeRow(store::Reader& in, std::uint8_t) { return readPolicy(in); }
};

}  // namespace softswitch
