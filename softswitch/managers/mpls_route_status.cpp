// What the mounted table tells of the MPLS routes in hardware.
#include <utility>

#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/tables/fec.h"

namespace softswitch {
namespace {

using FecState = Routing::Hardware::FecHwProgrammingState;

constexpr int labelsToldPerStep = 256;

static_assert(fecId(FecKind::nexthopGroup, 5) == NexthopGroup::nexthopGroupIdToFecId(5).value());

std::size_t viasInHardware(const MplsRow& row) {
   return row.hardware != nullptr && !row.hardware->programmed.empty() ? row.hardware->programmed.size() : 1;
}

}  // namespace

void MplsRouteMgr::tellStatus(const orv::mpls_route_key_t& key) {
   if (const auto* row = table_.inHardware(key)) {
      status_.answered(row->key(),
                       {.fecId = Rillo::Fib::FecId(row->fec),
                        .routeVersion = row->programmedVersion,
                        .fecVersion = groupVersion(row->programmedGroup),
                        .hwState = FecState::success},
                       viasInHardware(*row));
   } else if (table_.hasRoute(key)) {
      status_.unprogrammed(key);
   } else {
      status_.removed(key);
   }
}

// Of several routes with the same labels, the table tells of the one that forwards.
void MplsRouteMgr::tellRefusal(const MplsRow& row, std::uint16_t version) {
   const auto key = row.key();
   const auto* forwards = table_.inHardware(key);
   if (forwards != nullptr && forwards != &row) return;
   const bool group = row.sentGroup != Names::none;
   const auto ownFec = row.hardware == nullptr ? 0 : row.hardware->ownFec;
   status_.answered(key,
                    {.fecId = Rillo::Fib::FecId(group ? fecId(FecKind::nexthopGroup, row.sentGroup) : ownFec),
                     .routeVersion = version,
                     .fecVersion = groupVersion(row.sentGroup),
                     .hwState = FecState::failure},
                    forwards == nullptr ? 0 : viasInHardware(row));
}

std::uint16_t MplsRouteMgr::groupVersion(NameId id) const {
   const auto* group = groups_.programmed(id);
   return group == nullptr ? std::uint16_t{0} : group->version_id();
}

void MplsRouteMgr::groupProgrammed(NameId id, bool fresh) {
   GroupSweep::groupProgrammed(id, fresh);
   const auto use = fecUsers_.find(fecId(FecKind::nexthopGroup, id));
   if (use == fecUsers_.end() || use->second.groupVersion == groupVersion(id)) return;
   use->second.groupVersion = groupVersion(id);
   if (id >= newVersions_.size()) newVersions_.resize(id + 1);
   newVersions_[id] = true;
   if (!toldTo_) startTelling();
   hardware_.request();
}

void MplsRouteMgr::startTelling() {
   tellsOf_ = std::exchange(newVersions_, {});
   toldTo_.emplace(table_);
}

// A version that changes during a pass is for the next one, so that each pass ends, however often groups
// change.
void MplsRouteMgr::tellStep() {
   for (int done = 0; done < labelsToldPerStep; ++done) {
      const auto* row = toldTo_->next();
      if (row == nullptr) {
         toldTo_.reset();
         if (!newVersions_.empty()) startTelling();
         return;
      }
      const auto group = row->fec == 0 ? Names::none : row->programmedGroup;
      if (group < tellsOf_.size() && tellsOf_[group]) tellStatus(row->key());
   }
}

}  // namespace softswitch
