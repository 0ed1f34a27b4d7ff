#pragma once

// Mounted state: entities by path, each with at most one writer and any number of readers.
// Thread-safety: guarded by the activity lock, which every caller holds, also where a Mount is destroyed.

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

/// A mount point for as long as the handle lives. An entity outlives the handle of its writer: the next
/// writer of the path takes it over.
class Mount {
public:
   Mount() = default;
   Mount(Mount&& other) noexcept = default;
   Mount& operator=(Mount&& other) noexcept;
   ~Mount();

   explicit operator bool() const { return manager_ != nullptr; }
   const std::string& path() const { return path_; }
   MountMode mode() const { return mode_; }

   /// The entity at the path; null if there is none yet or it is of another type.
   template <typename T>
   Pavo::Ptr<T> entity() const;
   /// Puts an entity at the path, null removes it. Throws std::logic_error on a mount for reading.
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
   /// Mounts a path such as "interface/status/all". `onChange` is called whenever the entity at the path
   /// appears, is replaced or goes, not for what is there at the time of the mount. Throws
   /// std::invalid_argument for a path that is empty, begins or ends with "/" or has an empty component, and
   /// std::runtime_error if a second writer asks; both name the path.
   Mount mount(const std::string& path, MountMode mode, std::function<void()> onChange = {});

   /// The entity at the path, mounted or not; null if there is none or it is of another type.
   template <typename T>
   Pavo::Ptr<T> entity(std::string_view path) const {
      return entities_->entityAs<T>(path);
   }

   /// Paths at which an entity is, in order.
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
