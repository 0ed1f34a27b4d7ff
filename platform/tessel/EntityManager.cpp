#include "platform/tessel/EntityManager.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace Tessel {

Mount& Mount::operator=(Mount&& other) noexcept {
   if (this != &other) {
      unmount();
      manager_ = std::move(other.manager_);
      path_ = std::move(other.path_);
      mode_ = other.mode_;
      reaction_ = std::move(other.reaction_);
   }
   return *this;
}

Mount::~Mount() {
   unmount();
}

void Mount::unmount() {
   if (manager_ && mode_ == MountMode::write) manager_->writers_.erase(path_);
   manager_ = nullptr;
}

void Mount::entityIs(Pavo::Ptr<Pavo::RefCounted> entity) const {
   if (!manager_ || mode_ != MountMode::write) {
      throw std::logic_error(fmt::format("mount '{}': entity set on a mount that is not for writing", path_));
   }
   manager_->entities_->entityIs(path_, std::move(entity));
}

Mount EntityManager::mount(const std::string& path, MountMode mode, std::function<void()> onChange) {
   if (path.empty() || path.front() == '/' || path.back() == '/' || path.find("//") != std::string::npos) {
      throw std::invalid_argument(
           fmt::format("mount path '{}': expected names joined by single slashes", path));
   }
   Mount mount;
   mount.path_ = path;
   mount.mode_ = mode;
   if (onChange) {
      mount.reaction_ =
           entities_->reactorIs([path, change = std::move(onChange)](const std::string& changed) {
              if (changed == path) change();
           });
   }
   if (mode == MountMode::write && !writers_.insert(path).second) {
      throw std::runtime_error(
           fmt::format("mount path '{}': has a writer already, expected at most one", path));
   }
   mount.manager_ = Pavo::Ptr<EntityManager>(this);
   return mount;
}

}  // namespace Tessel
