// MPLS routes and their vias.
//
// Hardware has a route once it has a way out: hops, or a nexthop group that hardware has. Its FEC is the
// group's, or one of its own when it has hops.
//
// Refusals (orv::invalid_argument_error naming the value, if nothing else is said), before anything is
// written:
//    a route without a label
//    a label above 1048575 (orv::invalid_range_error)
//    a via on a route that does not exist
//    a via with both a nexthop group and a hop or an interface, or with none of them
//    a via with a group on a route that has hops, or the reverse
//    an interface that the switch does not have
//    a via without a label action; push or swap without a label; pop or forward with one
//    a group name of more than 255 bytes
//    and orv::error for one route more than the table holds, or a full disk
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <absl/container/flat_hash_map.h>
#include <absl/container/node_hash_map.h>

#include <deque>
#include <vector>

#include "orv/intf.h"
#include "orv/mpls_route.h"
#include "softswitch/context.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/table.h"

namespace softswitch {

struct MplsVia {
   orv::mpls_route_via_t via;
   std::uint32_t mark = 0;  // the resync epoch of the last set; not stored
   bool operator==(const MplsVia& other) const { return via == other.via; }
};

struct MplsRow {
   std::uint16_t version = 0;
   std::vector<MplsVia> vias;
   bool operator==(const MplsRow&) const = default;
};

struct MplsRouteCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::mpls_route_key_t& key, store::Writer& out);
   static orv::mpls_route_key_t decodeKey(store::Reader& in);
   static void encodeRow(const MplsRow& row, store::Writer& out);
   static MplsRow decodeRow(store::Reader& in, std::uint8_t version);
};

class MplsRouteMgr final : public orv::MplsRouteMgrImpl,
                           public HardwareClient,
                           public MplsRouteAnswers,
                           public GroupObserver {
public:
   MplsRouteMgr(const Context& context, Hardware& hardware, Names& groupNames, NexthopGroupMgr& groups,
                const orv::intf_mgr& intfs);

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
   std::uint16_t hw_version_id(const orv::mpls_route_key_t& key) const override;

   std::size_t size() const { return routes_.size(); }
   std::size_t capacity() const { return routes_.capacity(); }

   bool hardwareIdle() const override { return pending_.empty() && !sweeping_; }
   void hardwareStep(ForwardingPlane& plane) override;
   void mplsRouteAnswer(const orv::mpls_route_key_t& key, std::uint16_t version, bool programmed) override;
   void groupProgrammed(NameId id, bool fresh) override;
   void groupGone(NameId id) override;

private:
   using Routes = Table<orv::mpls_route_key_t, MplsRow, MplsRouteCodec>;

   // Of a route that hardware has or is about to have.
   struct State {
      std::vector<orv::mpls_route_via_t> sent;
      std::vector<orv::mpls_route_via_t> vias;  // in hardware
      HeldName group;                           // that the vias in hardware name
      std::uint64_t fec = 0;                    // 0: not in hardware
      std::uint64_t ownFec = 0;                 // given once it was needed
      std::uint32_t awaited = 0;                // answers of the plane that are to come
      std::uint16_t version = 0;
      bool queued = false;
   };

   const State* inHardware(const orv::mpls_route_key_t& key) const;
   void validateVia(const orv::mpls_route_via_t& via) const;
   void queue(const orv::mpls_route_key_t& key);
   void program(ForwardingPlane& plane, const orv::mpls_route_key_t& key, State& state, const MplsRow& row);
   void unprogram(ForwardingPlane& plane, const orv::mpls_route_key_t& key, State& state);
   std::uint64_t fecFor(State& state);
   void useFec(std::uint64_t fec);
   void leaveFec(std::uint64_t fec);
   bool usesSweptGroup(const MplsRow& row) const;
   void sweepGroup(NameId id);

   Hardware& hardware_;
   Names& groupNames_;
   const NexthopGroupMgr& groups_;
   const orv::intf_mgr& intfs_;
   Routes routes_;
   absl::node_hash_map<orv::mpls_route_key_t, State, std::hash<orv::mpls_route_key_t>> states_;
   absl::flat_hash_map<std::uint64_t, std::size_t> fecUsers_;
   std::deque<orv::mpls_route_key_t> pending_;
   std::uint64_t nextFec_ = 1;
   // A walk that looks again at the routes over groups that have come or gone.
   bool sweeping_ = false;
   std::vector<bool> sweepGroups_;  // by number of the group's name
   std::optional<Routes::Cursor> sweepAt_;
};

}  // namespace softswitch
