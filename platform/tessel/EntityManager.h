#pragma once

// Mounted state: entities by path, each with at most one writer and any number of readers.
// Thread-safety: guarded by the activity lock. Every caller holds it, also to destroy a Mount.

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pavo/Ptr.h"
#include "platform/zelt/Dir.h"

namespace Tessel {

enum class MountMode : std::uint8_t { read, write };

class EntityManager;

// A mount that lasts as long as this handle. An entity outlives its writer's handle: the next writer of the
// path takes it over.
class Mount {
public:
   Mount() = default;
   Mount(Mount&& other) noexcept = default;
   Mount& operator=(Mount&& other) noexcept;
   ~Mount();

   explicit operator bool() const { return manager_ != nullptr; }
   const std::string& path() const { return path_; }
   MountMode mode() const { return mode_; }

   // RETURNS: the entity at the path; null if the path has no entity or one of another type.
   template <typename T>
   Pavo::Ptr<T> entity() const;
   // Sets the entity at the path; null removes it.
   // THROWS: std::logic_error if this is not a mount for writing.
   void entityIs(Pavo::Ptr<Pavo::RefCounted> entity) const;

private:
   friend class EntityManager;
   void unmount();

   Pavo::Ptr<EntityManager> manager_;
   std::string path_;
   MountMode mode_ = MountMode::read;
   Zelt::Dir::Reaction reaction_;
};

class EntityManager : public Pavo::RefCounted {
public:
   // Mounts a path such as "interface/status/all". `onChange` is called whenever the entity at the path is
   // added, replaced or removed, but not for an entity that exists at the time of the mount.
   // THROWS: std::invalid_argument for a path that is empty, begins or ends with "/" or has an empty
   // component; std::runtime_error if the path already has a writer. Both texts name the path.
   Mount mount(const std::string& path, MountMode mode, std::function<void()> onChange = {});

   // RETURNS: the entity at the path, mounted or not; null if the path has no entity or one of another type.
   template <typename T>
   Pavo::Ptr<T> entity(std::string_view path) const {
      return entities_->entityAs<T>(path);
   }

   // RETURNS: the paths that have an entity, in order.
   std::vector<std::string> paths() const { return entities_->names(); }

protected:
   ~EntityManager() override = default;

private:
   friend class Mount;

   const Pavo::Ptr<Zelt::Dir> entities_ = Pavo::makePtr<Zelt::Dir>();
   std::set<std::string> writers_;
};

template <typename T>
Pavo::Ptr<T> Mount::entity() const {
   return manager_ ? manager_->entities_->entityAs<T>(path_) : nullptr;
}

}  // namespace Tessel
