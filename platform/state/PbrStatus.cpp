#include "platform/state/PbrStatus.h"

namespace Pbr {

ActionType actionType(const PbrAction& action) {
   return std::visit([](const auto& of) { return of.type; }, action);
}

const ClassMapStatus* Status::classMapStatus(const Pavo::String& policy, const Pavo::String& classMap) const {
   const auto* const row = find(policy);
   if (row == nullptr) return nullptr;
   const auto it = row->classMapStatus.find(classMap);
   return it == row->classMapStatus.end() ? nullptr : &it->second;
}

}  // namespace Pbr
