// Seamless-BFD echo sessions: programs them, reports their state and round-trip times to the streams, and
// tracks their epochs.
//
// Thread-safety: requests and resync run on the pump thread, callbacks and tasks on the SDK's main thread.
// All of them hold the SDK's lock, which guards everything here. Constructed and destroyed on the SDK's main
// thread, or with its lock held.
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

// Sends the alive updates collected since the last run.
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

   // Starts watching all sessions, and adds the SDK's existing sessions to the table with epoch 0.
   BfdProgrammer(const ClientInit& client, orv::bfd_session_mgr* sessionMgr, orv::intf_mgr* intfMgr,
                 SbfdUpdateSender& sender);
   ~BfdProgrammer() override;

   void processSbfdEchoSessionRequest(const pb::sbfd_echo_session_msg& request, pb::rpc_status_msg& response);
   void processSbfdEchoSessionBulkRequest(const pb::sbfd_echo_session_bulk_msg& request,
                                          pb::rpc_status_bulk_msg& response);

   // Starts a new epoch: a session that is not programmed again before the end is stale.
   void resyncStart();
   // Deletes the stale sessions and sends the status of the others as one bulk. The environment variable
   // KELPAGENT_NOBFD suppresses the bulk.
   void resyncEnd();

   void on_sbfd_echo_session_status(const Key& key, orv::bfd_session_status_t status) override;
   void on_sbfd_echo_session_rtt(const Key& key, const orv::sbfd_echo_session_rtt_stats_t& stats) override;
   void on_intf_create(const orv::intf_id_t& intf) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;
   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_admin_enabled(const orv::intf_id_t& intf, bool enabled) override;

   // Session generation, incremented by each resync start.
   [[nodiscard]] std::uint32_t epoch() const { return epoch_; }

private:
   int work(const pb::sbfd_echo_session_msg& request, std::string& errorText);
   void set(const Key& key, const pb::sbfd_echo_session_msg& request);
   void takeBack(const Key& key);
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
