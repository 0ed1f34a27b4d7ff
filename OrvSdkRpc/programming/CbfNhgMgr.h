// Writes the platform's table of class-based overrides. Only one agent of a switch may do so.
//
// Thread-safety: call on the SDK's main thread or with the SDK's lock held.
#pragma once

#include "orv/mount.h"
#include "platform/pavo/Ptr.h"
#include "platform/state/CbfNhgOverride.h"

namespace OrvSdkRpc {

class CbfNhgMgr final : public orv::mount_handler {
public:
   explicit CbfNhgMgr(orv::mount_mgr* mgr) : orv::mount_handler(mgr) {}

   // If another agent has the table, stops this agent through orv::panic with unsupported_error.
   void doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                 const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared) override;
   void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                         const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) override;

   // No-ops until the mounts are complete.
   void override_set(const CbfNhgExt::CbfNhgOverrideEntry& entry);
   void override_del(const CbfNhgExt::CbfNhgOverrideKey& key);

private:
   // Null until the mounts are complete.
   Pavo::Ptr<CbfNhgExt::CbfNhgOverrideConfig> config_;
};

}  // namespace OrvSdkRpc
