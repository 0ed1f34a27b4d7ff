#pragma once

// A directory of named state objects that reports its changes to reactors.
// Thread-safety: guarded by the activity lock, which every caller holds. Reactors run inside the changing
// call.

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pavo/Ptr.h"

namespace Zelt {

class Dir final : public Pavo::RefCounted {
public:
   static constexpr std::string_view entityType = "Zelt::Dir";

   // Called with the name of an entry that was added, replaced or removed.
   using Reactor = std::function<void(const std::string& name)>;

   // Keeps a reactor installed as long as it lives. It may outlive the directory, and may be destroyed inside
   // a reactor. After its destruction the reactor is not called any more.
   class Reaction {
   public:
      Reaction() = default;

   private:
      friend class Dir;
      explicit Reaction(std::shared_ptr<const Reactor> reactor) : reactor_(std::move(reactor)) {}
      std::shared_ptr<const Reactor> reactor_;
   };

   // RETURNS: the entry, or null.
   Pavo::Ptr<Pavo::RefCounted> entity(std::string_view name) const;
   // RETURNS: the entry as a T; null if it is missing or of another type.
   template <typename T>
   Pavo::Ptr<T> entityAs(std::string_view name) const {
      return Pavo::dynamicPtr<T>(entity(name));
   }
   // RETURNS: the names in order.
   std::vector<std::string> names() const;
   std::size_t size() const { return entities_.size(); }

   // Adds or replaces an entry; null removes it. A no-op if the entry is this object already.
   void entityIs(const std::string& name, Pavo::Ptr<Pavo::RefCounted> entity);
   // Removes an entry; a no-op if it is missing.
   void entityDel(const std::string& name);

   [[nodiscard]] Reaction reactorIs(Reactor reactor) const;

private:
   ~Dir() override = default;
   void notify(const std::string& name);

   std::map<std::string, Pavo::Ptr<Pavo::RefCounted>, std::less<>> entities_;
   mutable std::vector<std::weak_ptr<const Reactor>> reactors_;  // not part of the directory's value
};

}  // namespace Zelt
