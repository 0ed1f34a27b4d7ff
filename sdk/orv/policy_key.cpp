#include "orv/policy_key.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(policy_feature_t v) noexcept {
   switch (v) {
      case policy_feature_t::none:
         return "none";
      case policy_feature_t::pbr:
         return "pbr";
      case policy_feature_t::qos:
         return "qos";
      case policy_feature_t::tap_aggregation:
         return "tap-aggregation";
      case policy_feature_t::control_plane:
         return "control-plane";
   }
   return {};
}

std::size_t policy_map_key_t::hash() const {
   return detail::hash_of(name_, feature_);
}

std::string policy_map_key_t::to_string() const {
   return fmt::format("{} ({})", name_, feature_);
}

}  // namespace orv
