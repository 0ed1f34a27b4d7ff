#include "softswitch/managers/class_map_mgr.h"

#include "orv/error.h"
#include "softswitch/managers/acl_rules.h"
#include "softswitch/tables/name_check.h"

namespace softswitch {

void checkPolicyMapKey(std::string_view what, const orv::policy_map_key_t& key) {
   if (key.name().empty()) {
      throw orv::invalid_argument_error(fmt::format("{} name is empty, expected a name", what));
   }
   if (key.feature() == orv::policy_feature_t::none) {
      throw orv::invalid_argument_error(
           fmt::format("{} '{}' has feature none, expected pbr, qos, tap-aggregation or control-plane", what,
                       orv::detail::quotable(key.name())));
   }
}

ClassMapMgr::ClassMapMgr(const Context& context)
     : maps_(context.store, "class map", context.limits.classMaps) {}

void ClassMapMgr::resync_init() {
   orv::sdk_lock_check();
   maps_.resyncInit();
}

void ClassMapMgr::resync_complete() {
   orv::sdk_lock_check();
   bool any = false;
   maps_.resyncComplete([&any](const auto&, const auto&) { any = true; });
   if (any) tellChange();
}

orv::class_map_iter_t ClassMapMgr::class_map_iter(orv::policy_feature_t feature) const {
   orv::sdk_lock_check();
   return makeTableIter<orv::class_map_iter_t>(maps_, [feature](const Maps::Item& item) {
      return item.key->feature() == feature ? std::optional(*item.key) : std::nullopt;
   });
}

bool ClassMapMgr::exists(const orv::policy_map_key_t& key) const {
   orv::sdk_lock_check();
   return maps_.contains(key);
}

orv::class_map_t ClassMapMgr::class_map(const orv::policy_map_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = maps_.find(key);
   if (row == nullptr) return {};
   auto map = *row;
   map.key_is(key);
   return map;
}

void ClassMapMgr::class_map_is(const orv::class_map_t& map) {
   orv::sdk_lock_check();
   checkPolicyMapKey("class map", map.key());
   checkText("class map name", map.key().name(), policyNameBytesMax);
   for (const auto& [sequence, rule] : map.rules()) {
      try {
         checkAclKey(rule.acl_key());
         checkText("ACL name", rule.acl_key().acl_name(), policyNameBytesMax);
      } catch (const orv::error& e) {
         throw orv::invalid_argument_error(fmt::format(
              "class map '{}' rule {}: {}", orv::detail::quotable(map.key().name()), sequence, e.what()));
      }
   }
   auto row = map;
   row.key_is({});
   if (maps_.set(map.key(), std::move(row)) != Change::none) tellChange();
}

void ClassMapMgr::class_map_del(const orv::policy_map_key_t& key) {
   orv::sdk_lock_check();
   checkPolicyMapKey("class map", key);
   if (maps_.erase(key)) tellChange();
}

void ClassMapMgr::tellChange() const {
   for (const auto& changed : changed_)
      changed();
}

}  // namespace softswitch
