// Buffers events between a service's callbacks and its streams. A callback writes into the one pending
// message of its key; a task of the main loop passes the messages on and yields when it should. Events of one
// key between two runs merge into one message with the last value of each field. An event costs one look-up,
// whatever the rate.
//
// Thread-safety: no lock of its own. Everything runs on the SDK's main thread, or with the activity lock
// held.
#pragma once

#include <cstddef>
#include <utility>

#include "OrvSdkRpc/handlers/PendingTable.h"
#include "platform/gorm/PavoTask.h"
#include "platform/gorm/Task.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/pavo/Ptr.h"
#include "platform/pavo/String.h"

namespace OrvSdkRpc {

// The main-loop task of a backlog.
class BacklogImplBase : protected Pavo::Task {
public:
   BacklogImplBase(Pavo::String name, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler)
        : Task(scheduler, std::move(name)) {}

   // One run: passes messages on until the backlog is empty or the task should yield.
   virtual void handleBacklogTask() = 0;

protected:
   // Reports how much was done and how much is left, and schedules the next run if anything is left.
   void passDone(std::size_t count, std::size_t left);

private:
   void taskExecute() final { handleBacklogTask(); }
};

// Handler is a small structure that holds the service:
//
//    struct EthPhyIntfBacklog {
//       EthPhyIntfService& service;
//       // Consumes the message.
//       void operator()(const Key& key, Msg& message) { service.subscriptions().publish(message); }
//    };
//
// Messages still pending when the backlog is destroyed are dropped.
template <class Key, class Msg, class Handler>
class GenericBacklog final : public BacklogImplBase {
public:
   GenericBacklog(Pavo::String name, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Handler handler)
        : BacklogImplBase(std::move(name), scheduler), handler_(std::move(handler)) {}

   // Schedules a run. Returns the pending message of the key, created if absent; valid until the next get or
   // run.
   Msg& get(const Key& key) {
      scheduleTask();
      return pending_.emplace(key).first;
   }

   void handleBacklogTask() override {
      bool first = true;
      const std::size_t count = pending_.pass([&](const Key& key, Msg& message) {
         // Pass on at least one message, however short the time slice.
         if (!first && taskShouldYield()) return false;
         first = false;
         handler_(key, message);
         return true;
      });
      passDone(count, pending_.size());
   }

   // Drops the pending messages.
   // REQUIRES: not called from the handler.
   void clear() { pending_.clear(); }

   // The pending messages, for inspection.
   [[nodiscard]] const PendingTable<Key, Msg>& pending() const { return pending_; }

private:
   PendingTable<Key, Msg> pending_;
   Handler handler_;
};

}  // namespace OrvSdkRpc
