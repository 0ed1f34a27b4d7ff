// Access control lists.
//
// Rules are edited in a pending state. acl_commit applies that state, and a callback reports the outcome.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include <utility>
#include <variant>

#include "orv/acl_types.h"
#include "orv/intf_id.h"
#include "orv/iter.h"
#include "orv/watch_list.h"

namespace orv {

class acl_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class acl_handler {
public:
   explicit acl_handler(acl_mgr* mgr);
   virtual ~acl_handler();
   acl_handler(const acl_handler&) = delete;
   acl_handler& operator=(const acl_handler&) = delete;

   // Without this, no callback comes.
   void watch_all_acls(bool interest);

   // All lists of a commit were applied.
   virtual void on_acl_sync();
   // Called in place of on_acl_sync, once for each list that was not applied: the list, such as "web (ipv4)",
   // and the reason.
   virtual void on_acl_sync_fail(const std::string& source, const std::string& message);

   [[nodiscard]] acl_mgr* get_acl_mgr() const noexcept { return mgr_; }

private:
   acl_mgr* const mgr_;
};

// A sequence number and its rule.
using acl_rule_ip_entry_t = std::pair<unsigned int, acl_rule_ip_t>;
using acl_rule_eth_entry_t = std::pair<unsigned int, acl_rule_eth_t>;

struct acl_iter_impl : iter_impl<acl_key_t> {};
struct acl_rule_ip_iter_impl : iter_impl<acl_rule_ip_entry_t> {};
struct acl_rule_eth_iter_impl : iter_impl<acl_rule_eth_entry_t> {};
// Lists, ordered by key; rules of one list, ordered by sequence number.
using acl_iter_t = iter_base<acl_key_t, acl_iter_impl>;
using acl_rule_ip_iter_t = iter_base<acl_rule_ip_entry_t, acl_rule_ip_iter_impl>;
using acl_rule_eth_iter_t = iter_base<acl_rule_eth_entry_t, acl_rule_eth_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
//
// Operations with "all" in their name read the committed lists of every owner; the others read the pending
// lists of this agent.
class acl_mgr {
public:
   virtual ~acl_mgr() = default;

   [[nodiscard]] virtual acl_iter_t acl_iter() const = 0;
   [[nodiscard]] virtual acl_iter_t acl_all_iter() const = 0;
   [[nodiscard]] virtual acl_rule_ip_iter_t acl_rule_ip_iter(const acl_key_t& key) const = 0;
   [[nodiscard]] virtual acl_rule_ip_iter_t acl_all_rule_ip_iter(const acl_key_t& key) const = 0;
   [[nodiscard]] virtual acl_rule_eth_iter_t acl_rule_eth_iter(const acl_key_t& key) const = 0;
   [[nodiscard]] virtual acl_rule_eth_iter_t acl_all_rule_eth_iter(const acl_key_t& key) const = 0;
   [[nodiscard]] virtual bool acl_exists(const acl_key_t& key) const = 0;
   [[nodiscard]] virtual bool acl_all_exists(const acl_key_t& key) const = 0;

   // Sets the rule of a sequence number; the first rule creates the list. A rule that does not fit the list's
   // type is refused.
   virtual void acl_rule_set(const acl_key_t& key, unsigned int seq, const acl_rule_ip_t& rule) = 0;
   virtual void acl_rule_set(const acl_key_t& key, unsigned int seq, const acl_rule_eth_t& rule) = 0;
   // A no-op if the rule or the list does not exist.
   virtual void acl_rule_del(const acl_key_t& key, unsigned int seq) = 0;
   virtual void acl_del(const acl_key_t& key) = 0;

   // Returns at once; on_acl_sync or on_acl_sync_fail reports the outcome. A list is applied as a whole or
   // not at all.
   virtual void acl_commit() = 0;
   // Applies the list to an interface, or removes it.
   virtual void acl_apply(const acl_key_t& key, const intf_id_t& intf, acl_direction_t direction,
                          bool apply) = 0;
   virtual void acl_counters_enabled_set(const acl_key_t& key, bool enabled) = 0;
   virtual void acl_fragments_enabled_set(const acl_key_t& key, bool enabled) = 0;

   // Whether the control-plane lists permit this traffic to the switch itself.
   [[nodiscard]] virtual bool stream_allowed(const ip_addr_t& src, const ip_addr_t& dst,
                                             std::uint32_t ip_protocol, std::uint32_t src_port,
                                             std::uint32_t dst_port) const = 0;
   [[nodiscard]] virtual bool dgram_allowed(const ip_addr_t& src, const ip_addr_t& dst, const intf_id_t& intf,
                                            std::uint32_t ip_length, std::uint32_t ip_protocol,
                                            std::uint32_t src_port, std::uint32_t dst_port) const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<acl_handler, std::monostate>& handlers() noexcept { return handlers_; }

private:
   watch_list<acl_handler, std::monostate> handlers_;
};

}  // namespace orv
