#include "softswitch/managers/agent_mgr.h"

#include <fmt/format.h>

#include <memory>

#include "orv/error.h"
#include "orv/lock.h"
#include "softswitch/tables/name_check.h"

namespace softswitch {
namespace {

constexpr std::uint64_t ownId = 1;

class OptionIter final : public orv::agent_option_iter_impl {
public:
   explicit OptionIter(const std::map<std::string, std::string>& options) : options_(&options) {}
   bool next(std::string& name) override {
      const auto it = started_ ? options_->upper_bound(last_) : options_->begin();
      if (it == options_->end()) return false;
      started_ = true;
      name = last_ = it->first;
      return true;
   }
   std::unique_ptr<orv::iter_impl<std::string>> clone() const override {
      return std::make_unique<OptionIter>(*this);
   }

private:
   const std::map<std::string, std::string>* options_;
   std::string last_;
   bool started_ = false;
};

void checkSizes(std::string_view what, const std::string& name, const std::string& value) {
   if (const auto fault = textFault(name, AgentMgr::nameBytesMax); !fault.empty())
      throw orv::invalid_argument_error(fmt::format("agent {} name {}", what, fault));
   if (const auto fault = textFault(value, AgentMgr::valueBytesMax); !fault.empty())
      throw orv::invalid_argument_error(fmt::format("agent {} '{}': value {}", what, name, fault));
}

}  // namespace

AgentMgr::AgentMgr(const Context& context, std::string name, std::map<std::string, std::string> options)
     : callbacks_(context.callbacks),
       name_(std::move(name)),
       storedOptions_(context.store, "agent_option", context.limits.agentStatuses),
       options_(std::move(options)),
       statuses_(context.store, "agent_status", context.limits.agentStatuses) {
   std::erase_if(options_, [](const auto& option) { return option.second.empty(); });
   storedOptions_.forEach(
        [this](const std::string& option, const std::string& value) { options_.emplace(option, value); });
}

bool AgentMgr::enabled() const {
   orv::sdk_lock_check();
   return enabled_;
}

std::string AgentMgr::agent_option(const std::string& name) const {
   orv::sdk_lock_check();
   const auto it = options_.find(name);
   return it == options_.end() ? std::string{} : it->second;
}

bool AgentMgr::agent_option_exists(const std::string& name) const {
   orv::sdk_lock_check();
   return options_.contains(name);
}

orv::agent_option_iter_t AgentMgr::agent_option_iter() const {
   orv::sdk_lock_check();
   return orv::agent_option_iter_t(std::make_unique<OptionIter>(options_));
}

std::string AgentMgr::status(const std::string& name) const {
   orv::sdk_lock_check();
   const auto* value = statuses_.find(name);
   return value == nullptr ? std::string{} : *value;
}

orv::agent_status_iter_t AgentMgr::status_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::agent_status_iter_t>(statuses_,
                                                  [](auto item) { return std::optional(*item.key); });
}

void AgentMgr::status_set(const std::string& name, const std::string& value) {
   orv::sdk_lock_check();
   checkSizes("status", name, value);
   statuses_.set(name, value);
}

void AgentMgr::status_del(const std::string& name) {
   orv::sdk_lock_check();
   statuses_.erase(name);
}

void AgentMgr::agent_shutdown_complete_is(bool complete) {
   orv::sdk_lock_check();
   ended_ = complete;
}

double AgentMgr::agent_uptime() const {
   orv::sdk_lock_check();
   return std::chrono::duration<double>(std::chrono::steady_clock::now() - since_).count();
}

std::uint64_t AgentMgr::id(const char* name) const {
   orv::sdk_lock_check();
   return name != nullptr && name_ == name ? ownId : 0;
}

void AgentMgr::agentOptionIs(const std::string& name, const std::string& value) {
   orv::sdk_lock_check();
   if (name.empty()) throw orv::invalid_argument_error("agent option has no name");
   checkSizes("option", name, value);
   if (value.empty()) {
      storedOptions_.erase(name);
      if (options_.erase(name) == 0) return;
   } else {
      storedOptions_.set(name, value);
      auto& present = options_[name];
      if (present == value) return;
      present = value;
   }
   callbacks_.post([this, name, value] {
      handlers().notify_every([&](auto& handler) { handler.on_agent_option(name, value); });
   });
}

void AgentMgr::start() {
   callbacks_.post([this] { handlers().notify_every([](auto& handler) { handler.on_initialized(); }); });
}

void AgentMgr::disable() {
   if (!enabled_) return;
   enabled_ = false;
   if (handlers().empty()) {
      ended_ = true;
      return;
   }
   callbacks_.post([this] {
      handlers().notify_every([](auto& handler) { handler.on_agent_enabled(false); });
      disableDelivered_ = true;
   });
}

}  // namespace softswitch
