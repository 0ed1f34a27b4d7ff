#include "OrvSdkRpc/programming/BfdProgrammer.h"

#include <cstdlib>
#include <iterator>
#include <utility>

#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"

namespace OrvSdkRpc {
namespace {

using Message = pb::watch_sbfd_echo_session_status_msg;
using OperStatus = pb::sbfd_echo_session_oper_status_msg;

constexpr Gorm::Priority aliveTaskPriority = 1;
constexpr Gorm::Priority rttTaskPriority = 3;
constexpr int aliveBulkReserve = 100;
constexpr std::uint32_t sessionDscpMax = 255;
constexpr std::uint32_t maxMplsExp = 7;

OperStatus::oper_status_enum convertStatus(orv::bfd_session_status_t status) {
   const auto number = static_cast<int>(status);
   return number >= 1 && number <= 4 ? static_cast<OperStatus::oper_status_enum>(number)
                                     : OperStatus::SBFD_OPER_STATUS_UNKNOWN;
}

void addStatus(Message& bulk, const orv::sbfd_echo_session_key_t& key, orv::bfd_session_status_t status) {
   Message& item = *bulk.add_bulk();
   convertKey(key, *item.mutable_key());
   item.mutable_oper_status()->set_status(convertStatus(status));
}

}  // namespace

BfdSendAliveBulkMsgTask::BfdSendAliveBulkMsgTask(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler,
                                                 SbfdUpdateSender& sender, Message* aliveBulk)
     : Task(scheduler, "BfdSendAliveBulk", aliveTaskPriority), sender_(sender), aliveBulk_(aliveBulk) {}

void BfdSendAliveBulkMsgTask::taskExecute() {
   if (!taskRunning()) return;
   orv::fmttrace(programmingTracer(), 1, "send BfdSendAliveBulk");
   Message tmpBulkMsg;
   tmpBulkMsg.mutable_bulk()->Reserve(aliveBulkReserve);
   tmpBulkMsg.Swap(aliveBulk_);
   assertThat(tmpBulkMsg.bulk_size() != 0, "tmpBulkMsg.bulk_size() != 0");
   tmpBulkMsg.add_bulk()->set_bulk_end(true);
   sender_.sendSbfdAliveUpdate(std::move(tmpBulkMsg));
}

BfdProgrammer::BfdProgrammer(const ClientInit& client, orv::bfd_session_mgr* sessionMgr,
                             orv::intf_mgr* intfMgr, SbfdUpdateSender& sender)
     : orv::bfd_session_handler(sessionMgr),
       orv::intf_handler(intfMgr),
       client_(client),
       sessionMgr_(sessionMgr),
       intfMgr_(intfMgr),
       sender_(sender),
       rttBacklog_(new BfdRttBacklogSm(sender)),
       rttTask_(rttBacklog_->rttBacklogTaskIs(Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                                              rttTaskPriority, "bfdRttBacklog")),
       aliveTask_(Gorm::TaskSchedulerRoot::findOrCreateScheduler(), sender, &aliveBulk_) {
   watch_all_sbfd_echo_sessions(true);
   rttTask_->quantumIs(rttTask_->quantum() / 4);
   for (auto session = sessionMgr_->sbfd_echo_session_iter(); session; ++session)
      sessions_.emplace(*session, epoch_);
}

// Other references may keep the state machine alive, and its task uses the sender.
BfdProgrammer::~BfdProgrammer() {
   rttTask_->retire();
}

void BfdProgrammer::processSbfdEchoSessionRequest(const pb::sbfd_echo_session_msg& request,
                                                  pb::rpc_status_msg& response) {
   serveRequest(client_, request, response, [&](std::string& errorText) { return work(request, errorText); });
}

void BfdProgrammer::processSbfdEchoSessionBulkRequest(const pb::sbfd_echo_session_bulk_msg& request,
                                                      pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processSbfdEchoSessionRequest(item, status); });
}

int BfdProgrammer::work(const pb::sbfd_echo_session_msg& request, std::string& errorText) {
   orv::fmttrace(programmingTracer(), 1, "Process sBFD request: {}", pb::Lazy{request});
   if (request.key().dscp() > sessionDscpMax) {
      return refuse(errorText, "Error: invalid DSCP value {} request {}", request.key().dscp(),
                    pb::toString(request));
   }
   if (request.key().mpls_exp() > maxMplsExp) {
      return refuse(errorText, "Error: invalid MPLS exp value {} request {}", request.key().mpls_exp(),
                    pb::toString(request));
   }
   const Key key = convertMsg(request.key());
   if (request.delete_()) {
      orv::sdk_scoped_lock lock;
      doDelete(key);
      return pb::RPC_STATUS_OK;
   }
   if ((request.min_tx() == 0) != (request.detectionmultiplier() == 0)) {
      return refuse(
           errorText,
           "Error: Must specify either both min_tx and detectionMultiplier or none of them. Request {}",
           pb::toString(request));
   }
   orv::sdk_scoped_lock lock;
   set(key, request);
   return pb::RPC_STATUS_OK;
}

void BfdProgrammer::set(const Key& key, const pb::sbfd_echo_session_msg& request) {
   // Another user of the SDK may have created it.
   const bool stood = sessions_.contains(key) || sessionMgr_->sbfd_echo_session_exists(key);
   sessionMgr_->sbfd_echo_session_set(key);
   try {
      sessionMgr_->sbfd_echo_session_interval_set(
           key, request.min_tx() != 0
                     ? orv::sbfd_interval_t(static_cast<std::uint16_t>(request.min_tx()),
                                            static_cast<std::uint8_t>(request.detectionmultiplier()))
                     : sessionMgr_->sbfd_default_interval());
      sessionMgr_->sbfd_echo_session_rtt_enabled_set(key, request.rtt_enabled());
   } catch (const orv::error&) {
      // A new session that is rejected must not stay at the default interval.
      if (!stood) takeBack(key);
      throw;
   }
   // The current epoch protects the session at the end of a resync.
   sessions_.insert_or_assign(key, epoch_);
   if (request.track_intf_state()) {
      intfToKeySetIs(key);
   } else {
      intfToKeySetDel(key);
   }
}

// The reply keeps the words of the refusal, so an error here is only traced.
void BfdProgrammer::takeBack(const Key& key) {
   try {
      sessionMgr_->sbfd_echo_session_del(key);
   } catch (const orv::error& e) {
      orv::fmttrace(programmingTracer(), 0, "Error: sBFD session {} cannot be taken back, exception {}", key,
                    e.what());
   }
}

void BfdProgrammer::doDelete(const Key& key) {
   sessionMgr_->sbfd_echo_session_del(key);
   rttBacklog_->backlogDel(key);
   sessions_.erase(key);
   intfToKeySetDel(key);
}

void BfdProgrammer::intfToKeySetIs(const Key& key) {
   const auto [entry, made] = intfToKeys_.try_emplace(key.nexthop_intf());
   if (made) watch_intf(key.nexthop_intf(), true);
   entry->second.insert(key);
}

void BfdProgrammer::intfToKeySetDel(const Key& key) {
   const auto entry = intfToKeys_.find(key.nexthop_intf());
   if (entry == intfToKeys_.end()) return;
   entry->second.erase(key);
   if (!entry->second.empty()) return;
   intfToKeys_.erase(entry);
   watch_intf(key.nexthop_intf(), false);
}

void BfdProgrammer::resyncStart() {
   orv::sdk_scoped_lock lock;
   ++epoch_;
}

void BfdProgrammer::resyncEnd() {
   const bool silent = std::getenv("KELPAGENT_NOBFD") != nullptr;
   orv::sdk_scoped_lock lock;
   Message message;
   message.mutable_bulk()->Reserve(static_cast<int>(sessions_.size()) + 1);
   for (auto session = sessions_.begin(); session != sessions_.end();) {
      const auto next = std::next(session);
      if (session->second != epoch_) {
         const Key key = session->first;
         orv::fmttrace(programmingTracer(), 1, "Purging {} has stale epoch {} != {}", key, session->second,
                       epoch_);
         doDelete(key);
      } else if (!silent) {
         const orv::bfd_session_status_t status = sessionMgr_->sbfd_echo_session_status(session->first);
         orv::fmttrace(programmingTracer(), 1, "key={} status={}", session->first, status);
         addStatus(message, session->first, status);
      }
      session = next;
   }
   if (message.bulk_size() == 0) return;
   message.add_bulk()->set_bulk_end(true);
   // Sessions missing from the message have been removed. After a crash, they must still be removed.
   orv::sdk_lock_settle();
   sender_.sendSbfdAliveUpdate(std::move(message));
}

void BfdProgrammer::on_sbfd_echo_session_status(const Key& key, orv::bfd_session_status_t status) {
   addStatus(aliveBulk_, key, status);
   orv::fmttrace(programmingTracer(), 1, "key={} status={}", key, status);
   aliveTask_.scheduleTask();
}

void BfdProgrammer::on_sbfd_echo_session_rtt(const Key& key,
                                             const orv::sbfd_echo_session_rtt_stats_t& stats) {
   orv::fmttrace(programmingTracer(), 4, "key={} rtt={}", key, stats);
   pb::sbfd_echo_session_rtt_msg rtt;
   rtt.set_last_rtt(stats.last_rtt());
   rtt.set_min_rtt(stats.min_rtt());
   rtt.set_avg_rtt(stats.avg_rtt());
   rtt.set_max_rtt(stats.max_rtt());
   rtt.set_snapshot_min_rtt(stats.snapshot_min_rtt());
   rtt.set_snapshot_avg_rtt(stats.snapshot_avg_rtt());
   rtt.set_snapshot_max_rtt(stats.snapshot_max_rtt());
   rttBacklog_->backlogIs(key, rtt);
   rttTask_->scheduleTask();
}

void BfdProgrammer::on_intf_create(const orv::intf_id_t&) {}

void BfdProgrammer::on_intf_delete(const orv::intf_id_t& intf) {
   tellOrTrace(programmingTracer(), "on_intf_delete",
               [&] { handleIntfStateChange(intf, false, orv::oper_status_t::down); });
}

void BfdProgrammer::on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) {
   // The interface may have been deleted since.
   tellOrTrace(programmingTracer(), "on_oper_status",
               [&] { handleIntfStateChange(intf, intfMgr_->admin_enabled(intf), status); });
}

void BfdProgrammer::on_admin_enabled(const orv::intf_id_t& intf, bool enabled) {
   tellOrTrace(programmingTracer(), "on_admin_enabled",
               [&] { handleIntfStateChange(intf, enabled, intfMgr_->oper_status(intf)); });
}

// Reports the sessions of an interface that goes down at once, ahead of BFD's own report.
void BfdProgrammer::handleIntfStateChange(const orv::intf_id_t& intf, bool admin, orv::oper_status_t oper) {
   if (admin && oper == orv::oper_status_t::unknown) return;
   const bool up = admin && oper != orv::oper_status_t::down;
   const auto entry = intfToKeys_.find(intf);
   if (entry == intfToKeys_.end()) {
      orv::fmttrace(programmingTracer(), 2, "intf={} admin={} oper={} no sBFD session track intf state", intf,
                    admin, oper);
      return;
   }
   Message message;
   message.mutable_bulk()->Reserve(static_cast<int>(entry->second.size()) + 1);
   for (const Key& key : entry->second) {
      const orv::bfd_session_status_t known = sessionMgr_->sbfd_echo_session_status(key);
      if (known == orv::bfd_session_status_t::down) {
         orv::fmttrace(programmingTracer(), 2, "key={} status={} on intf state change admin={} oper={} skip",
                       key, known, admin, oper);
         continue;
      }
      const orv::bfd_session_status_t status = up ? known : orv::bfd_session_status_t::down;
      addStatus(message, key, status);
      orv::fmttrace(programmingTracer(), 1, "key={} status={} on intf state change admin={} oper={}", key,
                    status, admin, oper);
   }
   if (message.bulk_size() == 0) return;
   message.add_bulk()->set_bulk_end(true);
   sender_.sendSbfdAliveUpdate(std::move(message));
}

}  // namespace OrvSdkRpc
