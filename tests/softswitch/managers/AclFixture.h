// An ACL manager and a listener that records how commits end.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "softswitch/managers/acl_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {

class AclListener final : public orv::acl_handler {
public:
   using orv::acl_handler::acl_handler;
   void on_acl_sync() override { heard.push_back("sync"); }
   void on_acl_sync_fail(const std::string& source, const std::string& message) override {
      heard.push_back("fail " + source + ": " + message);
   }
   std::vector<std::string> heard;
};

inline orv::acl_rule_ip_t ipRule(orv::acl_action_t action, const std::string& group = "") {
   orv::acl_rule_ip_t rule;
   rule.action_is(action);
   rule.nexthop_group_is(group);
   return rule;
}

class AclFixture : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      forget();
      ManagerFixture::TearDown();
   }
   void make() {
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      mgr_ = std::make_unique<AclMgr>(context(), *intfs_);
   }
   void forget() {
      mgr_.reset();
      intfs_.reset();
   }
   void startAgain() {
      restart([&] { forget(); });
      make();
   }
   void startAgainWith(std::size_t acls) {
      limits_.acls = acls;
      startAgain();
   }
   void setRules(const orv::acl_key_t& key, unsigned from, unsigned to, orv::acl_action_t action) {
      for (unsigned seq = from; seq <= to; ++seq)
         mgr_->acl_rule_set(key, seq, ipRule(action));
   }
   // A list's committed row and rules.
   std::pair<std::optional<AclRow>, std::vector<orv::acl_rule_ip_entry_t>> committed(
        const orv::acl_key_t& key) {
      const auto* row = mgr_->committedLists().find(key);
      return {row == nullptr ? std::nullopt : std::optional(*row), listOf(mgr_->acl_all_rule_ip_iter(key))};
   }
   // Commits. RETURNS: the events that `listener` has received.
   std::vector<std::string> commit(AclListener& listener) {
      listener.heard.clear();
      mgr_->acl_commit();
      runLoop();
      return listener.heard;
   }
   std::vector<std::string> commit() {
      AclListener listener(mgr_.get());
      listener.watch_all_acls(true);
      return commit(listener);
   }
   std::vector<unsigned> seqs(orv::acl_rule_ip_iter_t rules) {
      std::vector<unsigned> result;
      for (; rules; ++rules)
         result.push_back(rules->first);
      return result;
   }

   const Topology topology_ = Topology::builtIn();
   const orv::acl_key_t edge_{"edge", orv::acl_type_t::ipv4}, other_{"other", orv::acl_type_t::ipv4},
        eth_{"edge", orv::acl_type_t::eth};
   const orv::acl_key_t a1_{"a1", orv::acl_type_t::ipv4}, a2_{"a2", orv::acl_type_t::ipv4},
        x1_{"x1", orv::acl_type_t::ipv4}, x2_{"x2", orv::acl_type_t::ipv4};
   const orv::intf_id_t ethernet1_{"Ethernet1"}, loopback_{"Loopback0"};
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<AclMgr> mgr_;
};

}  // namespace softswitch
