// Mounts: the way to platform state that no manager shows.
//
// A handler says in doMounts what it wants mounted, as reader or as the one writer,
// and gets at the mounted state from onMountsComplete on. What it mounted stays
// mounted for its life.
//
// Thread-safety: handlers are made, called and destroyed on the main thread or under
// sdk_scoped_lock (lock.h); the two calls come from the main loop.
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

// Registers with the manager for its life; a null manager registers nothing. The
// manager outlives it.
class mount_handler {
public:
   explicit mount_handler(mount_mgr* mgr);
   virtual ~mount_handler();
   mount_handler(const mount_handler&) = delete;
   mount_handler& operator=(const mount_handler&) = delete;

   // Comes once, before on_initialized of the agent's handlers for a handler that was
   // made before, else soon. A mount that throws, because the path has a writer
   // already, passes through here.
   virtual void doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                         const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared);
   // Comes once, behind doMounts.
   virtual void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                                 const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared);

   // True once the mounts are complete.
   [[nodiscard]] bool initialized() const noexcept { return initialized_; }
   // For whoever implements the manager, before it calls onMountsComplete.
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
