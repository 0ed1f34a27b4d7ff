// The routes that wait for the name of the nexthop group that their FEC leads to.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <set>

#include "platform/state/Fib.h"
#include "platform/state/RouteKeyAndMetric.h"

namespace OrvSdkRpc {

class FecIdToMplsRouteKeySet {
public:
   explicit FecIdToMplsRouteKeySet(const Rillo::Fib::FecId& fecId) : fecId_(fecId) {}

   [[nodiscard]] const Rillo::Fib::FecId& fecId() const { return fecId_; }
   // In order, so that routes are reported in the same order each time.
   [[nodiscard]] const std::set<Mpls::RouteKey>& mplsRouteKeySet() const { return mplsRouteKeySet_; }
   void mplsRouteKeySetIs(const Mpls::RouteKey& key) { mplsRouteKeySet_.insert(key); }
   void mplsRouteKeySetDel(const Mpls::RouteKey& key) { mplsRouteKeySet_.erase(key); }
   void mplsRouteKeySetDelAll() { mplsRouteKeySet_.clear(); }

private:
   Rillo::Fib::FecId fecId_;
   std::set<Mpls::RouteKey> mplsRouteKeySet_;
};

}  // namespace OrvSdkRpc
