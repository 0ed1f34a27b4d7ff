#include "orv/class_map_types.h"

#include "orv/record_text.h"

namespace orv {

std::size_t class_map_rule_t::hash() const {
   return detail::hash_of(acl_key_);
}

std::string class_map_rule_t::to_string() const {
   return detail::record_text("class_map_rule_t", {{"acl_key", detail::text_of(acl_key_)}});
}

std::size_t class_map_t::hash() const {
   return detail::hash_of(key_, rules_);
}

std::string class_map_t::to_string() const {
   return detail::record_text("class_map_t",
                              {{"key", detail::text_of(key_)}, {"rules", detail::text_of(rules_)}});
}

}  // namespace orv
