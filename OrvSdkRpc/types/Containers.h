// Conversions of sets and maps between the wire and the SDK, for the sources of the records that contain
// them.
//
// Thread-safety: pure functions.
#pragma once

#include <google/protobuf/map.h>
#include <google/protobuf/repeated_field.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "OrvSdkRpc/types/ClassMap.h"
#include "OrvSdkRpc/types/PolicyMap.h"
#include "OrvSdkRpc/types/TpRuleFilter.h"
#include "OrvSdkRpc/types/TrafficPolicy.h"

namespace OrvSdkRpc::types {

// Converts each element of a repeated field. Equal results collapse into one.
template <typename Set, typename Items, typename Convert>
Set setOf(const Items& items, const Convert& convertOne) {
   Set set;
   if constexpr (requires { set.reserve(0); }) set.reserve(static_cast<std::size_t>(items.size()));
   for (const auto& item : items)
      set.insert(convertOne(item));
   return set;
}

// Copies the names unchanged.
template <typename Set>
Set setOf(const google::protobuf::RepeatedPtrField<std::string>& names) {
   return Set(names.begin(), names.end());
}

// Converts a wire map in key order: of several bad entries, the error names the one with the smallest key.
template <typename Value, typename Message, typename Convert>
std::map<std::uint32_t, Value> mapOf(const google::protobuf::Map<std::uint32_t, Message>& items,
                                     const Convert& convertOne) {
   using Item = typename google::protobuf::Map<std::uint32_t, Message>::value_type;
   std::vector<const Item*> rising;
   rising.reserve(items.size());
   for (const Item& item : items)
      rising.push_back(&item);
   std::sort(rising.begin(), rising.end(), [](const Item* a, const Item* b) { return a->first < b->first; });
   std::map<std::uint32_t, Value> map;
   for (const Item* item : rising)
      map.emplace_hint(map.end(), item->first, convertOne(item->second));
   return map;
}

// Converts one map entry. It catches nothing: an error in one entry fails the whole map.
template <typename Value>
auto try_convert(const Value& value) {
   return convert(value);
}

// Fills a wire map from an SDK map.
template <typename SdkMap, typename WireMap>
void mapkv(const SdkMap& from, WireMap& to) {
   for (const auto& [key, value] : from)
      to[key] = try_convert(value);
}

}  // namespace OrvSdkRpc::types
