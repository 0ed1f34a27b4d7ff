// Mounts: the switch's state database and its shared tables, and who has mounted what.
//
// A handler is asked for its mounts from the main loop, soon after it was made, and before the agent's
// handlers hear that the switch is initialized if it was there before the loop began. Its mounts are kept
// until it is gone.
//
// Thread-safety: guarded by the SDK's lock; handlers are called from the main loop.
#pragma once

#include <vector>

#include "orv/mount.h"
#include "platform/tessel/EntityManager.h"
#include "platform/tessel/SharedMem.h"
#include "softswitch/managers/context.h"

namespace softswitch {

class MountMgr final : public orv::mount_mgr {
public:
   explicit MountMgr(const Context& context);

   void handler_add(orv::mount_handler* handler) override;
   void handler_del(orv::mount_handler* handler) noexcept override;

   // For those of the switch that write what handlers mount.
   const Pavo::Ptr<Tessel::EntityManager>& state() const { return state_; }
   const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared() const { return shared_; }

private:
   struct Entry {
      orv::mount_handler* handler;
      Pavo::Ptr<Tessel::MountGroup> state;
      Pavo::Ptr<ZeltSharedMem::MountGroup> shared;
   };

   void completeMounts();

   Callbacks& callbacks_;
   const Pavo::Ptr<Tessel::EntityManager> state_ = Pavo::makePtr<Tessel::EntityManager>();
   const Pavo::Ptr<ZeltSharedMem::EntityManager> shared_ = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   std::vector<Entry> entries_;
};

}  // namespace softswitch
