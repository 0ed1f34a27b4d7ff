// MPLS routes and their vias.
//
// Hardware has a route once it has a way out: hops, or a nexthop group that is in hardware. Its FEC is the
// group's, or its own if it has hops. A mounted table tells others what hardware has (mpls_hw_status.h): a
// row comes with the plane's answer, has the versions of route and group in hardware, and goes with the last
// route of its labels.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value), before anything is
// written:
//    a route without a label
//    a label above 1048575 (orv::invalid_range_error)
//    a via on a route that does not exist
//    a via with both a nexthop group and a hop or an interface, or with none of the three
//    a via with a group on a route that has hops, or the reverse
//    an interface that does not exist
//    a via without a label action; push or swap without a label; pop or forward with one
//    a group name of more than 255 bytes, or not in UTF-8
//    more vias than a route takes
//    more routes than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <optional>

#include "orv/intf.h"
#include "orv/mpls_route.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/context.h"
#include "softswitch/managers/group_sweep.h"
#include "softswitch/managers/mpls_hw_status.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/mpls_route_table.h"
#include "softswitch/tables/work_list.h"

namespace softswitch {

class MplsRouteMgr final : public orv::MplsRouteMgrImpl,
                           public HardwareClient,
                           public MplsRouteAnswers,
                           public GroupSweep {
public:
   MplsRouteMgr(const Context& context, Hardware& hardware, Names& groupNames, NexthopGroupMgr& groups,
                const orv::intf_mgr& intfs, const MountMgr& mounts);

   void resync_init() override;
   void resync_complete() override;
   orv::mpls_route_iter_t mpls_route_iter() const override;
   orv::mpls_route_via_iter_t mpls_route_via_iter(const orv::mpls_route_key_t& key) const override;
   orv::mpls_route_status_iter_t mpls_route_status_iter() const override;
   orv::mpls_route_via_status_iter_t mpls_route_via_status_iter(
        const orv::mpls_route_key_t& key) const override;
   bool exists(const orv::mpls_route_key_t& key) const override;
   bool exists(const orv::mpls_route_via_t& via) const override;
   std::uint8_t metric(const orv::mpls_route_key_t& key) const override;
   orv::mpls_fec_id_t fec_id(const orv::mpls_route_key_t& key) const override;
   void mpls_route_set(const orv::mpls_route_t& route) override;
   void mpls_route_del(const orv::mpls_route_key_t& key) override;
   void mpls_route_via_set(const orv::mpls_route_via_t& via) override;
   void mpls_route_via_del(const orv::mpls_route_via_t& via) override;
   orv::mpls_route_t mpls_route(const orv::mpls_route_key_t& key) const override;
   std::uint16_t hw_version_id(const orv::mpls_route_key_t& key) const override;

   std::size_t size() const { return table_.size(); }
   std::size_t capacity() const { return table_.capacity(); }

   // Writes the versions of groups into the mounted table. A client of its own, for the end of the list: each
   // pass reads every route, and a controller may change groups without a pause.
   HardwareClient& teller() { return teller_; }

   bool hardwareIdle() const override { return pending_.empty() && !sweepAt_; }
   void hardwareStep(ForwardingPlane& plane) override;
   void mplsRouteAnswer(const orv::mpls_route_key_t& key, std::uint16_t version, bool programmed) override;
   void groupProgrammed(NameId id, bool fresh) override;

private:
   class Teller final : public HardwareClient {
   public:
      explicit Teller(MplsRouteMgr& mgr) : mgr_(mgr) {}
      bool hardwareIdle() const override { return !mgr_.toldTo_; }
      void hardwareStep(ForwardingPlane&) override { mgr_.tellStep(); }

   private:
      MplsRouteMgr& mgr_;
   };

   // How many routes use a FEC, and the version of its group that the table tells, or will after a pass.
   struct FecUse {
      std::size_t routes;
      std::uint16_t groupVersion;
   };

   const MplsRow* inHardware(const orv::mpls_route_key_t& key) const;
   void validateVia(const orv::mpls_route_via_t& via) const;
   void erase(MplsRow& row);
   void changed(MplsRow& row);
   void queue(MplsRow& row);
   bool hasWayOut(const MplsRow& row) const;
   void program(ForwardingPlane& plane, MplsRow& row);
   void unprogram(ForwardingPlane& plane, MplsRow& row);
   void releaseIfDone(MplsRow& row);
   std::uint64_t fecFor(MplsRow& row);
   void useFec(std::uint64_t fec, std::uint16_t groupVersion);
   void leaveFec(std::uint64_t fec);
   void sweep() override;
   void sweepStep();
   // Brings the row of the key's labels in line with hardware.
   void tellStatus(const orv::mpls_route_key_t& key);
   void tellRefusal(const MplsRow& row, std::uint16_t version);
   // RETURNS: the version of the group in hardware; 0 if hardware does not have it.
   std::uint16_t groupVersion(NameId id) const;
   void startTelling();
   void tellStep();

   Hardware& hardware_;
   Names& groupNames_;
   const NexthopGroupMgr& groups_;
   const orv::intf_mgr& intfs_;
   const std::size_t viasMax_;
   MplsRouteTable table_;
   MplsHwStatus status_;
   absl::flat_hash_map<std::uint64_t, FecUse> fecUsers_;
   std::uint64_t nextFec_ = 1;
   WorkList<MplsRow*> pending_;
   // Reused for the plane: a via that names only a group and an action.
   orv::mpls_route_via_t plainVia_;
   // A pass over the routes whose group has come or gone; empty if none is running.
   std::optional<MplsRouteTable::Cursor> sweepAt_;
   // A pass over the routes whose group has another version in hardware; empty if none is running. By number:
   // the groups of this pass, and those of the next one.
   std::optional<MplsRouteTable::Cursor> toldTo_;
   std::vector<bool> tellsOf_;
   std::vector<bool> newVersions_;
   Teller teller_{*this};
};

}  // namespace softswitch
