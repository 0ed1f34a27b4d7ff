// The agent: its options, status entries and lifecycle.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "orv/iter.h"
#include "orv/watch_list.h"

namespace orv {

class agent_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class agent_handler {
public:
   explicit agent_handler(agent_mgr* mgr);
   virtual ~agent_handler();
   agent_handler(const agent_handler&) = delete;
   agent_handler& operator=(const agent_handler&) = delete;

   // The switch's state is available. Called once, before all other callbacks.
   virtual void on_initialized() {}
   // False requests a shutdown: the handler finishes its work, then calls
   // agent_mgr::agent_shutdown_complete_is(true).
   virtual void on_agent_enabled(bool enabled);
   // An option was set, or deleted if the value is empty.
   virtual void on_agent_option(const std::string& name, const std::string& value);
   // Answers a call by name from outside the agent.
   virtual std::string on_agent_rpc(const std::string& name);

   [[nodiscard]] agent_mgr* get_agent_mgr() const noexcept { return mgr_; }

private:
   agent_mgr* const mgr_;
};

struct agent_option_iter_impl : iter_impl<std::string> {};
struct agent_status_iter_impl : iter_impl<std::string> {};
// Names of options and of status entries, in order.
using agent_option_iter_t = iter_base<std::string, agent_option_iter_impl>;
using agent_status_iter_t = iter_base<std::string, agent_status_iter_impl>;

class agent_mgr {
public:
   virtual ~agent_mgr() = default;

   [[nodiscard]] virtual bool enabled() const = 0;
   // The option's value; empty if it is not set.
   [[nodiscard]] virtual std::string agent_option(const std::string& name) const = 0;
   [[nodiscard]] virtual bool agent_option_exists(const std::string& name) const = 0;
   [[nodiscard]] virtual agent_option_iter_t agent_option_iter() const = 0;

   // Status entries survive the process. The value is empty if the entry is not set.
   [[nodiscard]] virtual std::string status(const std::string& name) const = 0;
   [[nodiscard]] virtual agent_status_iter_t status_iter() const = 0;
   virtual void status_set(const std::string& name, const std::string& value) = 0;
   // A no-op if the entry does not exist.
   virtual void status_del(const std::string& name) = 0;

   // Acknowledges on_agent_enabled(false); true ends the agent's main loop.
   virtual void agent_shutdown_complete_is(bool complete) = 0;

   // Seconds since the agent started.
   [[nodiscard]] virtual double agent_uptime() const = 0;
   // Number of the named agent; 0 if the name is unknown.
   [[nodiscard]] virtual std::uint64_t id(const char* name) const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<agent_handler, std::monostate>& handlers() noexcept { return handlers_; }

private:
   watch_list<agent_handler, std::monostate> handlers_;
};

}  // namespace orv
