// Access control lists.
//
// Rules are edited in a pending state; acl_commit makes it the one that counts, and
// its outcome comes as a callback.
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

// Registers with the manager for its life; a null manager registers nothing. The
// manager outlives it.
class acl_handler {
public:
   explicit acl_handler(acl_mgr* mgr);
   virtual ~acl_handler();
   acl_handler(const acl_handler&) = delete;
   acl_handler& operator=(const acl_handler&) = delete;

   // No callback comes without.
   void watch_all_acls(bool interest);

   // Every list of a commit was taken over.
   virtual void on_acl_sync();
   // In its place, once for each list that was not: the list, as "web (ipv4)", and why.
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
// Lists by key; rules of one list by sequence number.
using acl_iter_t = iter_base<acl_key_t, acl_iter_impl>;
using acl_rule_ip_iter_t = iter_base<acl_rule_ip_entry_t, acl_rule_ip_iter_impl>;
using acl_rule_eth_iter_t = iter_base<acl_rule_eth_entry_t, acl_rule_eth_iter_impl>;

// A value that the switch refuses throws one of the errors of error.h, naming it;
// nothing has changed then.
//
// The operations with "all" in their name look at what is committed, of every owner;
// those without it at the lists of this agent, as they are pending.
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

   // Sets the rule of a sequence number; the first rule makes the list. A rule of the
   // wrong kind for the list's type is refused.
   virtual void acl_rule_set(const acl_key_t& key, unsigned int seq, const acl_rule_ip_t& rule) = 0;
   virtual void acl_rule_set(const acl_key_t& key, unsigned int seq, const acl_rule_eth_t& rule) = 0;
   // A rule or a list that is not there is no error.
   virtual void acl_rule_del(const acl_key_t& key, unsigned int seq) = 0;
   virtual void acl_del(const acl_key_t& key) = 0;

   // Answers at once; on_acl_sync or on_acl_sync_fail tells how it ended. No list follows in part.
   virtual void acl_commit() = 0;
   // Applies the list to an interface, or takes it off.
   virtual void acl_apply(const acl_key_t& key, const intf_id_t& intf, acl_direction_t direction,
                          bool apply) = 0;
   virtual void acl_counters_enabled_set(const acl_key_t& key, bool enabled) = 0;
   virtual void acl_fragments_enabled_set(const acl_key_t& key, bool enabled) = 0;

   // Whether the control plane's lists let this traffic through to the switch itself.
   [[nodiscard]] virtual bool stream_allowed(const ip_addr_t& src, const ip_addr_t& dst,
                                             std::uint32_t ip_protocol, std::uint32_t src_port,
                                             std::uint32_t dst_port) const = 0;
   [[nodiscard]] virtual bool dgram_allowed(const ip_addr_t& src, const ip_addr_t& dst, const intf_id_t& intf,
                                            std::uint32_t ip_length, std::uint32_t ip_protocol,
                                            std::uint32_t src_port, std::uint32_t dst_port) const = 0;

   // For handlers and for whoever implements the manager.
   [[nodiscard]] watch_list<acl_handler, std::monostate>& handlers() noexcept { return handlers_; }

private:
   watch_list<acl_handler, std::monostate> handlers_;
};

}  // namespace orv
