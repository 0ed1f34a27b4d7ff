// Code that the commands of the programming service share.
// Thread-safety: one thread.
#pragma once

#include <fmt/format.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "orvctl/Bulk.h"
#include "orvctl/JsonText.h"
#include "orvctl/Progress.h"

namespace orvctl {

// Sends one item by `rpc` and reports its status.
template <typename Item, typename Method>
int sendItem(Context& context, const char* rpc, Method method, const Item& item, const std::string& name) {
   auto connection = context.connect();
   const auto status = connection.call(rpc, method, item);
   if (context.json) context.out << messageToJson(status) << '\n';
   if (status.status() == OrvSdkRpc::pb::RPC_STATUS_OK) return kOk;
   if (!context.json) context.err << fmt::format("{}: {}\n", name, statusText(status));
   return kRefused;
}

// Sends a plan by the bulk RPC `rpc`, with a progress bar, and reports what failed. `describe(item)` names an
// item.
template <typename BulkRequest, typename Method, typename Describe>
int sendItems(Context& context, const char* rpc, Method method, const BulkPlan<BulkRequest>& plan,
              Describe describe) {
   auto connection = context.connect();
   Progress bar(context.err, context.interactive && !context.json, plan.size());
   const auto result = sendBulk(
        plan, [&](const auto& request) { return connection.call(rpc, method, request); }, describe,
        [&](size_t done) { bar.doneIs(done); });
   return reportBulk(context, result);
}

// Calls `add(where, text, number)` for each item that a command deletes: the lines of `file`, or else the
// `arguments`. Error texts call the arguments `what` ("PREFIX") and the command `command` ("route del").
// THROWS: UsageError if both or neither are given.
void forEachDeleted(Context& context, std::string_view command, std::string_view what,
                    const std::string& file, const std::vector<std::string>& arguments,
                    const std::function<void(const std::string&, std::string_view, size_t)>& add);

}  // namespace orvctl
