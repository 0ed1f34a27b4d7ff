#include "OrvSdkRpc/programming/BfdRttBacklogSm.h"

#include <utility>

#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/programming/Reply.h"

namespace OrvSdkRpc {

BfdRttBacklogSm::~BfdRttBacklogSm() {
   if (task_) task_->retire();
}

const Pavo::Ptr<Gorm::Task>& BfdRttBacklogSm::rttBacklogTaskIs(
     const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Gorm::Priority priority, std::string name) {
   task_ = Pavo::Ptr<Gorm::Task>(
        new Gorm::Task(scheduler, std::move(name), priority, [this] { handleRttBacklogTask(); }));
   return task_;
}

void BfdRttBacklogSm::backlogIs(const Key& key, const pb::sbfd_echo_session_rtt_msg& rtt) {
   backlog_.emplace(key).first = rtt;
}

void BfdRttBacklogSm::handleRttBacklogTask() {
   pb::watch_sbfd_echo_session_status_msg message;
   message.mutable_bulk()->Reserve(static_cast<int>(backlog_.size()));
   const std::size_t done = backlog_.pass([&](const Key& key, const pb::sbfd_echo_session_rtt_msg& rtt) {
      // Send at least one, however short the quantum.
      if (message.bulk_size() != 0 && task_->taskShouldYield()) return false;
      handleRttBacklogElem(key, rtt, message);
      return true;
   });
   task_->taskWorkCountInc(done);
   task_->taskWorkPendingIs(backlog_.size());
   if (!backlog_.empty()) task_->scheduleTask();
   orv::fmttrace(programmingTracer(), 3, "RTT backlog sent {} pending {}", done, backlog_.size());
   if (message.bulk_size() != 0) sender_.sendSbfdRttUpdate(std::move(message));
}

void BfdRttBacklogSm::handleRttBacklogElem(const Key& key, const pb::sbfd_echo_session_rtt_msg& rtt,
                                           pb::watch_sbfd_echo_session_status_msg& message) {
   orv::fmttrace(programmingTracer(), 4, "key={} rtt={}", key, pb::Lazy{rtt});
   auto& item = *message.add_bulk();
   convertKey(key, *item.mutable_key());
   *item.mutable_rtt() = rtt;
}

}  // namespace OrvSdkRpc
