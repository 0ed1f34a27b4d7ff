// Mounts: the switch's state database and shared tables, and the mounts of each handler.
//
// The main loop asks a handler for its mounts soon after the handler is added; for a handler added before the
// loop began, this happens before on_initialized of the agent's handlers. The mounts are kept until the
// handler is removed.
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

   // For the parts of the switch that write what handlers mount.
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
