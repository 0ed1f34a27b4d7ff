// Backlog of round-trip times between the SDK and the streams. It keeps the latest value of each session.
//
// Thread-safety: call on the SDK's main thread or with the SDK's lock held. Destroy as a Pavo::Task.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/PendingTable.h"
#include "OrvSdkRpc/programming/SbfdUpdateSender.h"
#include "orv/sbfd_types.h"
#include "platform/gorm/Task.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/pavo/Ptr.h"

namespace OrvSdkRpc {

class BfdRttBacklogSm final : public Pavo::RefCounted {
public:
   using Key = orv::sbfd_echo_session_key_t;

   explicit BfdRttBacklogSm(SbfdUpdateSender& sender) : sender_(sender) {}

   // Creates the task that drains the backlog. Called once, before the first report.
   const Pavo::Ptr<Gorm::Task>& rttBacklogTaskIs(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler,
                                                 Gorm::Priority priority, std::string name);

   // Replaces the session's pending value.
   void backlogIs(const Key& key, const pb::sbfd_echo_session_rtt_msg& rtt);
   // Drops the session's pending value.
   void backlogDel(const Key& key) { backlog_.erase(key); }

   // One run of the task. Sends as one message what it drains within its quantum.
   void handleRttBacklogTask();

   [[nodiscard]] std::size_t backlogSize() const { return backlog_.size(); }

private:
   ~BfdRttBacklogSm() override;
   static void handleRttBacklogElem(const Key& key, const pb::sbfd_echo_session_rtt_msg& rtt,
                                    pb::watch_sbfd_echo_session_status_msg& message);

   SbfdUpdateSender& sender_;
   PendingTable<Key, pb::sbfd_echo_session_rtt_msg> backlog_;
   Pavo::Ptr<Gorm::Task> task_;
};

}  // namespace OrvSdkRpc
