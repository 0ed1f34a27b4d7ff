// IP routes and their vias.
//
// A write is checked, stored and queued for the hardware stage. In deletes and queries, a via that carries
// only its route key stands for all vias of its route.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value), before anything is
// written:
//    a route without a prefix (orv::ip_prefix_t already refuses a prefix with host bits)
//    a command tag of more than 255 bytes, or not in UTF-8
//    an action that contradicts the route's vias: nexthop-group with hops, any other with a group, drop and
//       punt with any vias
//    a via on a route that does not exist
//    a via with both a nexthop group and a hop or an interface
//    a via that names no way out
//    a via with a group on a route that has hops, or the reverse; a hop on a route set for a nexthop group
//    a via on a route that drops or punts
//    an interface, VXLAN interface, VRF or egress VRF that does not exist
//    a VNI above 16777215 (orv::invalid_range_error)
//    a group name of more than 255 bytes, or not in UTF-8
//    more vias than a route takes
//    more routes than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <string>
#include <vector>

#include "orv/intf.h"
#include "orv/ip_route.h"
#include "orv/vrf.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/context.h"
#include "softswitch/managers/group_sweep.h"
#include "softswitch/tables/ip_route_table.h"
#include "softswitch/tables/names.h"
#include "softswitch/tables/work_list.h"

namespace softswitch {

struct GoneRoute {
   RouteKey key;
   RouteIndex index;
   bool forwarded;  // as RouteRow::forwarded
   bool ownFec;     // as RouteRow::ownFec
};

// The main loop notifies it of changes to routes in hardware.
class RouteObserver {
public:
   // Hardware has the route, new or changed.
   virtual void routeChanged(RouteRow& row) = 0;
   // The group or the link of a route in hardware may have come or gone.
   virtual void wayOutChanged(RouteRow& row) = 0;
   // Hardware has removed the route.
   virtual void routeGone(const GoneRoute& route) = 0;

protected:
   ~RouteObserver() = default;
};

class IpRouteMgr final : public orv::ip_route_mgr,
                         public HardwareClient,
                         public RouteAnswers,
                         public GroupSweep,
                         private orv::intf_handler {
public:
   static constexpr std::uint32_t vniMax = 0xffffff;  // RFC 7348
   static constexpr std::size_t commandTagBytesMax = 255;

   IpRouteMgr(const Context& context, Hardware& hardware, Names& groupNames, orv::intf_mgr& intfs,
              orv::vrf_mgr& vrfs);

   void tag_is(std::uint32_t tag) override;
   std::uint32_t tag() const override;
   void resync_init() override;
   void resync_complete() override;
   orv::ip_route_iter_t ip_route_iter() const override;
   orv::ip_route_iter_t ip_route_iter(const std::string& vrf_name) const override;
   orv::ip_route_via_iter_t ip_route_via_iter(const orv::ip_route_key_t& key) const override;
   orv::ip_route_via_iter_t ip_route_via_iter(const orv::ip_route_key_t& key,
                                              const std::string& vrf_name) const override;
   bool exists(const orv::ip_route_key_t& key) const override;
   bool exists(const orv::ip_route_key_t& key, const std::string& vrf_name) const override;
   bool exists(const orv::ip_route_via_t& via) const override;
   bool exists(const orv::ip_route_via_t& via, const std::string& vrf_name) const override;
   orv::ip_route_t ip_route(const orv::ip_route_key_t& key) const override;
   orv::ip_route_t ip_route(const orv::ip_route_key_t& key, const std::string& vrf_name) const override;
   void ip_route_set(const orv::ip_route_t& route) override;
   void ip_route_set(const orv::ip_route_t& route, orv::ip_route_action_t action) override;
   void ip_route_set(const orv::ip_route_t& route, const std::string& vrf_name) override;
   void ip_route_del(const orv::ip_route_key_t& key, const std::string& vrf_name) override;
   void ip_route_del(const orv::ip_route_key_t& key) override;
   void ip_route_via_set(const orv::ip_route_via_t& via) override;
   void ip_route_via_set(const orv::ip_route_via_t& via, const std::string& vrf_name) override;
   void ip_route_via_del(const orv::ip_route_via_t& via) override;
   void ip_route_via_del(const orv::ip_route_via_t& via, const std::string& vrf_name) override;
   orv::ip_route_action_t action(const orv::ip_route_key_t& key) const override;

   std::size_t size() const { return table_.size(); }
   std::size_t capacity() const { return table_.capacity(); }
   // The number of routes in hardware.
   std::size_t programmed() const { return programmed_; }
   // action() in any VRF.
   orv::ip_route_action_t action(const orv::ip_route_key_t& key, const std::string& vrf_name) const;

   std::size_t routesIn(const std::string& vrf_name) const;
   // Looks up the number that a VRF has in route keys.
   // RETURNS: false if the VRF never had a route.
   bool vrfNumber(const std::string& vrfName, NameId& number) const;

   void observe(RouteObserver& observer) { observer_ = &observer; }
   IpRouteTable& table() { return table_; }
   const IpRouteTable& table() const { return table_; }

   bool hardwareIdle() const override { return removals_.empty() && pending_.empty() && !sweeping_; }
   void hardwareStep(ForwardingPlane& plane) override;
   void routesAnswer(std::span<const RouteIndex> tokens, bool programmed) override;

private:
   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;
   void sweepHops();

   NameId vrfForWrite(const std::string& vrfName);
   const RouteRow* find(const orv::ip_route_key_t& key, const std::string& vrfName) const;
   void set(const orv::ip_route_t& route, const orv::ip_route_action_t* action, NameId vrf);
   void del(RouteRow& row);
   void setVia(const orv::ip_route_via_t& via, NameId vrf);
   void setHop(RouteRow& row, const orv::ip_route_via_t& via);
   void validateVia(const orv::ip_route_via_t& via) const;
   void changed(RouteRow& row);
   void queue(RouteRow& row);
   void program(ForwardingPlane& plane, RouteRow& row);
   void flushBatch(ForwardingPlane& plane);
   void unprogram(ForwardingPlane& plane, RouteRow& row);
   void sweep() override;
   void sweepStep(ForwardingPlane& plane);

   Hardware& hardware_;
   const orv::intf_mgr& intfs_;
   const orv::vrf_mgr& vrfMgr_;
   const std::size_t viasMax_;
   Names vrfNames_;
   IpRouteTable table_;
   std::uint32_t tag_ = 0;
   std::size_t programmed_ = 0;
   RouteObserver* observer_ = nullptr;

   // For the hardware stage.
   WorkList<GoneRoute> removals_;
   WorkList<RouteIndex> pending_;
   std::vector<PlaneRoute> batch_;
   // A pass over all rows, in memory order: programs routes that are not in hardware, and reports routes
   // whose group or link has come or gone.
   bool sweeping_ = false;
   bool sweepsHops_ = false;
   RouteIndex sweepAt_ = 0;
};

}  // namespace softswitch
