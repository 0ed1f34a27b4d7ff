#include "orv/agent.h"

namespace orv {

agent_handler::agent_handler(agent_mgr* mgr) : mgr_(mgr) {
   if (mgr_ != nullptr) mgr_->handlers().add(this);
}

agent_handler::~agent_handler() {
   if (mgr_ != nullptr) mgr_->handlers().del(this);
}

void agent_handler::on_agent_enabled(bool) {}

void agent_handler::on_agent_option(const std::string&, const std::string&) {}

std::string agent_handler::on_agent_rpc(const std::string&) {
   return {};
}

}  // namespace orv
