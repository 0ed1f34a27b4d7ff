// Many items sent as bulk requests, and a report of those that failed.
// Thread-safety: one thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvctl/Context.h"
#include "orvctl/InBand.h"

namespace orvctl {

// The outcome of all items.
struct BulkResult {
   struct Failure {
      // The item's input line, counted from 1.
      size_t line;
      // The item's name: a prefix, a group's name.
      std::string item;
      OrvSdkRpc::pb::rpc_status_msg status;
   };
   size_t sent = 0;
   std::vector<Failure> failures;
   double seconds = 0;
};

// Items in the order in which they were added, split into requests of `batch` items.
template <typename BulkRequest>
class BulkPlan {
public:
   explicit BulkPlan(size_t batch) : batch_(batch) {}

   using Item = typename std::remove_cvref_t<decltype(std::declval<BulkRequest>().bulk(0))>;

   void add(Item item, size_t line) {
      if (requests_.empty() || static_cast<size_t>(requests_.back().bulk_size()) == batch_)
         requests_.emplace_back();
      *requests_.back().add_bulk() = std::move(item);
      lines_.push_back(line);
   }
   size_t size() const { return lines_.size(); }
   size_t line(size_t item) const { return lines_[item]; }
   const std::vector<BulkRequest>& requests() const { return requests_; }

private:
   size_t batch_;
   std::vector<BulkRequest> requests_;
   std::vector<size_t> lines_;
};

// Prints failures and a summary line, or one JSON object.
// RETURNS: the exit code.
int reportBulk(Context& context, const BulkResult& result);

// Called with the number of items done so far.
using ProgressSink = std::function<void(size_t)>;

// Sends the plan's requests one after the other with `send(request) -> rpc_status_bulk_msg`, so that the
// items take effect in order. `describe(item)` names an item that failed.
template <typename BulkRequest, typename Send, typename Describe>
BulkResult sendBulk(const BulkPlan<BulkRequest>& plan, Send send, Describe describe,
                    const ProgressSink& progress) {
   BulkResult result;
   const auto start = std::chrono::steady_clock::now();
   for (const BulkRequest& request : plan.requests()) {
      const OrvSdkRpc::pb::rpc_status_bulk_msg reply = send(request);
      if (reply.statuses_size() != request.bulk_size()) {
         throw CallError("the server answered " + std::to_string(reply.statuses_size()) + " statuses for " +
                         std::to_string(request.bulk_size()) + " items");
      }
      for (int i = 0; i < request.bulk_size(); ++i, ++result.sent) {
         if (reply.statuses(i).status() == OrvSdkRpc::pb::RPC_STATUS_OK) continue;
         result.failures.push_back({plan.line(result.sent), describe(request.bulk(i)), reply.statuses(i)});
      }
      progress(result.sent);
   }
   result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
   return result;
}

// Calls `each(line, number)` for every line of a file, or of the context's input for "-"; skips blank lines
// and comment lines ("#").
// THROWS: UsageError if the file cannot be read.
void forEachLine(Context& context, std::string_view what, const std::string& file,
                 const std::function<void(std::string_view line, size_t number)>& each);

}  // namespace orvctl
