#include "softswitch/managers/intf_mgr.h"

#include <algorithm>
#include <optional>

#include "orv/error.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {
namespace {

bool hasCable(IntfType type) {
   return type == IntfType::ethernet || type == IntfType::management || type == IntfType::lag;
}

class IntfIter final : public orv::intf_iter_impl {
public:
   explicit IntfIter(const absl::btree_set<orv::intf_id_t>& intfs) : intfs_(&intfs) {}

   bool next(orv::intf_id_t& row) override {
      const auto at = !last_ ? intfs_->begin() : intfs_->upper_bound(last_);
      if (at == intfs_->end()) return false;
      row = last_ = *at;
      return true;
   }
   std::unique_ptr<orv::iter_impl<orv::intf_id_t>> clone() const override {
      return std::make_unique<IntfIter>(*this);
   }

private:
   const absl::btree_set<orv::intf_id_t>* intfs_;
   orv::intf_id_t last_;
};

}  // namespace

void IntfCodec::encodeKey(const orv::intf_id_t& key, store::Writer& out) {
   write(out, key);
}

orv::intf_id_t IntfCodec::decodeKey(store::Reader& in) {
   return readIntfId(in);
}

void IntfCodec::encodeRow(const IntfRow& row, store::Writer& out) {
   out.boolean(row.adminEnabled);
   out.text(row.description);
}

IntfRow IntfCodec::decodeRow(store::Reader& in, std::uint8_t) {
   IntfRow row;
   row.adminEnabled = in.boolean();
   row.description = in.text();
   return row;
}

IntfMgr::IntfMgr(const Context& context, const Topology& topology)
     : callbacks_(context.callbacks),
       topology_(topology),
       config_(context.store, "interface", 16 * Topology::maxInterfaces),
       presence_(context.store, "interface presence", 16 * Topology::maxInterfaces) {
   for (const auto& facts : topology_.interfaces()) {
      const auto* there = presence_.find(orv::intf_id_t(facts.name));
      if (there == nullptr || *there || isPort(facts.type)) insert(facts);
   }
   // The topology may use a name that was free when an operator created an interface; the topology wins.
   presence_.forEach([this](const orv::intf_id_t& intf, bool there) {
      if (!there || exists(intf)) return;
      const auto facts = topology_.fromName(intf.name());
      if (facts && !byKernelName_.contains(facts->kernelName)) insert(*facts);
   });
}

void IntfMgr::insert(const TopologyIntf& facts) {
   const auto id = orv::host::intf_name_known(facts.name);
   const auto* row = config_.find(id);
   intfs_.emplace(id, std::make_unique<Intf>(Intf{.facts = facts,
                                                  .adminEnabled = row == nullptr || row->adminEnabled,
                                                  .linkUp = facts.linkUp || !hasCable(facts.type)}));
   byKernelName_.emplace(facts.kernelName, id);
   inOrder_.insert(id);
}

orv::intf_iter_t IntfMgr::intf_iter() const {
   orv::sdk_lock_check();
   return orv::intf_iter_t(std::make_unique<IntfIter>(inOrder_));
}

bool IntfMgr::exists(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return intfs_.contains(intf);
}

bool IntfMgr::admin_enabled(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return find(intf).adminEnabled;
}

void IntfMgr::admin_enabled_is(const orv::intf_id_t& intf, bool enabled) {
   orv::sdk_lock_check();
   auto& state = find(intf);
   if (state.adminEnabled == enabled) return;
   configure(intf, {.adminEnabled = enabled, .description = description(intf)});
   const auto before = state.oper();
   state.adminEnabled = enabled;
   tellAdmin(intf, enabled);
   tellOperChange(intf, before, state.oper());
}

std::string IntfMgr::description(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   find(intf);
   const auto* row = config_.find(intf);
   return row == nullptr ? std::string() : row->description;
}

void IntfMgr::description_is(const orv::intf_id_t& intf, const std::string& text) {
   orv::sdk_lock_check();
   const auto& state = find(intf);
   if (text.size() > maxDescriptionBytes) {
      throw orv::invalid_argument_error(
           fmt::format("description of interface {} has {} bytes, expected at most {}", intf, text.size(),
                       maxDescriptionBytes));
   }
   if (const auto fault = textFault(text, maxDescriptionBytes); !fault.empty())
      throw orv::invalid_argument_error(fmt::format("description of interface {} {}", intf, fault));
   const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7f; };
   if (std::any_of(text.begin(), text.end(), isControl)) {
      throw orv::invalid_argument_error(
           fmt::format("description of interface {} is '{}', expected no control character", intf,
                       orv::detail::quotable(text)));
   }
   if (description(intf) == text) return;
   configure(intf, {.adminEnabled = state.adminEnabled, .description = text});
   tellDescription(intf, text);
}

orv::oper_status_t IntfMgr::oper_status(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return find(intf).oper();
}

orv::intf_id_t IntfMgr::orv_intf_name(const std::string& kernel_name) const {
   orv::sdk_lock_check();
   if (const auto it = byKernelName_.find(kernel_name); it != byKernelName_.end()) return it->second;
   throw orv::invalid_argument_error(
        fmt::format("no interface has the kernel name '{}'", orv::detail::quotable(kernel_name)));
}

std::string IntfMgr::kernel_intf_name(const orv::intf_id_t& intf) const {
   orv::sdk_lock_check();
   return find(intf).facts.kernelName;
}

void IntfMgr::linkIs(const orv::intf_id_t& intf, bool up) {
   orv::sdk_lock_check();
   auto& state = find(intf);
   if (!hasCable(state.facts.type)) {
      throw orv::invalid_argument_error(fmt::format("interface {} is of type {} and has no link to set", intf,
                                                    to_string(state.facts.type)));
   }
   if (state.linkUp == up) return;
   const auto before = state.oper();
   state.linkUp = up;
   tellOperChange(intf, before, state.oper());
   if (linkChanged_) linkChanged_(intf);
}

TopologyIntf IntfMgr::factsOfNew(const orv::intf_id_t& intf) const {
   if (intfs_.contains(intf)) {
      throw orv::invalid_argument_error(fmt::format("interface {} exists already", intf));
   }
   // An interface of the topology returns with its facts.
   const auto* known = topology_.find(intf.name());
   const auto facts = known != nullptr ? std::optional(*known) : topology_.fromName(intf.name());
   if (!facts) {
      throw orv::invalid_argument_error(fmt::format(
           "interface name '{}' does not imply a type, expected Ethernet, Management, Loopback, Lag, Vlan or "
           "Vxlan with a number",
           intf.name()));
   }
   if (const auto it = byKernelName_.find(facts->kernelName); it != byKernelName_.end()) {
      throw orv::invalid_argument_error(fmt::format(
           "interface {} would have the kernel name {}, which {} has", intf, facts->kernelName, it->second));
   }
   if (intfs_.size() >= Topology::maxInterfaces) refuseFull("interface", Topology::maxInterfaces);
   return *facts;
}

void IntfMgr::intfAdd(const orv::intf_id_t& intf) {
   orv::sdk_lock_check();
   const auto facts = factsOfNew(intf);
   if (isPort(facts.type)) {
      throw orv::invalid_argument_error(fmt::format(
           "interface {} is a port and is added with its hardware, expected a loopback, LAG, VLAN or VXLAN",
           intf));
   }
   setPresence(intf, true);
   insert(facts);
   tellCreated(intf);
}

void IntfMgr::intfDel(const orv::intf_id_t& intf) {
   orv::sdk_lock_check();
   if (isPort(find(intf).facts.type)) {
      throw orv::invalid_argument_error(fmt::format(
           "interface {} is a port and is removed with its hardware, expected a loopback, LAG, VLAN or VXLAN",
           intf));
   }
   setPresence(intf, false);
   config_.erase(intf);
   take(intf);
}

void IntfMgr::portAdd(const orv::intf_id_t& intf) {
   orv::sdk_lock_check();
   const auto facts = factsOfNew(intf);
   if (!isPort(facts.type)) {
      throw orv::invalid_argument_error(
           fmt::format("interface {} is of type {}, expected a port", intf, to_string(facts.type)));
   }
   insert(facts);
   tellCreated(intf);
}

void IntfMgr::portDel(const orv::intf_id_t& intf) {
   orv::sdk_lock_check();
   if (!isPort(find(intf).facts.type)) {
      throw orv::invalid_argument_error(fmt::format("interface {} is of type {}, expected a port", intf,
                                                    to_string(find(intf).facts.type)));
   }
   take(intf);
}

void IntfMgr::take(const orv::intf_id_t& intf) {
   byKernelName_.erase(find(intf).facts.kernelName);
   intfs_.erase(intf);
   inOrder_.erase(intf);
   callbacks_.post([this, intf] {
      handlers().notify(intf, [&](orv::intf_handler& handler) { handler.on_intf_delete(intf); });
   });
}

void IntfMgr::setPresence(const orv::intf_id_t& intf, bool there) {
   if (there == (topology_.find(intf.name()) != nullptr)) {
      presence_.erase(intf);
   } else {
      presence_.set(intf, there);
   }
}

void IntfMgr::portUsableIs(const orv::intf_id_t& intf, bool usable) {
   orv::sdk_lock_check();
   auto& state = find(intf);
   const auto before = state.oper();
   state.usable = usable;
   tellOperChange(intf, before, state.oper());
}

const IntfMgr::Intf& IntfMgr::find(const orv::intf_id_t& intf) const {
   const auto found = intfs_.find(intf);
   if (found == intfs_.end()) {
      throw orv::invalid_argument_error(
           fmt::format("unknown interface {}", intf.to_string().empty() ? "(none)" : intf.to_string()));
   }
   return *found->second;
}

IntfMgr::Intf& IntfMgr::find(const orv::intf_id_t& intf) {
   return const_cast<Intf&>(static_cast<const IntfMgr*>(this)->find(intf));
}

void IntfMgr::configure(const orv::intf_id_t& intf, IntfRow row) {
   if (row == IntfRow()) {
      config_.erase(intf);
   } else {
      config_.set(intf, std::move(row));
   }
}

// Notifies the handlers unless the interface has been removed in the meantime.
template <class Call>
void IntfMgr::tell(const orv::intf_id_t& intf, Call call) {
   callbacks_.post([this, intf, call = std::move(call)] {
      if (intfs_.contains(intf)) handlers().notify(intf, call);
   });
}

void IntfMgr::tellCreated(const orv::intf_id_t& intf) {
   callbacks_.post([this, intf] {
      handlers().notify(intf, [&](orv::intf_handler& handler) { handler.on_intf_create(intf); });
   });
   const auto& state = find(intf);
   tellOper(intf, state.oper());
   tellAdmin(intf, state.adminEnabled);
   if (const auto text = description(intf); !text.empty()) tellDescription(intf, text);
}

void IntfMgr::tellOper(const orv::intf_id_t& intf, orv::oper_status_t status) {
   tell(intf, [intf, status](orv::intf_handler& handler) { handler.on_oper_status(intf, status); });
}

void IntfMgr::tellOperChange(const orv::intf_id_t& intf, orv::oper_status_t before, orv::oper_status_t now) {
   if (before != now) tellOper(intf, now);
}

void IntfMgr::tellAdmin(const orv::intf_id_t& intf, bool enabled) {
   tell(intf, [intf, enabled](orv::intf_handler& handler) { handler.on_admin_enabled(intf, enabled); });
}

void IntfMgr::tellDescription(const orv::intf_id_t& intf, const std::string& text) {
   tell(intf, [intf, text](orv::intf_handler& handler) { handler.on_intf_description(intf, text); });
}

}  // namespace softswitch
