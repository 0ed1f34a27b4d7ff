#pragma once

// A group of mounts with one owner.
// Thread-safety: guarded by the activity lock. Every caller holds it, also to destroy a group.

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/tessel/EntityManager.h"

namespace Tessel {

// Keeps its mounts until it is destroyed.
class MountGroup : public Pavo::RefCounted {
public:
   explicit MountGroup(Pavo::Ptr<EntityManager> manager) : manager_(std::move(manager)) {}

   // Mounts the entity of type T at a path. A writer takes over an existing entity, or creates one from
   // `args`. A reader may mount a path that has no entity, or one of another type.
   // THROWS: what EntityManager::mount throws. For a writer also std::runtime_error if the entity is of
   // another type, and std::logic_error if an entity has to be created but `args` do not construct a T.
   template <typename T, typename... Args>
   void mount(const std::string& path, MountMode mode, Args&&... args) {
      Mount made = manager_->mount(path, mode);
      if (mode == MountMode::write && !made.entity<T>()) {
         if (made.entity<Pavo::RefCounted>()) refuseType(path, T::entityType);
         if constexpr (requires { new T(std::forward<Args>(args)...); }) {
            made.entityIs(Pavo::makePtr<T>(std::forward<Args>(args)...));
         } else {
            refuseArguments(path, T::entityType);
         }
      }
      mounts_.push_back(std::move(made));
   }

   const Pavo::Ptr<EntityManager>& manager() const { return manager_; }
   std::size_t size() const { return mounts_.size(); }

protected:
   ~MountGroup() override = default;

private:
   [[noreturn]] static void refuseType(const std::string& path, std::string_view type);
   [[noreturn]] static void refuseArguments(const std::string& path, std::string_view type);

   const Pavo::Ptr<EntityManager> manager_;
   std::vector<Mount> mounts_;
};

}  // namespace Tessel
