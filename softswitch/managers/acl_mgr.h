// Access control lists: edited in a pending state, committed as a whole.
//
// Operations without "all" in their name work on the pending lists; those with "all" show the committed ones.
// Both survive a restart, so an acknowledged edit is part of the next commit. The first rule creates a list;
// a list without rules stays, empty, until acl_del.
//
// acl_commit moves the pending edits into the committed state, each list with all its rules or not at all.
// The main loop notifies the handlers later: on_acl_sync if every list was committed; otherwise only
// on_acl_sync_fail, once for each failed list in key order, with the list as source ("web (ipv4)") and the
// reason as message. A list fails if
//    it was deleted, is committed, and is applied to an interface, or
//    the committed tables or the disk have no room for it. The committed tables hold as much as the pending
//    ones, and lists that could not be deleted count there too. A full disk may have no room for more than
//    ten edits of one list, even if they delete.
// A failed list stays committed as it was; its edits stay pending for the next commit. Lists that need no
// more room than before are committed before lists that do, so that a full table can be replaced.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value; nothing has changed then):
//    a key without a name or a type, in every operation that takes a key
//    a rule that the list cannot have (acl_rules.h)
//    applying a list that is neither pending nor committed; an interface that does not exist; a direction
//    other than in and out (removing a list that is not applied is a no-op)
//    counters or fragments of a list that does not exist
//    more lists or rules than the tables hold, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock; callbacks come from the main loop.
#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orv/acl.h"
#include "softswitch/managers/acl_rules.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/table.h"

namespace softswitch {

class IntfMgr;

struct AclRow {
   bool countersEnabled = false;
   bool fragmentsEnabled = false;

   bool operator==(const AclRow&) const = default;
};

struct AclCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::acl_key_t& key, store::Writer& out);
   static orv::acl_key_t decodeKey(store::Reader& in);
   static void encodeRow(const AclRow& row, store::Writer& out);
   static AclRow decodeRow(store::Reader& in, std::uint8_t version);
};

struct AclRuleKey {
   orv::acl_key_t acl;
   std::uint32_t seq = 0;

   auto operator<=>(const AclRuleKey&) const = default;
};

// A rule as stored in the tables: the pending and the committed table share it while it is the same.
class SharedAclRule {
public:
   SharedAclRule() : SharedAclRule(AclRule()) {}
   explicit SharedAclRule(AclRule rule) : rule_(std::make_shared<const AclRule>(std::move(rule))) {}

   const AclRule& get() const { return *rule_; }
   // NOLINTNEXTLINE(google-explicit-constructor): it is the rule.
   operator const AclRule&() const { return *rule_; }
   bool operator==(const SharedAclRule& other) const {
      return rule_ == other.rule_ || *rule_ == *other.rule_;
   }

private:
   std::shared_ptr<const AclRule> rule_;
};

struct AclRuleCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const AclRuleKey& key, store::Writer& out);
   static AclRuleKey decodeKey(store::Reader& in);
   static void encodeRow(const SharedAclRule& row, store::Writer& out);
   static SharedAclRule decodeRow(store::Reader& in, std::uint8_t version);
};

// An interface has at most one list per type and direction.
struct AclPlace {
   orv::intf_id_t intf;
   orv::acl_direction_t direction = orv::acl_direction_t::none;
   orv::acl_type_t type = orv::acl_type_t::none;

   auto operator<=>(const AclPlace&) const = default;
};

struct AclPlaceCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const AclPlace& key, store::Writer& out);
   static AclPlace decodeKey(store::Reader& in);
   static void encodeRow(const std::string& aclName, store::Writer& out) { out.text(aclName); }
   static std::string decodeRow(store::Reader& in, std::uint8_t) { return std::string(in.text()); }
};

class AclMgr final : public orv::acl_mgr {
public:
   using Lists = Table<orv::acl_key_t, AclRow, AclCodec>;
   using Rules = Table<AclRuleKey, SharedAclRule, AclRuleCodec>;
   using Places = Table<AclPlace, std::string, AclPlaceCodec>;

   AclMgr(const Context& context, const IntfMgr& intfs);

   orv::acl_iter_t acl_iter() const override;
   orv::acl_iter_t acl_all_iter() const override;
   orv::acl_rule_ip_iter_t acl_rule_ip_iter(const orv::acl_key_t& key) const override;
   orv::acl_rule_ip_iter_t acl_all_rule_ip_iter(const orv::acl_key_t& key) const override;
   orv::acl_rule_eth_iter_t acl_rule_eth_iter(const orv::acl_key_t& key) const override;
   orv::acl_rule_eth_iter_t acl_all_rule_eth_iter(const orv::acl_key_t& key) const override;
   bool acl_exists(const orv::acl_key_t& key) const override;
   bool acl_all_exists(const orv::acl_key_t& key) const override;

   void acl_rule_set(const orv::acl_key_t& key, unsigned int seq, const orv::acl_rule_ip_t& rule) override;
   void acl_rule_set(const orv::acl_key_t& key, unsigned int seq, const orv::acl_rule_eth_t& rule) override;
   void acl_rule_del(const orv::acl_key_t& key, unsigned int seq) override;
   void acl_del(const orv::acl_key_t& key) override;
   void acl_commit() override;
   void acl_apply(const orv::acl_key_t& key, const orv::intf_id_t& intf, orv::acl_direction_t direction,
                  bool apply) override;
   void acl_counters_enabled_set(const orv::acl_key_t& key, bool enabled) override;
   void acl_fragments_enabled_set(const orv::acl_key_t& key, bool enabled) override;

   // The control plane's lists are the committed lists applied inbound to loopback interfaces and, for a
   // datagram, to its ingress interface. Traffic passes if every list of its family permits it. A list
   // permits what its first matching rule permits, and denies the rest. Without a list all traffic passes.
   bool stream_allowed(const orv::ip_addr_t& src, const orv::ip_addr_t& dst, std::uint32_t ip_protocol,
                       std::uint32_t src_port, std::uint32_t dst_port) const override;
   bool dgram_allowed(const orv::ip_addr_t& src, const orv::ip_addr_t& dst, const orv::intf_id_t& intf,
                      std::uint32_t ip_length, std::uint32_t ip_protocol, std::uint32_t src_port,
                      std::uint32_t dst_port) const override;

   // The number of edits of lists and rules that wait for the next commit.
   std::size_t pendingEdits() const { return editedLists_.size() + editedRules_.size(); }

   const Lists& lists() const { return pendingLists_; }
   const Lists& committedLists() const { return committedLists_; }
   const Rules& rules() const { return pendingRules_; }
   const Rules& committedRules() const { return committedRules_; }
   const Places& places() const { return places_; }

private:
   void setRule(const orv::acl_key_t& key, std::uint32_t seq, AclRule rule);
   template <typename Change>
   void changeList(const orv::acl_key_t& key, Change change);
   struct ListEdit;
   std::vector<ListEdit> listEdits() const;
   void carryOver(const ListEdit& edit);
   void requireRoom(std::size_t rows, std::size_t bytes, bool shrinks);
   // The first place of each applied list.
   absl::btree_map<orv::acl_key_t, AclPlace> firstPlaces() const;
   bool permits(const orv::intf_id_t& intf, const AclPacket& packet) const;
   bool loopbacksPermit(const AclPacket& packet) const;

   store::Store& store_;
   Callbacks& callbacks_;
   const IntfMgr& intfs_;
   Lists pendingLists_;
   Lists committedLists_;
   Rules pendingRules_;
   Rules committedRules_;
   Places places_;
   // Keys whose pending and committed rows may differ; recomputed at start.
   absl::btree_set<orv::acl_key_t> editedLists_;
   absl::btree_set<AclRuleKey> editedRules_;
};

}  // namespace softswitch
