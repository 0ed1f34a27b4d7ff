#include "softswitch/managers/mount_mgr.h"

#include <algorithm>

#include "orv/lock.h"

namespace softswitch {

MountMgr::MountMgr(const Context& context) : callbacks_(context.callbacks) {}

void MountMgr::handler_add(orv::mount_handler* handler) {
   orv::sdk_lock_check();
   entries_.push_back({.handler = handler, .state = nullptr, .shared = nullptr});
   callbacks_.post([this] { completeMounts(); });
}

void MountMgr::handler_del(orv::mount_handler* handler) noexcept {
   std::erase_if(entries_, [&](const Entry& entry) { return entry.handler == handler; });
}

void MountMgr::completeMounts() {
   // One handler per call, because one call was posted for each. A handler may add and remove others.
   const auto waiting =
        std::find_if(entries_.begin(), entries_.end(), [](const Entry& entry) { return !entry.state; });
   if (waiting == entries_.end()) return;
   auto* const handler = waiting->handler;
   const auto state = waiting->state = Pavo::makePtr<Tessel::MountGroup>(state_);
   const auto shared = waiting->shared = Pavo::makePtr<ZeltSharedMem::MountGroup>(shared_);
   handler->doMounts(state, shared);
   handler->initialized_is(true);
   handler->onMountsComplete(state_, shared_);
}

}  // namespace softswitch
