// The agent: options, status entries, and the order of its shutdown.
//
// Status entries are stored, and so are options set at run time. Options of the command line apply to this
// process and override stored options of the same name.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value):
//    a status or option name of more than 255 bytes, a value of more than 1 MiB, or either not in UTF-8
//    an option without a name
//    more entries than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock; handlers are called from the main loop.
#pragma once

#include <chrono>
#include <map>
#include <string>

#include "orv/agent.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/table.h"

namespace softswitch {

struct AgentStatusCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const std::string& key, store::Writer& out) { out.text(key); }
   static std::string decodeKey(store::Reader& in) { return std::string(in.text()); }
   static void encodeRow(const std::string& row, store::Writer& out) { out.text(row); }
   static std::string decodeRow(store::Reader& in, std::uint8_t) { return std::string(in.text()); }
};

class AgentMgr final : public orv::agent_mgr {
public:
   static constexpr std::size_t nameBytesMax = 255;
   static constexpr std::size_t valueBytesMax = std::size_t{1} << 20;

   AgentMgr(const Context& context, std::string name, std::map<std::string, std::string> options);

   bool enabled() const override;
   std::string agent_option(const std::string& name) const override;
   bool agent_option_exists(const std::string& name) const override;
   orv::agent_option_iter_t agent_option_iter() const override;
   std::string status(const std::string& name) const override;
   orv::agent_status_iter_t status_iter() const override;
   void status_set(const std::string& name, const std::string& value) override;
   void status_del(const std::string& name) override;
   void agent_shutdown_complete_is(bool complete) override;
   double agent_uptime() const override;
   std::uint64_t id(const char* name) const override;

   const std::string& name() const { return name_; }
   std::size_t size() const { return statuses_.size(); }
   std::size_t capacity() const { return statuses_.capacity(); }

   // Sets an option, or deletes it if the value is empty, and notifies the handlers. A deleted option of the
   // command line returns at the next start that has it.
   void agentOptionIs(const std::string& name, const std::string& value);

   // Notifies the handlers that the switch's state is loaded.
   void start();
   // Notifies the handlers that the agent is to end. Without handlers it ends at once.
   void disable();
   // True once disable() has reached every handler.
   bool disableDelivered() const { return disableDelivered_; }
   // True once a handler has acknowledged, or disable() found no handler.
   bool ended() const { return ended_; }

private:
   Callbacks& callbacks_;
   const std::string name_;
   const std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
   Table<std::string, std::string, AgentStatusCodec> storedOptions_;
   std::map<std::string, std::string> options_;  // in force
   Table<std::string, std::string, AgentStatusCodec> statuses_;
   bool enabled_ = true;
   bool disableDelivered_ = false;
   bool ended_ = false;
};

}  // namespace softswitch
