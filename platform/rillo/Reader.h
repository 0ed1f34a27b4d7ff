#pragma once

// One reader of a table: the rows that have changed since their last notification, and the task that notifies
// the reader.
// Thread-safety: guarded by the activity lock; notifications come from the main loop.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/gorm/TaskScheduler.h"
#include "platform/pavo/Ptr.h"

namespace Rillo {

// Several changes of a row before its notification result in one notification.
class Reader final : public std::enable_shared_from_this<Reader> {
public:
   // Notifies of one row; may close the reader.
   using Tell = std::function<void(std::uint32_t slot)>;

   static std::shared_ptr<Reader> make(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, std::string name,
                                       Tell tell);
   Reader(const Reader&) = delete;
   Reader& operator=(const Reader&) = delete;
   ~Reader();

   // Queues a notification of the row.
   // RETURNS: false if one is already queued, or the reader is closed.
   bool changed(std::uint32_t slot);
   // Ends all notifications.
   // RETURNS: the rows whose notifications were queued.
   std::vector<std::uint32_t> close();

private:
   explicit Reader(Tell tell) : tell_(std::move(tell)) {}
   void run();

   const Tell tell_;
   Pavo::Ptr<Gorm::Task> task_;
   std::vector<std::uint32_t> waiting_;  // in the order of the changes; notified up to told_
   std::size_t told_ = 0;
   std::vector<bool> waits_;  // by slot
   bool closed_ = false;
};

}  // namespace Rillo
