#include "softswitch/tables/names.h"

namespace softswitch {

NameId Names::add(std::string_view name) {
   NameId id;
   if (unused_.empty()) {
      id = static_cast<NameId>(entries_.size());
      entries_.emplace_back();
   } else {
      id = unused_.back();
      unused_.pop_back();
   }
   auto& entry = entries_[id];
   entry.text.assign(name);
   entry.references = 1;
   ids_.emplace(entry.text, id);
   return id;
}

void Names::remove(NameId id) {
   auto& entry = entries_[id];
   ids_.erase(std::string_view(entry.text));
   entry.text = {};
   unused_.push_back(id);
}

}  // namespace softswitch
