// Mounts: access to platform state that no manager exposes.
//
// In doMounts a handler requests its mounts, as reader or as the only writer. It can access the mounted state
// from onMountsComplete on. Its mounts last for its lifetime.
//
// Thread-safety: handlers are created, called and destroyed on the main thread or under sdk_scoped_lock
// (lock.h); the two callbacks come from the main loop.
#pragma once

namespace Pavo {
template <typename T>
class Ptr;
}
namespace Tessel {
class EntityManager;
class MountGroup;
}  // namespace Tessel
namespace ZeltSharedMem {
class EntityManager;
class MountGroup;
}  // namespace ZeltSharedMem

namespace orv {

class mount_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class mount_handler {
public:
   explicit mount_handler(mount_mgr* mgr);
   virtual ~mount_handler();
   mount_handler(const mount_handler&) = delete;
   mount_handler& operator=(const mount_handler&) = delete;

   // Called once: before on_initialized of the agent's handlers if this handler exists by then, otherwise
   // soon after its creation. An exception from a mount, for instance because the path already has a writer,
   // propagates through this call.
   virtual void doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                         const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared);
   // Called once, after doMounts.
   virtual void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                                 const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared);

   // True once the mounts are complete.
   [[nodiscard]] bool initialized() const noexcept { return initialized_; }
   // For implementations of the manager, before they call onMountsComplete.
   void initialized_is(bool initialized) noexcept { initialized_ = initialized; }

   [[nodiscard]] mount_mgr* get_mount_mgr() const noexcept { return mgr_; }

private:
   mount_mgr* const mgr_;
   bool initialized_ = false;
};

class mount_mgr {
public:
   virtual ~mount_mgr() = default;

   // For handlers: called by their constructor and destructor.
   virtual void handler_add(mount_handler* handler) = 0;
   virtual void handler_del(mount_handler* handler) noexcept = 0;
};

}  // namespace orv
