// Follows the counters of policies in the platform's counter table, and gives each a short key. No SDK
// manager reports their changes.
//
// The short keys follow the table all the time, so that a frontend begins with keys that its readers can look
// up. Nothing is passed on unless a frontend watches.
//
// Thread-safety: guarded by the SDK's lock. The main loop reports changes with the lock held.
#pragma once

#include "orv/mount.h"
#include "platform/pavo/Ptr.h"
#include "platform/state/PbrCounters.h"
#include "platform/state/PbrCountersKeyCompressionTable.h"
#include "platform/zelt/Dir.h"

namespace OrvSdkRpc {

class PbrPolicyCountersMgr final : public orv::mount_handler {
public:
   using Id = PbrCountersKeyCompressionTable::Id;

   explicit PbrPolicyCountersMgr(orv::mount_mgr* mountMgr);
   ~PbrPolicyCountersMgr() override;

   void doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                 const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared) override;
   void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                         const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) override;

   // Passes every change on from now on: a new counter with its long key, later changes without it, and a
   // removed counter with the delete flag. A counter that has changed several times is reported once. What is
   // there already is in keys(). A second call replaces the frontend.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching(const Pavo::Ptr<PbrCountersFrontend>& frontend);
   // A repeated call is a no-op.
   // REQUIRES: the caller holds the SDK's lock.
   void stopWatching();

   // Every counter that exists, with its short key. First passes on what has come or gone but is not reported
   // yet, so that whoever reads the keys under the lock misses nothing of what is reported later.
   // REQUIRES: the caller holds the SDK's lock.
   const PbrCountersKeyCompressionTable& keys();
   // The counter at this moment; without a status if it is gone.
   [[nodiscard]] PbrCounters counters(Id id, const PbrCountersKey& key) const;

   // The statuses of the slices that have policies of their own, each a Pbr::Status; null if the switch has
   // no such slices.
   [[nodiscard]] const Pavo::Ptr<const Zelt::Dir>& statusDir() const { return statusDir_; }

   [[nodiscard]] bool watching() const { return frontend_ != nullptr; }

private:
   void handleCounter(const PbrCountersKey& key);
   void follow(const PbrCountersKey& key);
   [[nodiscard]] const Pbr::CounterStatus* find(const PbrCountersKey& key) const;

   PbrCountersKeyCompressionTable keys_;
   Pavo::Ptr<PbrCountersFrontend> frontend_;
   // Null if the platform has no such table.
   Pavo::Ptr<const Pbr::CounterTable> table_;
   Pavo::Ptr<const Zelt::Dir> statusDir_;
   Pbr::CounterTable::Reaction reaction_;
};

}  // namespace OrvSdkRpc
