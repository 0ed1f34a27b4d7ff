// Tunnel endpoints over nexthop groups.
//
// The group need not exist yet.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value):
//    a tunnel without an endpoint, or without the name of a group
//    a group name of more than 255 bytes, or not in UTF-8
//    more tunnels than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include "orv/nexthop_group_tunnel.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/table.h"

namespace softswitch {

struct NexthopGroupTunnelCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::ip_prefix_t& key, store::Writer& out);
   static orv::ip_prefix_t decodeKey(store::Reader& in);
   static void encodeRow(const orv::nexthop_group_tunnel_t& row, store::Writer& out);
   static orv::nexthop_group_tunnel_t decodeRow(store::Reader& in, std::uint8_t version);
};

class NexthopGroupTunnelMgr final : public orv::nexthop_group_tunnel_mgr {
public:
   explicit NexthopGroupTunnelMgr(const Context& context);

   void resync_init() override;
   void resync_complete() override;
   orv::nexthop_group_tunnel_iter_t nexthop_group_tunnel_iter() const override;
   bool exists(const orv::ip_prefix_t& tunnel_endpoint) const override;
   void nexthop_group_tunnel_set(const orv::nexthop_group_tunnel_t& tunnel) override;
   void nexthop_group_tunnel_del(const orv::ip_prefix_t& tunnel_endpoint) override;

   std::size_t size() const { return tunnels_.size(); }
   std::size_t capacity() const { return tunnels_.capacity(); }

private:
   // The row's own endpoint stays empty; the key has it.
   Table<orv::ip_prefix_t, orv::nexthop_group_tunnel_t, NexthopGroupTunnelCodec> tunnels_;
};

}  // namespace softswitch
