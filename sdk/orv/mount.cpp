#include "orv/mount.h"

namespace orv {

mount_handler::mount_handler(mount_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handler_add(this);
}

mount_handler::~mount_handler() {
   if (mgr_ != nullptr) mgr_->handler_del(this);
}

void mount_handler::doMounts(const Pavo::Ptr<Tessel::MountGroup>&,
                             const Pavo::Ptr<ZeltSharedMem::MountGroup>&) {}

void mount_handler::onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>&,
                                     const Pavo::Ptr<ZeltSharedMem::EntityManager>&) {}

}  // namespace orv
