// Seamless-BFD echo sessions: programs them, tells their state and round-trip times to the streams, and keeps
// their epochs.
//
// Thread-safety: requests and resync on the pump thread, the callbacks and tasks on the SDK's main thread;
// the SDK's lock, which every one of them holds, guards all that is here.
//
// Made and destroyed on the SDK's main thread, or with its lock held.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

#include "OrvSdkRpc/programming/BfdRttBacklogSm.h"
#include "OrvSdkRpc/programming/SbfdUpdateSender.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"
#include "orv/bfd_session.h"
#include "orv/intf.h"
#include "platform/gorm/PavoTask.h"
#include "platform/gorm/Task.h"
#include "platform/pavo/Ptr.h"

namespace OrvSdkRpc {

class ClientInit;

// Sends what has been gathered in the alive bulk since the last run.
class BfdSendAliveBulkMsgTask final : public Pavo::Task {
public:
   BfdSendAliveBulkMsgTask(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, SbfdUpdateSender& sender,
                           pb::watch_sbfd_echo_session_status_msg* aliveBulk);

private:
   void taskExecute() override;

   SbfdUpdateSender& sender_;
   pb::watch_sbfd_echo_session_status_msg* const aliveBulk_;
};

class BfdProgrammer final : public orv::bfd_session_handler, public orv::intf_handler {
public:
   using Key = orv::sbfd_echo_session_key_t;

   // Watches all sessions from here on, and takes those that the SDK runs into its table, with epoch 0.
   BfdProgrammer(const ClientInit& client, orv::bfd_session_mgr* sessionMgr, orv::intf_mgr* intfMgr,
                 SbfdUpdateSender& sender);
   ~BfdProgrammer() override;

   void processSbfdEchoSessionRequest(const pb::sbfd_echo_session_msg& request, pb::rpc_status_msg& response);
   void processSbfdEchoSessionBulkRequest(const pb::sbfd_echo_session_bulk_msg& request,
                                          pb::rpc_status_bulk_msg& response);

   // A new epoch begins: a session that is not programmed again before the end is stale.
   void resyncStart();
   // Deletes the stale sessions and sends the status of the others as one bulk, which the environment
   // variable KELPAGENT_NOBFD suppresses.
   void resyncEnd();

   void on_sbfd_echo_session_status(const Key& key, orv::bfd_session_status_t status) override;
   void on_sbfd_echo_session_rtt(const Key& key, const orv::sbfd_echo_session_rtt_stats_t& stats) override;
   void on_intf_create(const orv::intf_id_t& intf) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;
   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_admin_enabled(const orv::intf_id_t& intf, bool enabled) override;

   // Generation of sessions, counted by resync starts.
   [[nodiscard]] std::uint32_t epoch() const { return epoch_; }

private:
   int work(const pb::sbfd_echo_session_msg& request, std::string& errorText);
   void set(const Key& key, const pb::sbfd_echo_session_msg& request);
   void doDelete(const Key& key);
   void intfToKeySetIs(const Key& key);
   void intfToKeySetDel(const Key& key);
   void handleIntfStateChange(const orv::intf_id_t& intf, bool admin, orv::oper_status_t oper);

   const ClientInit& client_;
   orv::bfd_session_mgr* const sessionMgr_;
   orv::intf_mgr* const intfMgr_;
   SbfdUpdateSender& sender_;
   std::uint32_t epoch_ = 0;
   // Sessions that track the state of their interface.
   std::unordered_map<orv::intf_id_t, std::unordered_set<Key>> intfToKeys_;
   // Every known session and the epoch in which it was last programmed.
   std::unordered_map<Key, std::uint32_t> sessions_;
   const Pavo::Ptr<BfdRttBacklogSm> rttBacklog_;
   const Pavo::Ptr<Gorm::Task> rttTask_;
   pb::watch_sbfd_echo_session_status_msg aliveBulk_;
   BfdSendAliveBulkMsgTask aliveTask_;
};

}  // namespace OrvSdkRpc
