#include "platform/zelt/Dir.h"

#include <utility>

namespace Zelt {

Pavo::Ptr<Pavo::RefCounted> Dir::entity(std::string_view name) const {
   const auto it = entities_.find(name);
   return it != entities_.end() ? it->second : nullptr;
}

std::vector<std::string> Dir::names() const {
   std::vector<std::string> result;
   result.reserve(entities_.size());
   for (const auto& [name, entity] : entities_)
      result.push_back(name);
   return result;
}

void Dir::entityIs(const std::string& name, Pavo::Ptr<Pavo::RefCounted> entity) {
   if (!entity) return entityDel(name);
   Pavo::Ptr<Pavo::RefCounted>& place = entities_[name];
   if (place == entity) return;
   place = std::move(entity);
   notify(name);
}

void Dir::entityDel(const std::string& name) {
   const auto it = entities_.find(name);
   if (it == entities_.end()) return;
   // Reactors find the entry removed. The extracted node keeps the key alive, in case `name` refers to it.
   const auto removed = entities_.extract(it);
   notify(removed.key());
}

Dir::Reaction Dir::reactorIs(Reactor reactor) const {
   std::erase_if(reactors_, [](const auto& known) { return known.expired(); });
   auto owned = std::make_shared<const Reactor>(std::move(reactor));
   reactors_.push_back(owned);
   return Reaction(std::move(owned));
}

void Dir::notify(const std::string& name) {
   // A copy: a reactor may add and remove reactors, and may drop the last owner of this directory.
   const auto reactors = reactors_;
   for (const auto& known : reactors) {
      if (const auto reactor = known.lock()) (*reactor)(name);
   }
}

}  // namespace Zelt
