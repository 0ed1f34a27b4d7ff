// IP routes and their vias.
//
// A write is checked, stored and queued for the hardware stage. A via that carries nothing but its route key
// stands, in deletes and questions, for all vias of its route.
//
// Refusals (orv::invalid_argument_error naming the value, if nothing else is said), before anything is
// written:
//    a route without a prefix (a prefix with host bits is refused by orv::ip_prefix_t already)
//    a command tag of more than 255 bytes
//    an action that contradicts the route's vias: nexthop-group with hops, any other with a group, drop and
//       punt with vias of any kind
//    a via on a route that does not exist
//    a via with both a nexthop group and a hop or an interface
//    a via that names no way out at all
//    a via with a group on a route that has hops, or the reverse; a hop on a route set for a nexthop group
//    a via on a route that drops or punts
//    an interface or VXLAN interface that the switch does not have; a VRF or egress VRF that it does not have
//    a VNI above 16777215 (orv::invalid_range_error)
//    a group name of more than 255 bytes
//    more vias than a route takes
//    and orv::error for one route more than the table holds, or a full disk
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
   bool hops;       // it had a FEC of its own
};

// Hears what becomes of routes in hardware, from the main loop.
class RouteObserver {
public:
   // Of a route that hardware has, anew or changed.
   virtual void routeChanged(RouteRow& row) = 0;
   // Of a route that hardware has, whose group or link may have come or gone.
   virtual void wayOutChanged(RouteRow& row) = 0;
   // Of one that hardware has no more.
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
   // Routes that hardware has.
   std::size_t programmed() const { return programmed_; }
   // The same in any VRF.
   orv::ip_route_action_t action(const orv::ip_route_key_t& key, const std::string& vrf_name) const;

   std::size_t routesIn(const std::string& vrf_name) const;
   // The number that keys of a VRF's routes have; false where the VRF has had no route yet.
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
   // A walk over all rows, in the order of memory: programs what is not, and looks again at routes whose
   // group or link has come or gone.
   bool sweeping_ = false;
   bool sweepsHops_ = false;
   RouteIndex sweepAt_ = 0;
};

}  // namespace softswitch
