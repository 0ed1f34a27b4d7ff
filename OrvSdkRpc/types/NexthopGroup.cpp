#include "OrvSdkRpc/types/NexthopGroup.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

namespace {

std::uint16_t slotOf(std::uint32_t key) {
   return static_cast<std::uint16_t>(key);
}

// Converts the values in key order. If all keys fit into a slot number, that is slot order already. Otherwise
// the values are sorted after the conversion. Either way the slot_map grows at its end.
template <typename T, typename Map, typename Convert>
orv::slot_map<T> slots(const Map& map, const Convert& convertOne) {
   using Item = typename Map::value_type;
   std::vector<const Item*> items;
   items.reserve(map.size());
   for (const Item& item : map)
      items.push_back(&item);
   std::sort(items.begin(), items.end(), [](const Item* a, const Item* b) { return a->first < b->first; });
   orv::slot_map<T> result;
   result.reserve(items.size());
   if (items.empty() || items.back()->first <= std::numeric_limits<std::uint16_t>::max()) {
      for (const Item* item : items)
         result.insert(slotOf(item->first), convertOne(item->second));
      return result;
   }
   std::vector<std::pair<std::uint16_t, T>> values;
   values.reserve(items.size());
   for (const Item* item : items)
      values.emplace_back(slotOf(item->first), convertOne(item->second));
   std::stable_sort(values.begin(), values.end(),
                    [](const auto& a, const auto& b) { return a.first < b.first; });
   for (auto& [slot, value] : values)
      result.insert(slot, std::move(value));
   return result;
}

orv::slot_map<orv::nexthop_group_entry_t> entries(
     const google::protobuf::Map<std::uint32_t, remote::NexthopGroupEntry>& map) {
   return slots<orv::nexthop_group_entry_t>(
        map, [](const remote::NexthopGroupEntry& entry) { return convert(entry); });
}

void assignAddress(const orv::ip_addr_t& address, std::string& bytes) {
   bytes.assign(reinterpret_cast<const char*>(address.addr()), afToSize(address));
}

// Makes `to` hold exactly one item for each slot, written by fill(value, item).
template <typename T, typename Item, typename Fill>
void fillSlots(const orv::slot_map<T>& from, google::protobuf::Map<std::uint32_t, Item>& to,
               const Fill& fill) {
   for (const auto& [slot, value] : from)
      fill(value, to[slot]);
   if (to.size() == from.size()) return;
   for (auto it = to.begin(); it != to.end();) {
      const bool kept = it->first == slotOf(it->first) && from.contains(slotOf(it->first));
      it = kept ? std::next(it) : to.erase(it);
   }
}

}  // namespace

orv::nexthop_group_t convert(const remote::NexthopGroup& message) {
   const auto greKeyType = convert(message.gre_key_type());
   const auto type = convert(message.type());
   orv::nexthop_group_t group(message.name(), type, greKeyType);
   if (message.has_ttl()) group.ttl_is(static_cast<std::uint16_t>(message.ttl()));
   group.source_ip_is(ip_addr(message.source_ip()));
   group.source_intf_is(convert(message.source_intf()));
   group.autosize_is(message.autosize());
   group.nexthops_is(entries(message.nexthops()));
   group.backup_nexthops_is(entries(message.backup_nexthops()));
   group.destination_ips_is(slots<orv::ip_addr_t>(message.destination_ips(), ip_addr));
   group.counters_unshared_is(message.counters_unshared());
   group.counters_persistent_is(message.counters_persistent());
   group.hierarchical_fecs_enabled_is(message.hierarchical_fecs_enabled());
   return group;
}

remote::NexthopGroup convert(const orv::nexthop_group_t& group) {
   remote::NexthopGroup message;
   convert(group, message);
   return message;
}

void convert(const orv::nexthop_group_t& group, remote::NexthopGroup& message) {
   message.set_gre_key_type(convert(group.gre_key_type()));
   message.set_type(convert(group.type()));
   message.set_name(group.name());
   message.set_ttl(group.ttl());
   if (!!group.source_ip()) {
      assignAddress(group.source_ip(), *message.mutable_source_ip());
   } else {
      message.clear_source_ip();
   }
   convert(group.source_intf(), *message.mutable_source_intf());
   message.set_autosize(group.autosize());
   fillSlots(group.nexthops(), *message.mutable_nexthops(),
             [](const orv::nexthop_group_entry_t& entry, remote::NexthopGroupEntry& item) {
                convert(entry, item);
             });
   message.clear_backup_nexthops();
   fillSlots(group.destination_ips(), *message.mutable_destination_ips(),
             [](const orv::ip_addr_t& destination, std::string& item) { item = ip_addr_bytes(destination); });
   message.set_counters_unshared(group.counters_unshared());
   message.set_counters_persistent(group.counters_persistent());
   message.set_hierarchical_fecs_enabled(group.hierarchical_fecs_enabled());
   message.set_version_id(group.version_id());
}

orv::nexthop_group_entry_t convert(const remote::NexthopGroupEntry& message) {
   orv::nexthop_group_entry_t entry(ip_addr(message.nexthop()));
   entry.mpls_action_is(convert(message.mpls_action()));
   entry.intf_is(convert(message.intf()));
   entry.child_nexthop_group_is(message.child_nexthop_group());
   return entry;
}

remote::NexthopGroupEntry convert(const orv::nexthop_group_entry_t& entry) {
   remote::NexthopGroupEntry message;
   convert(entry, message);
   return message;
}

void convert(const orv::nexthop_group_entry_t& entry, remote::NexthopGroupEntry& message) {
   if (!!entry.nexthop()) {
      assignAddress(entry.nexthop(), *message.mutable_nexthop());
   } else {
      message.clear_nexthop();
   }
   convert(entry.mpls_action(), *message.mutable_mpls_action());
   convert(entry.intf(), *message.mutable_intf());
   if (!entry.child_nexthop_group().empty()) {
      message.set_child_nexthop_group(entry.child_nexthop_group());
   } else {
      message.clear_child_nexthop_group();
   }
}

orv::nexthop_group_mpls_action_t convert(const remote::NexthopGroupMplsAction& message) {
   const auto actionType = convert(message.action_type());
   orv::mpls_label_stack_t labels;
   for (const std::uint32_t label : message.label_stack())
      labels.push_back(orv::mpls_label_t(label));
   return {actionType, std::move(labels)};
}

remote::NexthopGroupMplsAction convert(const orv::nexthop_group_mpls_action_t& action) {
   remote::NexthopGroupMplsAction message;
   convert(action, message);
   return message;
}

void convert(const orv::nexthop_group_mpls_action_t& action, remote::NexthopGroupMplsAction& message) {
   message.set_action_type(convert(action.action_type()));
   message.clear_label_stack();
   for (const orv::mpls_label_t label : action.label_stack())
      message.add_label_stack(label.label());
}

}  // namespace OrvSdkRpc::types
