// Between a service's callbacks and its streams: a callback writes into the one pending message of its key, a
// task of the main loop hands the messages on and gives way when it should. Events of one key between two
// runs become one message, the last value of each field; no event costs more than a look-up, however fast
// they come.
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

// The task behind a backlog.
class BacklogImplBase : protected Pavo::Task {
public:
   BacklogImplBase(Pavo::String name, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler)
        : Task(scheduler, std::move(name)) {}

   // One run: hands messages on until none is left or the task should yield.
   virtual void handleBacklogTask() = 0;

protected:
   // Says how much was done and what is left, and asks for the next run where something is.
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
// Messages that are pending when the backlog goes are dropped.
template <class Key, class Msg, class Handler>
class GenericBacklog final : public BacklogImplBase {
public:
   GenericBacklog(Pavo::String name, const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, Handler handler)
        : BacklogImplBase(std::move(name), scheduler), handler_(std::move(handler)) {}

   // The pending message of the key, made if absent. Valid until the next get or run.
   Msg& get(const Key& key) {
      scheduleTask();
      return pending_.emplace(key).first;
   }

   void handleBacklogTask() override {
      bool first = true;
      const std::size_t count = pending_.pass([&](const Key& key, Msg& message) {
         // At least one, however short the time slice.
         if (!first && taskShouldYield()) return false;
         first = false;
         handler_(key, message);
         return true;
      });
      passDone(count, pending_.size());
   }

   // For a look at what waits.
   [[nodiscard]] const PendingTable<Key, Msg>& pending() const { return pending_; }

private:
   PendingTable<Key, Msg> pending_;
   Handler handler_;
};

}  // namespace OrvSdkRpc
