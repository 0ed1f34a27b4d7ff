#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "OrvSdkRpcProtos/policy_map_counters.pb.h"
#include "orvctl/commands/Commands.h"
#include "orvctl/commands/Watch.h"

namespace orvctl {
namespace rpc = orv::remote;

namespace PolicyCounterCommands {

using nlohmann::ordered_json;

constexpr const char* kWatchFooter =
     "A table of all counters, and then a line for each that changes or is gone. Lines that begin with # are "
     "comments: the table is complete and changes follow. With --json one object per entry, and "
     "{\"complete\":true} behind those of the table.\n"
     "Ends with 0 on SIGINT or SIGTERM, after --count entries, and when --timeout is over; with 1 when the "
     "server refuses the watch, 3 when it goes away.";

// The long key of a counter.
struct Name {
   std::string policy, className, rule;
};

std::vector<std::string> nexthopsOf(const rpc::PolicyMapCountersOutAction& out) {
   std::vector<std::string> texts;
   for (const auto& hop : out.nexthops().nexthops())
      texts.push_back(wireAddressText(hop).value_or(fmt::format("({} bytes)", hop.size())));
   return texts;
}

std::string actionText(const rpc::PolicyMapCountersAction& action) {
   if (action.drop()) return "drop";
   std::vector<std::string> texts;
   const auto& out = action.out();
   if (out.has_nexthops()) texts.push_back(fmt::format("to {}", fmt::join(nexthopsOf(out), ",")));
   if (out.has_nexthop_group_name()) texts.push_back("through " + out.nexthop_group_name());
   if (out.ttl() != 0) texts.push_back(fmt::format("ttl {}", out.ttl()));
   return fmt::format("{}", fmt::join(texts, " "));
}

ordered_json jsonOf(const Name& name, const rpc::PolicyMapCounters& entry, bool gone) {
   ordered_json json{
        {"key", entry.key()}, {"policy", name.policy}, {"class", name.className}, {"rule", name.rule}};
   if (gone) {
      json["gone"] = true;
      return json;
   }
   json["packets"] = entry.counters().packets();
   json["bytes"] = entry.counters().bytes();
   json["time"] = entry.counters().time();
   const auto& action = entry.policy_action();
   if (action.drop()) json["drop"] = true;
   if (action.out().has_nexthops()) json["nexthops"] = nexthopsOf(action.out());
   if (action.out().has_nexthop_group_name()) json["nexthop_group"] = action.out().nexthop_group_name();
   if (action.out().ttl() != 0) json["ttl"] = action.out().ttl();
   return json;
}

// Prints the counters of a watch. The widths of the columns are those of the first rows: the snapshot waits
// until it is complete, and later rows may be wider.
class Table {
public:
   // `count`: how many entries to print; 0 for no limit.
   Table(Context& context, uint64_t count) : context_(context), count_(count) {}
   // What has arrived of the snapshot is printed, even if the watch ends in the middle of it.
   ~Table() {
      if (!snapshot_.empty()) printSnapshot();
   }
   Table(const Table&) = delete;
   Table& operator=(const Table&) = delete;

   // RETURNS: false if the watch should end.
   bool take(const rpc::PolicyMapCountersWatchResponse& reply) {
      if (reply.data().empty()) {
         complete();
      } else {
         for (const auto& entry : reply.data()) {
            if (!show(entry)) break;
         }
      }
      context_.out.flush();
      return context_.out.good() && (count_ == 0 || shown_ < count_);
   }

private:
   static constexpr size_t columns = 6;
   using Row = std::array<std::string, columns>;

   // RETURNS: false once enough entries were shown.
   bool show(const rpc::PolicyMapCounters& entry) {
      const auto& key = entry.key_name();
      const bool gone = entry.operation() == rpc::POLICY_MAP_COUNTERS_OPERATION_DELETE;
      if (entry.has_key_name() && !gone)
         names_[entry.key()] = {key.policy_map_key().name(), key.class_name(), key.rule_name()};
      const auto named = names_.find(entry.key());
      // A counter that came and went before it was introduced.
      if (named == names_.end()) return true;
      const Name name = named->second;
      if (gone) names_.erase(named);
      if (context_.json) {
         print(jsonOf(name, entry, gone).dump(-1, ' ', false, ordered_json::error_handler_t::replace));
      } else if (gone) {
         add({name.policy, name.className, name.rule, "", "", "gone"});
      } else {
         add({name.policy, name.className, name.rule, fmt::to_string(entry.counters().packets()),
              fmt::to_string(entry.counters().bytes()), actionText(entry.policy_action())});
      }
      return ++shown_ != count_;
   }

   void complete() {
      printSnapshot();
      print(context_.json ? R"({"complete":true})" : "# complete, changes follow");
   }
   void add(Row row) {
      if (live_) {
         print(row);
      } else {
         snapshot_.push_back(std::move(row));
      }
   }
   void printSnapshot() {
      if (live_ || context_.json) return;
      live_ = true;
      snapshot_.insert(snapshot_.begin(), {"POLICY", "CLASS", "RULE", "PACKETS", "BYTES", "ACTION"});
      for (const Row& row : snapshot_) {
         for (size_t i = 0; i < columns; ++i)
            widths_[i] = std::max(widths_[i], row[i].size());
      }
      for (const Row& row : snapshot_)
         print(row);
      snapshot_.clear();
      context_.out.flush();
   }
   void print(const Row& row) {
      std::string line;
      for (size_t i = 0; i < columns; ++i)
         line += fmt::format("{:<{}}  ", row[i], widths_[i]);
      line.erase(line.find_last_not_of(' ') + 1);
      print(line);
   }
   void print(std::string_view line) { context_.out << line << '\n'; }

   Context& context_;
   const uint64_t count_;
   uint64_t shown_ = 0;
   bool live_ = false;
   std::map<uint64_t, Name> names_;
   std::vector<Row> snapshot_;
   std::array<size_t, columns> widths_{};
};

int watchCounters(Context& context, uint64_t count) {
   Table table(context, count);
   const WatchRpc& watch = watchRpc("policy-counters");
   return runWatch(context, watch, rpc::PolicyMapCountersWatchRequest(),
                   [&table](const google::protobuf::Message& reply) {
                      return table.take(static_cast<const rpc::PolicyMapCountersWatchResponse&>(reply));
                   });
}

}  // namespace PolicyCounterCommands

void addPolicyCountersCommand(CLI::App& app, Context& context) {
   using namespace PolicyCounterCommands;
   auto* command = app.add_subcommand("policy-counters", "What the rules of policies have counted");
   command->require_subcommand(1);
   auto* watch = command->add_subcommand("watch", "All counters, and then their changes");
   watch->footer(kWatchFooter);
   auto count = std::make_shared<uint64_t>(0);
   addNumber(*watch, "-n,--count", *count, 1, UINT64_MAX, "End after this many entries");
   onChosen(context, *watch, [&context, count] { return watchCounters(context, *count); });
}

}  // namespace orvctl
