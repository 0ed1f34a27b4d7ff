#include "softswitch/managers/acl_mgr.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "orv/error.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/tables/policy_codecs.h"

namespace softswitch {
namespace {

constexpr std::size_t rulesPerList = 64;  // on average, to size the rules' tables

// Iterates over the rules of one kind in one list; the tables may change between steps.
template <typename Impl, typename Rule>
class RuleIter final : public Impl {
public:
   using Entry = std::pair<unsigned int, Rule>;

   RuleIter(const AclMgr::Rules& rules, orv::acl_key_t key) : rules_(&rules), key_(std::move(key)) {}

   bool next(Entry& row) override {
      while (const auto item = from_ ? rules_->upperBound({key_, *from_}) : rules_->lowerBound({key_, 0})) {
         if (item.key->acl != key_) return false;
         from_ = item.key->seq;
         if (const auto* rule = std::get_if<Rule>(&item.row->get())) {
            row = {item.key->seq, *rule};
            return true;
         }
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<Entry>> clone() const override { return std::make_unique<RuleIter>(*this); }

private:
   const AclMgr::Rules* rules_;
   orv::acl_key_t key_;
   std::optional<std::uint32_t> from_;
};

using IpRuleIter = RuleIter<orv::acl_rule_ip_iter_impl, orv::acl_rule_ip_t>;
using EthRuleIter = RuleIter<orv::acl_rule_eth_iter_impl, orv::acl_rule_eth_t>;

std::optional<orv::acl_key_t> keyOf(const AclMgr::Lists::Item& item) {
   return *item.key;
}

// The write that makes the row of `to` equal to the row of `from`.
struct Step {
   bool inserts = false;
   bool erases = false;
   std::size_t bytes = 0;  // to write, key and row
   bool changes() const { return erases || bytes != 0; }
};

// Overwrites `scratch`.
template <typename Codec, typename TableType>
Step stepOf(const TableType& from, const TableType& to, const typename TableType::key_type& key,
            std::string& scratch) {
   const auto* row = from.find(key);
   const auto* old = to.find(key);
   if (row == nullptr) return {.erases = old != nullptr};
   if (old != nullptr && *old == *row) return {};
   scratch.clear();
   store::Writer out(scratch);
   out.u8(Codec::version);
   Codec::encodeKey(key, out);
   Codec::encodeRow(*row, out);
   return {.inserts = old == nullptr, .bytes = scratch.size()};
}

// How many rows a table gains and loses.
struct Balance {
   std::size_t inserted = 0;
   std::size_t erased = 0;

   void add(const Step& step) {
      inserted += step.inserts ? 1 : 0;
      erased += step.erases ? 1 : 0;
   }
   bool grows() const { return inserted > erased; }
   template <typename TableType>
   void requireRoomIn(const TableType& table) const {
      if (inserted > 0 && table.size() + inserted > table.capacity() + erased) {
         refuseFull(table.name(), table.capacity());
      }
   }
};

// Keys whose rows differ between the tables.
template <typename TableType, typename Key = typename TableType::key_type>
absl::btree_set<Key> differences(const TableType& a, const TableType& b) {
   absl::btree_set<Key> keys;
   const auto gather = [&keys](const TableType& table, const TableType& other) {
      table.forEach([&](const Key& key, const auto& row) {
         const auto* twin = other.find(key);
         if (twin == nullptr || !(*twin == row)) keys.insert(key);
      });
   };
   gather(a, b);
   gather(b, a);
   return keys;
}

void checkDirection(orv::acl_direction_t direction) {
   if (direction != orv::acl_direction_t::in && direction != orv::acl_direction_t::out) {
      throw orv::invalid_argument_error(
           fmt::format("direction {}, expected in or out", orv::to_string(direction)));
   }
}

}  // namespace

void AclCodec::encodeKey(const orv::acl_key_t& key, store::Writer& out) {
   write(out, key);
}
orv::acl_key_t AclCodec::decodeKey(store::Reader& in) {
   return readAclKey(in);
}

void AclCodec::encodeRow(const AclRow& row, store::Writer& out) {
   out.boolean(row.countersEnabled);
   out.boolean(row.fragmentsEnabled);
}

AclRow AclCodec::decodeRow(store::Reader& in, std::uint8_t) {
   AclRow row;
   row.countersEnabled = in.boolean();
   row.fragmentsEnabled = in.boolean();
   return row;
}

void AclRuleCodec::encodeKey(const AclRuleKey& key, store::Writer& out) {
   write(out, key.acl);
   out.u32(key.seq);
}

AclRuleKey AclRuleCodec::decodeKey(store::Reader& in) {
   auto acl = readAclKey(in);
   return {.acl = std::move(acl), .seq = in.u32()};
}

void AclRuleCodec::encodeRow(const SharedAclRule& row, store::Writer& out) {
   out.boolean(std::holds_alternative<orv::acl_rule_eth_t>(row.get()));
   std::visit([&out](const auto& rule) { write(out, rule); }, row.get());
}

SharedAclRule AclRuleCodec::decodeRow(store::Reader& in, std::uint8_t) {
   if (in.boolean()) return SharedAclRule(readAclRuleEth(in));
   return SharedAclRule(readAclRuleIp(in));
}

void AclPlaceCodec::encodeKey(const AclPlace& key, store::Writer& out) {
   write(out, key.intf);
   writeEnum(out, key.direction);
   writeEnum(out, key.type);
}

AclPlace AclPlaceCodec::decodeKey(store::Reader& in) {
   auto intf = readIntfId(in);
   const auto direction = readEnum(in, orv::acl_direction_t::out);
   return {.intf = std::move(intf), .direction = direction, .type = readEnum(in, orv::acl_type_t::mpls)};
}

// What the next commit does to one list and its rules.
struct AclMgr::ListEdit {
   using Rule = absl::btree_set<AclRuleKey>::const_iterator;

   const orv::acl_key_t* key = nullptr;
   Rule rulesBegin{}, rulesEnd{};  // the edited ones
   Balance lists{}, rules{};
   std::size_t writes = 0;
   std::size_t bytes = 0;

   void add(Balance& table, const Step& step) {
      table.add(step);
      writes += step.changes() ? 1 : 0;
      bytes += step.bytes;
   }
   bool deletes() const { return lists.erased != 0; }
   bool grows() const { return lists.grows() || rules.grows(); }
};

AclMgr::AclMgr(const Context& context, const IntfMgr& intfs)
     : store_(context.store),
       callbacks_(context.callbacks),
       intfs_(intfs),
       pendingLists_(context.store, "acl pending", context.limits.acls),
       committedLists_(context.store, "acl", context.limits.acls),
       pendingRules_(context.store, "acl rule pending", context.limits.acls * rulesPerList),
       committedRules_(context.store, "acl rule", context.limits.acls * rulesPerList),
       places_(context.store, "acl place", 16 * Topology::maxInterfaces),
       editedLists_(differences(pendingLists_, committedLists_)),
       editedRules_(differences(pendingRules_, committedRules_)) {}

orv::acl_iter_t AclMgr::acl_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::acl_iter_t>(pendingLists_, keyOf);
}

orv::acl_iter_t AclMgr::acl_all_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::acl_iter_t>(committedLists_, keyOf);
}

orv::acl_rule_ip_iter_t AclMgr::acl_rule_ip_iter(const orv::acl_key_t& key) const {
   orv::sdk_lock_check();
   checkAclKey(key);
   return orv::acl_rule_ip_iter_t(std::make_unique<IpRuleIter>(pendingRules_, key));
}

orv::acl_rule_ip_iter_t AclMgr::acl_all_rule_ip_iter(const orv::acl_key_t& key) const {
   orv::sdk_lock_check();
   checkAclKey(key);
   return orv::acl_rule_ip_iter_t(std::make_unique<IpRuleIter>(committedRules_, key));
}

orv::acl_rule_eth_iter_t AclMgr::acl_rule_eth_iter(const orv::acl_key_t& key) const {
   orv::sdk_lock_check();
   checkAclKey(key);
   return orv::acl_rule_eth_iter_t(std::make_unique<EthRuleIter>(pendingRules_, key));
}

orv::acl_rule_eth_iter_t AclMgr::acl_all_rule_eth_iter(const orv::acl_key_t& key) const {
   orv::sdk_lock_check();
   checkAclKey(key);
   return orv::acl_rule_eth_iter_t(std::make_unique<EthRuleIter>(committedRules_, key));
}

bool AclMgr::acl_exists(const orv::acl_key_t& key) const {
   orv::sdk_lock_check();
   checkAclKey(key);
   return pendingLists_.contains(key);
}

bool AclMgr::acl_all_exists(const orv::acl_key_t& key) const {
   orv::sdk_lock_check();
   checkAclKey(key);
   return committedLists_.contains(key);
}

void AclMgr::acl_rule_set(const orv::acl_key_t& key, unsigned int seq, const orv::acl_rule_ip_t& rule) {
   orv::sdk_lock_check();
   setRule(key, seq, rule);
}

void AclMgr::acl_rule_set(const orv::acl_key_t& key, unsigned int seq, const orv::acl_rule_eth_t& rule) {
   orv::sdk_lock_check();
   setRule(key, seq, rule);
}

void AclMgr::setRule(const orv::acl_key_t& key, std::uint32_t seq, AclRule rule) {
   checkAclRule(key, seq, rule);
   const bool newList = !pendingLists_.contains(key);
   if (newList) pendingLists_.set(key, {});
   try {
      pendingRules_.set({key, seq}, SharedAclRule(std::move(rule)));
   } catch (...) {
      if (newList) pendingLists_.erase(key);
      throw;
   }
   editedLists_.insert(key);
   editedRules_.insert({key, seq});
}

void AclMgr::acl_rule_del(const orv::acl_key_t& key, unsigned int seq) {
   orv::sdk_lock_check();
   checkAclKey(key);
   if (pendingRules_.erase({key, seq})) editedRules_.insert({key, seq});
}

void AclMgr::acl_del(const orv::acl_key_t& key) {
   orv::sdk_lock_check();
   checkAclKey(key);
   std::vector<AclRuleKey> rules;
   for (auto item = pendingRules_.lowerBound({key, 0}); item && item.key->acl == key;
        item = pendingRules_.upperBound(rules.back())) {
      rules.push_back(*item.key);
   }
   const bool listed = pendingLists_.contains(key);
   if (rules.empty() && !listed) return;
   requireRoom(rules.size() + 1, 0, true);
   for (const auto& rule : rules) {
      pendingRules_.erase(rule);
      editedRules_.insert(rule);
   }
   if (pendingLists_.erase(key)) editedLists_.insert(key);
}

void AclMgr::acl_commit() {
   orv::sdk_lock_check();
   auto edits = listEdits();
   absl::btree_map<orv::acl_key_t, AclPlace> applied;
   if (std::any_of(edits.begin(), edits.end(), [](const auto& edit) { return edit.deletes(); })) {
      applied = firstPlaces();
   }
   std::stable_partition(edits.begin(), edits.end(), [](const auto& edit) { return !edit.grows(); });

   absl::btree_map<orv::acl_key_t, std::string> failures;
   for (const auto& edit : edits) {
      const auto place = edit.deletes() ? applied.find(*edit.key) : applied.end();
      if (place != applied.end()) {
         failures.emplace(*edit.key, fmt::format("ACL {} is deleted but applied to interface {} {}",
                                                 edit.key->to_string(), place->second.intf,
                                                 orv::to_string(place->second.direction)));
         continue;
      }
      try {
         carryOver(edit);
      } catch (const orv::error& e) {
         failures.emplace(*edit.key, e.what());
      }
   }
   absl::erase_if(editedLists_, [&](const auto& key) { return !failures.contains(key); });
   absl::erase_if(editedRules_, [&](const auto& key) { return !failures.contains(key.acl); });

   callbacks_.post([this, failures = std::move(failures)] {
      if (failures.empty()) {
         handlers().notify_all([](orv::acl_handler& handler) { handler.on_acl_sync(); });
      }
      for (const auto& failure : failures) {
         const auto source = failure.first.to_string();
         handlers().notify_all(
              [&](orv::acl_handler& handler) { handler.on_acl_sync_fail(source, failure.second); });
      }
   });
}

// Ordered by key. Valid until the next edit.
std::vector<AclMgr::ListEdit> AclMgr::listEdits() const {
   std::vector<ListEdit> edits;
   std::string scratch;
   auto list = editedLists_.begin();
   auto rule = editedRules_.begin();
   while (list != editedLists_.end() || rule != editedRules_.end()) {
      const bool onlyRules = list == editedLists_.end() || (rule != editedRules_.end() && rule->acl < *list);
      ListEdit edit{.key = onlyRules ? &rule->acl : &*list, .rulesBegin = rule};
      if (!onlyRules) {
         edit.add(edit.lists, stepOf<AclCodec>(pendingLists_, committedLists_, *list, scratch));
         ++list;
      }
      for (; rule != editedRules_.end() && rule->acl == *edit.key; ++rule)
         edit.add(edit.rules, stepOf<AclRuleCodec>(pendingRules_, committedRules_, *rule, scratch));
      edit.rulesEnd = rule;
      edits.push_back(edit);
   }
   return edits;
}

// All or nothing: everything that can be refused (orv::error) is checked before the first write. Rules are
// erased first, because a full table takes no additional row.
void AclMgr::carryOver(const ListEdit& edit) {
   if (edit.writes == 0) return;
   edit.lists.requireRoomIn(committedLists_);
   edit.rules.requireRoomIn(committedRules_);
   requireRoom(edit.writes, edit.bytes, edit.bytes == 0);

   if (edit.rules.erased != 0) {
      for (auto rule = edit.rulesBegin; rule != edit.rulesEnd; ++rule) {
         if (!pendingRules_.contains(*rule)) committedRules_.erase(*rule);
      }
   }
   if (const auto* row = pendingLists_.find(*edit.key)) {
      committedLists_.set(*edit.key, *row);
   } else {
      committedLists_.erase(*edit.key);
   }
   for (auto rule = edit.rulesBegin; rule != edit.rulesEnd; ++rule) {
      if (const auto* row = pendingRules_.find(*rule)) committedRules_.set(*rule, *row);
   }
}

void AclMgr::requireRoom(std::size_t rows, std::size_t bytes, bool shrinks) {
   try {
      store_.requireRoom(rows, bytes, shrinks);
   } catch (const store::StoreError& e) {
      refuse(e);
   }
}

void AclMgr::acl_apply(const orv::acl_key_t& key, const orv::intf_id_t& intf, orv::acl_direction_t direction,
                       bool apply) {
   orv::sdk_lock_check();
   checkAclKey(key);
   checkDirection(direction);
   const AclPlace place{.intf = intf, .direction = direction, .type = key.acl_type()};
   const auto* applied = places_.find(place);
   // Works even if a new topology has left the interface out.
   if (!apply && applied != nullptr && *applied == key.acl_name()) {
      places_.erase(place);
      return;
   }
   intfs_.require(intf);
   if (!apply) return;
   if (!pendingLists_.contains(key) && !committedLists_.contains(key)) {
      throw orv::invalid_argument_error(
           fmt::format("ACL {} cannot be applied to interface {}, it does not exist", key.to_string(), intf));
   }
   places_.set(place, key.acl_name());
}

void AclMgr::acl_counters_enabled_set(const orv::acl_key_t& key, bool enabled) {
   orv::sdk_lock_check();
   changeList(key, [enabled](AclRow& row) { row.countersEnabled = enabled; });
}

void AclMgr::acl_fragments_enabled_set(const orv::acl_key_t& key, bool enabled) {
   orv::sdk_lock_check();
   changeList(key, [enabled](AclRow& row) { row.fragmentsEnabled = enabled; });
}

template <typename Change>
void AclMgr::changeList(const orv::acl_key_t& key, Change change) {
   checkAclKey(key);
   const auto* row = pendingLists_.find(key);
   if (row == nullptr)
      throw orv::invalid_argument_error(fmt::format("ACL {} does not exist", key.to_string()));
   auto changed = *row;
   change(changed);
   pendingLists_.set(key, changed);
   editedLists_.insert(key);
}

absl::btree_map<orv::acl_key_t, AclPlace> AclMgr::firstPlaces() const {
   absl::btree_map<orv::acl_key_t, AclPlace> first;
   places_.forEach([&](const AclPlace& place, const std::string& name) {
      first.try_emplace(orv::acl_key_t(name, place.type), place);
   });
   return first;
}

bool AclMgr::permits(const orv::intf_id_t& intf, const AclPacket& packet) const {
   const auto type = packet.destination.af() == orv::af_ipv6 ? orv::acl_type_t::ipv6 : orv::acl_type_t::ipv4;
   const auto* name = places_.find({.intf = intf, .direction = orv::acl_direction_t::in, .type = type});
   if (name == nullptr) return true;
   const orv::acl_key_t key(*name, type);
   if (!committedLists_.contains(key)) return true;  // applied but not committed yet
   for (IpRuleIter rules(committedRules_, key);;) {
      orv::acl_rule_ip_entry_t entry;
      if (!rules.next(entry)) return false;
      if (entry.second.action() != orv::acl_action_t::none && matches(entry.second, packet)) {
         return entry.second.action() == orv::acl_action_t::permit;
      }
   }
}

bool AclMgr::loopbacksPermit(const AclPacket& packet) const {
   bool permitted = true;
   places_.forEach([&](const AclPlace& place, const std::string&) {
      if (permitted && place.direction == orv::acl_direction_t::in && intfs_.exists(place.intf) &&
          intfs_.facts(place.intf).type == IntfType::loopback) {
         permitted = permits(place.intf, packet);
      }
   });
   return permitted;
}

bool AclMgr::stream_allowed(const orv::ip_addr_t& src, const orv::ip_addr_t& dst, std::uint32_t ip_protocol,
                            std::uint32_t src_port, std::uint32_t dst_port) const {
   orv::sdk_lock_check();
   return loopbacksPermit(aclPacket(src, dst, ip_protocol, src_port, dst_port));
}

bool AclMgr::dgram_allowed(const orv::ip_addr_t& src, const orv::ip_addr_t& dst, const orv::intf_id_t& intf,
                           std::uint32_t /*ip_length: no rule looks at it*/, std::uint32_t ip_protocol,
                           std::uint32_t src_port, std::uint32_t dst_port) const {
   orv::sdk_lock_check();
   intfs_.require(intf);
   const auto packet = aclPacket(src, dst, ip_protocol, src_port, dst_port);
   return permits(intf, packet) && loopbacksPermit(packet);
}

}  // namespace softswitch
