#pragma once

// A directory of named state objects that tells of its changes.
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

   /// Called with the name of an entry that was added, replaced or removed.
   using Reactor = std::function<void(const std::string& name)>;

   /// Keeps a reactor installed for its own life. May outlive the directory; may be dropped inside a reactor,
   /// which is then not called any more.
   class Reaction {
   public:
      Reaction() = default;

   private:
      friend class Dir;
      explicit Reaction(std::shared_ptr<const Reactor> reactor) : reactor_(std::move(reactor)) {}
      std::shared_ptr<const Reactor> reactor_;
   };

   /// The entry, or null.
   Pavo::Ptr<Pavo::RefCounted> entity(std::string_view name) const;
   /// The entry under its own type; null if there is none or it is of another type.
   template <typename T>
   Pavo::Ptr<T> entityAs(std::string_view name) const {
      return Pavo::dynamicPtr<T>(entity(name));
   }
   /// Names in order.
   std::vector<std::string> names() const;
   std::size_t size() const { return entities_.size(); }

   /// Adds or replaces an entry; null removes it. Putting the object that is there already is no change.
   void entityIs(const std::string& name, Pavo::Ptr<Pavo::RefCounted> entity);
   /// Removes an entry; a missing one is no change.
   void entityDel(const std::string& name);

   [[nodiscard]] Reaction reactorIs(Reactor reactor) const;

private:
   ~Dir() override = default;
   void notify(const std::string& name);

   std::map<std::string, Pavo::Ptr<Pavo::RefCounted>, std::less<>> entities_;
   mutable std::vector<std::weak_ptr<const Reactor>> reactors_;  // of readers, no part of the value
};

}  // namespace Zelt
