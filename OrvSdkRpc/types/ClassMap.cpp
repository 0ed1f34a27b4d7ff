#include "OrvSdkRpc/types/ClassMap.h"

#include "OrvSdkRpc/types/Containers.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

orv::class_map_t convert(const remote::ClassMap& message) {
   orv::class_map_t map(convert(message.key()));
   map.rules_is(mapOf<orv::class_map_rule_t>(message.rules(),
                                             [](const remote::ClassMapRule& rule) { return convert(rule); }));
   return map;
}

remote::ClassMap convert(const orv::class_map_t& map) {
   remote::ClassMap message;
   *message.mutable_key() = convert(map.key());
   mapkv(map.rules(), *message.mutable_rules());
   return message;
}

orv::class_map_rule_t convert(const remote::ClassMapRule& message) {
   return orv::class_map_rule_t(convert(message.acl_key()));
}

remote::ClassMapRule convert(const orv::class_map_rule_t& rule) {
   remote::ClassMapRule message;
   *message.mutable_acl_key() = convert(rule.acl_key());
   return message;
}

}  // namespace OrvSdkRpc::types
