// SDK values in the store's binary form (store/codec.h).
//
// Readers throw store::StoreError (damaged) for bytes that no writer here produces, including values that the
// SDK's types refuse.
//
// Thread-safety: functions without state.
#pragma once

#include "orv/error.h"
#include "orv/eth_addr.h"
#include "orv/intf_id.h"
#include "orv/ip_prefix.h"
#include "orv/mpls_label.h"
#include "orv/mpls_label_stack.h"
#include "orv/mpls_route_types.h"
#include "orv/sbfd_types.h"
#include "softswitch/store/codec.h"

namespace softswitch {

// Runs `read`; an orv::error of the SDK's values becomes StoreError (damaged).
template <class Read>
auto decoded(Read&& read) {
   try {
      return read();
   } catch (const orv::error& e) {
      throw store::StoreError(store::Trouble::damaged, e.what());
   }
}

// An enumeration whose largest member is `last`.
template <class E>
E readEnum(store::Reader& in, E last) {
   const auto v = in.u8();
   if (v > static_cast<std::uint8_t>(last))
      throw store::StoreError(store::Trouble::damaged, "a row has an unknown enumerator");
   return static_cast<E>(v);
}
template <class E>
void writeEnum(store::Writer& out, E v) {
   out.u8(static_cast<std::uint8_t>(v));
}

// The family, then its bytes, so that the store sorts addresses as the SDK does.
void write(store::Writer& out, const orv::ip_addr_t& v);
orv::ip_addr_t readIpAddr(store::Reader& in);

void write(store::Writer& out, const orv::ip_prefix_t& v);
orv::ip_prefix_t readIpPrefix(store::Reader& in);

void write(store::Writer& out, const orv::ip_addr_mask_t& v);
orv::ip_addr_mask_t readIpAddrMask(store::Reader& in);

void write(store::Writer& out, const orv::eth_addr_t& v);
orv::eth_addr_t readEthAddr(store::Reader& in);

void write(store::Writer& out, const orv::intf_id_t& v);
orv::intf_id_t readIntfId(store::Reader& in);

void write(store::Writer& out, orv::mpls_label_t v);
orv::mpls_label_t readMplsLabel(store::Reader& in);

// The number of labels, the labels in four bytes each, the metric.
void write(store::Writer& out, const orv::mpls_route_key_t& v);
orv::mpls_route_key_t readMplsRouteKey(store::Reader& in);

void write(store::Writer& out, const orv::mpls_label_stack_t& v);
orv::mpls_label_stack_t readLabelStack(store::Reader& in);

void write(store::Writer& out, const orv::sbfd_echo_session_key_t& v);
orv::sbfd_echo_session_key_t readSbfdKey(store::Reader& in);

}  // namespace softswitch
