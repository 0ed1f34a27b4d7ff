#pragma once

// One reader of a table: which rows have changed since it looked, and the task that tells it.
// Thread-safety: guarded by the activity lock; rows are told from the main loop.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/gorm/TaskScheduler.h"
#include "platform/pavo/Ptr.h"

namespace Rillo {

/// A row that changes again before it is told is told once.
class Reader final : public std::enable_shared_from_this<Reader> {
public:
   /// Tells of one row; may close the reader.
   using Tell = std::function<void(std::uint32_t slot)>;

   static std::shared_ptr<Reader> make(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, std::string name,
                                       Tell tell);
   Reader(const Reader&) = delete;
   Reader& operator=(const Reader&) = delete;
   ~Reader();

   /// False when the row waits already.
   bool changed(std::uint32_t slot);
   /// Tells nothing any more; returns the rows that were waiting.
   std::vector<std::uint32_t> close();

private:
   explicit Reader(Tell tell) : tell_(std::move(tell)) {}
   void run();

   const Tell tell_;
   Pavo::Ptr<Gorm::Task> task_;
   std::vector<std::uint32_t> waiting_;  ///< in the order of the changes; told up to told_
   std::size_t told_ = 0;
   std::vector<bool> waits_;  ///< by slot
   bool closed_ = false;
};

}  // namespace Rillo
