#include "softswitch/managers/nexthop_group_tunnel_mgr.h"

#include <fmt/format.h>

#include "orv/error.h"
#include "orv/lock.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {

void NexthopGroupTunnelCodec::encodeKey(const orv::ip_prefix_t& key, store::Writer& out) {
   write(out, key);
}

orv::ip_prefix_t NexthopGroupTunnelCodec::decodeKey(store::Reader& in) {
   return readIpPrefix(in);
}

void NexthopGroupTunnelCodec::encodeRow(const orv::nexthop_group_tunnel_t& row, store::Writer& out) {
   out.text(row.nhg_name());
   out.varint(row.igp_metric());
}

orv::nexthop_group_tunnel_t NexthopGroupTunnelCodec::decodeRow(store::Reader& in, std::uint8_t) {
   orv::nexthop_group_tunnel_t row;
   row.nhg_name_is(std::string(in.text()));
   row.igp_metric_is(in.number<std::uint32_t>());
   return row;
}

NexthopGroupTunnelMgr::NexthopGroupTunnelMgr(const Context& context)
     : tunnels_(context.store, "nexthop_group_tunnel", context.limits.nexthopGroupTunnels) {}

void NexthopGroupTunnelMgr::resync_init() {
   orv::sdk_lock_check();
   tunnels_.resyncInit();
}

void NexthopGroupTunnelMgr::resync_complete() {
   orv::sdk_lock_check();
   tunnels_.resyncComplete([](const auto&, const auto&) {});
}

orv::nexthop_group_tunnel_iter_t NexthopGroupTunnelMgr::nexthop_group_tunnel_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::nexthop_group_tunnel_iter_t>(tunnels_, [](auto item) {
      auto tunnel = *item.row;
      tunnel.tunnel_endpoint_is(*item.key);
      return std::optional(std::move(tunnel));
   });
}

bool NexthopGroupTunnelMgr::exists(const orv::ip_prefix_t& tunnel_endpoint) const {
   orv::sdk_lock_check();
   return tunnels_.contains(tunnel_endpoint);
}

void NexthopGroupTunnelMgr::nexthop_group_tunnel_set(const orv::nexthop_group_tunnel_t& tunnel) {
   orv::sdk_lock_check();
   const auto& endpoint = tunnel.tunnel_endpoint();
   if (endpoint.af() == orv::af_none)
      throw orv::invalid_argument_error("nexthop group tunnel has no endpoint");
   if (tunnel.nhg_name().empty())
      throw orv::invalid_argument_error(
           fmt::format("nexthop group tunnel {} names no nexthop group", endpoint));
   if (const auto fault = textFault(tunnel.nhg_name(), NexthopGroupMgr::nameBytesMax); !fault.empty()) {
      throw orv::invalid_argument_error(
           fmt::format("nexthop group tunnel {}: nexthop group name {}", endpoint, fault));
   }
   auto row = tunnel;
   row.tunnel_endpoint_is({});
   tunnels_.set(endpoint, std::move(row));
}

void NexthopGroupTunnelMgr::nexthop_group_tunnel_del(const orv::ip_prefix_t& tunnel_endpoint) {
   orv::sdk_lock_check();
   tunnels_.erase(tunnel_endpoint);
}

}  // namespace softswitch
