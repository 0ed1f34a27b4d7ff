// Records of nexthop groups.
//
// Thread-safety: plain values.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "orv/intf_id.h"
#include "orv/ip_addr.h"
#include "orv/mpls_label.h"
#include "orv/mpls_label_stack.h"
#include "orv/mpls_route_types.h"
#include "orv/sbfd_types.h"
#include "orv/slot_map.h"

namespace orv {

// Encapsulation of the packets that leave through a group.
enum class nexthop_group_encap_t : std::uint8_t {
   undefined = 0,
   gre = 1,
   ip_in_ip = 2,
   mpls = 3,
   ip = 4,  // plain forwarding
   mpls_over_gre = 5,
};
[[nodiscard]] std::string_view enum_text(nexthop_group_encap_t v) noexcept;

// Key of the GRE header.
enum class nexthop_group_gre_key_t : std::uint8_t {
   none = 0,
   ingress_intf = 1,  // identifies the ingress interface
};
[[nodiscard]] std::string_view enum_text(nexthop_group_gre_key_t v) noexcept;

// Outcome of programming a group.
enum class nexthop_group_programmed_hw_state_t : std::uint8_t {
   unknown = 0,
   success = 1,
   failure = 2,
};
[[nodiscard]] std::string_view enum_text(nexthop_group_programmed_hw_state_t v) noexcept;

// Outcome of allocating counters for a group.
enum class nexthop_group_counter_state_t : std::uint8_t {
   unknown = 0,
   success = 1,
   failure = 2,
};
[[nodiscard]] std::string_view enum_text(nexthop_group_counter_state_t v) noexcept;

// What an entry does to the label stack.
class nexthop_group_mpls_action_t {
public:
   using sdk_value = nexthop_group_mpls_action_t;

   nexthop_group_mpls_action_t() = default;
   nexthop_group_mpls_action_t(mpls_action_t action_type, mpls_label_stack_t label_stack)
        : action_type_(action_type), label_stack_(std::move(label_stack)) {}

   [[nodiscard]] mpls_action_t action_type() const noexcept { return action_type_; }
   void action_type_is(mpls_action_t v) { action_type_ = v; }
   // Labels to impose, outermost first.
   [[nodiscard]] const mpls_label_stack_t& label_stack() const noexcept { return label_stack_; }
   void label_stack_is(mpls_label_stack_t v) { label_stack_ = std::move(v); }

   bool operator==(const nexthop_group_mpls_action_t&) const noexcept = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   mpls_action_t action_type_ = mpls_action_t::none;
   mpls_label_stack_t label_stack_;
};

// One entry of a group.
class nexthop_group_entry_t {
public:
   using sdk_value = nexthop_group_entry_t;

   nexthop_group_entry_t() = default;
   explicit nexthop_group_entry_t(const ip_addr_t& nexthop) : nexthop_(nexthop) {}

   // Next hop; null for none.
   [[nodiscard]] const ip_addr_t& nexthop() const noexcept { return nexthop_; }
   void nexthop_is(const ip_addr_t& v) { nexthop_ = v; }
   [[nodiscard]] const nexthop_group_mpls_action_t& mpls_action() const noexcept { return mpls_action_; }
   void mpls_action_is(nexthop_group_mpls_action_t v) { mpls_action_ = std::move(v); }
   // Egress interface; null to resolve the next hop.
   [[nodiscard]] const intf_id_t& intf() const noexcept { return intf_; }
   void intf_is(intf_id_t v) { intf_ = std::move(v); }
   // Name of a child group; empty for none.
   [[nodiscard]] const std::string& child_nexthop_group() const noexcept { return child_nexthop_group_; }
   void child_nexthop_group_is(std::string v) { child_nexthop_group_ = std::move(v); }
   // Session that protects the entry; the default key for none.
   [[nodiscard]] const sbfd_echo_session_key_t& sbfd_session_key() const noexcept;
   void sbfd_session_key_is(sbfd_echo_session_key_t v);

   bool operator==(const nexthop_group_entry_t& other) const noexcept;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   ip_addr_t nexthop_;
   intf_id_t intf_;
   nexthop_group_mpls_action_t mpls_action_;
   std::string child_nexthop_group_;
   // Null for the default key: few entries have a session. Shared by copies, never changed.
   std::shared_ptr<const sbfd_echo_session_key_t> sbfd_session_key_;
};

// A named set of entries, indexed by slot. Flows are spread over the slots, so a next hop in several slots
// gets a larger share.
class nexthop_group_t {
public:
   using sdk_value = nexthop_group_t;

   nexthop_group_t() = default;
   nexthop_group_t(std::string name, nexthop_group_encap_t type) : name_(std::move(name)), type_(type) {}
   nexthop_group_t(std::string name, nexthop_group_encap_t type, nexthop_group_gre_key_t gre_key_type)
        : name_(std::move(name)), type_(type), gre_key_type_(gre_key_type) {}

   [[nodiscard]] const std::string& name() const noexcept { return name_; }
   [[nodiscard]] nexthop_group_encap_t type() const noexcept { return type_; }
   void type_is(nexthop_group_encap_t v) { type_ = v; }
   [[nodiscard]] nexthop_group_gre_key_t gre_key_type() const noexcept { return gre_key_type_; }
   void gre_key_type_is(nexthop_group_gre_key_t v) { gre_key_type_ = v; }
   // TTL of the outer header.
   [[nodiscard]] std::uint16_t ttl() const noexcept { return ttl_; }
   void ttl_is(std::uint16_t v) { ttl_ = v; }
   // Source address of the outer header; null to use the source interface's.
   [[nodiscard]] const ip_addr_t& source_ip() const noexcept { return source_ip_; }
   void source_ip_is(const ip_addr_t& v) { source_ip_ = v; }
   // Interface whose address is the source; null for none.
   [[nodiscard]] const intf_id_t& source_intf() const noexcept { return source_intf_; }
   void source_intf_is(intf_id_t v) { source_intf_ = std::move(v); }
   // The group shrinks to the entries that resolve.
   [[nodiscard]] bool autosize() const noexcept { return autosize_; }
   void autosize_is(bool v) { autosize_ = v; }
   [[nodiscard]] const slot_map<nexthop_group_entry_t>& nexthops() const noexcept { return nexthops_; }
   void nexthops_is(slot_map<nexthop_group_entry_t> v) { nexthops_ = std::move(v); }
   // Entries that take over when the entry of the same slot fails.
   [[nodiscard]] const slot_map<nexthop_group_entry_t>& backup_nexthops() const noexcept {
      return backup_nexthops_;
   }
   void backup_nexthops_is(slot_map<nexthop_group_entry_t> v) { backup_nexthops_ = std::move(v); }
   // Destinations of the outer header, by slot.
   [[nodiscard]] const slot_map<ip_addr_t>& destination_ips() const noexcept { return destination_ips_; }
   void destination_ips_is(slot_map<ip_addr_t> v) { destination_ips_ = std::move(v); }
   // Each entry has its own counter.
   [[nodiscard]] bool counters_unshared() const noexcept { return counters_unshared_; }
   void counters_unshared_is(bool v) { counters_unshared_ = v; }
   // Counters keep their values when an entry changes.
   [[nodiscard]] bool counters_persistent() const noexcept { return counters_persistent_; }
   void counters_persistent_is(bool v) { counters_persistent_ = v; }
   // The group is programmed as its own FEC level.
   [[nodiscard]] bool hierarchical_fecs_enabled() const noexcept { return hierarchical_fecs_enabled_; }
   void hierarchical_fecs_enabled_is(bool v) { hierarchical_fecs_enabled_ = v; }
   // Version that the manager or the owner assigned; 0 for none.
   [[nodiscard]] std::uint16_t version_id() const noexcept { return version_id_; }
   void version_id_is(std::uint16_t v) { version_id_ = v; }

   // Sets or replaces one slot.
   void nexthop_set(std::uint16_t slot, nexthop_group_entry_t entry) {
      nexthops_.set(slot, std::move(entry));
   }
   void backup_nexthop_set(std::uint16_t slot, nexthop_group_entry_t entry) {
      backup_nexthops_.set(slot, std::move(entry));
   }
   void destination_ip_set(std::uint16_t slot, const ip_addr_t& destination) {
      destination_ips_.set(slot, destination);
   }

   bool operator==(const nexthop_group_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::string name_;
   nexthop_group_encap_t type_ = nexthop_group_encap_t::undefined;
   nexthop_group_gre_key_t gre_key_type_ = nexthop_group_gre_key_t::none;
   std::uint16_t ttl_ = 64;
   ip_addr_t source_ip_;
   intf_id_t source_intf_;
   bool autosize_ = false;
   slot_map<nexthop_group_entry_t> nexthops_;
   slot_map<nexthop_group_entry_t> backup_nexthops_;
   slot_map<ip_addr_t> destination_ips_;
   bool counters_unshared_ = false;
   bool counters_persistent_ = false;
   bool hierarchical_fecs_enabled_ = false;
   std::uint16_t version_id_ = 0;
};

// Traffic of one entry since it was programmed.
class nexthop_group_entry_counter_t {
public:
   using sdk_value = nexthop_group_entry_counter_t;

   nexthop_group_entry_counter_t() = default;
   nexthop_group_entry_counter_t(std::uint64_t packets, std::uint64_t bytes, bool valid)
        : packets_(packets), bytes_(bytes), valid_(valid) {}

   [[nodiscard]] std::uint64_t packets() const noexcept { return packets_; }
   void packets_is(std::uint64_t v) { packets_ = v; }
   [[nodiscard]] std::uint64_t bytes() const noexcept { return bytes_; }
   void bytes_is(std::uint64_t v) { bytes_ = v; }
   // False if the entry has no counter.
   [[nodiscard]] bool valid() const noexcept { return valid_; }
   void valid_is(bool v) { valid_ = v; }

   bool operator==(const nexthop_group_entry_counter_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   std::uint64_t packets_ = 0;
   std::uint64_t bytes_ = 0;
   bool valid_ = false;
};

// Result of programming a group and its counters.
class nexthop_group_programmed_status_t {
public:
   using sdk_value = nexthop_group_programmed_status_t;

   nexthop_group_programmed_status_t() = default;
   nexthop_group_programmed_status_t(nexthop_group_programmed_hw_state_t hw_state,
                                     nexthop_group_counter_state_t counter_state)
        : hw_state_(hw_state), counter_state_(counter_state) {}

   [[nodiscard]] nexthop_group_programmed_hw_state_t hw_state() const noexcept { return hw_state_; }
   void hw_state_is(nexthop_group_programmed_hw_state_t v) { hw_state_ = v; }
   [[nodiscard]] nexthop_group_counter_state_t counter_state() const noexcept { return counter_state_; }
   void counter_state_is(nexthop_group_counter_state_t v) { counter_state_ = v; }

   bool operator==(const nexthop_group_programmed_status_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   nexthop_group_programmed_hw_state_t hw_state_ = nexthop_group_programmed_hw_state_t::unknown;
   nexthop_group_counter_state_t counter_state_ = nexthop_group_counter_state_t::unknown;
};

}  // namespace orv
