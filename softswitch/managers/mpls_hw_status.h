// The mounted table of the MPLS routes in hardware (platform/state/MplsHardwareStatus.h), of which this is
// the only writer.
//
// Thread-safety: guarded by the SDK's lock; rows change on the main loop only.
#pragma once

#include "orv/mpls_route_types.h"
#include "platform/state/MplsHardwareStatus.h"
#include "platform/tessel/EntityManager.h"
#include "softswitch/managers/mount_mgr.h"

namespace softswitch {

class MplsHwStatus {
public:
   // THROWS: std::runtime_error if the table has a writer already.
   explicit MplsHwStatus(const MountMgr& mounts);

   // Hardware's answer for a route, which takes the row of its labels.
   void answered(const orv::mpls_route_key_t& key, const Mpls::Hardware::AckInfo& answer, std::size_t vias);
   // Hardware has lost every route with these labels. A no-op if they have no row.
   void unprogrammed(const orv::mpls_route_key_t& key);
   // No route with these labels exists any more.
   void removed(const orv::mpls_route_key_t& key);

private:
   const Pavo::Ptr<Mpls::Hardware::Status> table_ =
        Pavo::makePtr<Mpls::Hardware::Status>(std::string(Mpls::Hardware::statusPath));
   Tessel::Mount mount_;
};

}  // namespace softswitch
