// What the rules of traffic policies match.
//
// Equal elements of a set collapse into one. The names of field sets lose their order; ranges and addresses
// come back in ascending order. Ranges are not checked: an end below the start or above the field's width
// passes.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/tp_rule_filter.h"

namespace OrvSdkRpc::types {

// Of two entries for the same range of protocols, the first wins.
orv::tp_rule_filter_t convert(const orv::remote::TpRuleFilter& message);
orv::remote::TpRuleFilter convert(const orv::tp_rule_filter_t& filter);

orv::protocol_field_t convert(const orv::remote::ProtocolField& message);
orv::remote::ProtocolField convert(const orv::protocol_field_t& field);

orv::port_field_t convert(const orv::remote::PortField& message);
orv::remote::PortField convert(const orv::port_field_t& field);

}  // namespace OrvSdkRpc::types
