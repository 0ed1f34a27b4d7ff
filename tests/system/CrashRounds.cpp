#include "CrashRounds.h"

#include <signal.h>

#include <set>
#include <stdexcept>
#include <thread>

namespace systest {

namespace {

// Few enough for a fast restart and a fast comparison, more than one bulk holds.
constexpr std::uint64_t routeCount = 2000;
constexpr std::uint64_t baseGroupCount = 16;
constexpr std::uint64_t looseGroupCount = 200;
constexpr std::uint64_t maxRoutesPerBulk = 300;
constexpr std::uint64_t maxGroupsPerBulk = 80;
constexpr std::uint64_t maxMicrosecondsToKill = 40'000;

pb::ip_prefix_msg prefixOf(std::uint64_t index) {
   pb::ip_prefix_msg prefix;
   const char bytes[] = {10, static_cast<char>(index >> 8), static_cast<char>(index & 0xff), 0};
   prefix.mutable_network()->set_address(bytes, sizeof bytes);
   prefix.set_prefix_length(24);
   return prefix;
}

// One to four entries; each version differs from every other in each entry.
pb::nexthop_group_msg groupOf(const std::string& name, std::uint32_t version) {
   pb::nexthop_group_msg group;
   group.set_name(name);
   for (std::uint32_t slot = 0; slot <= version % 4; ++slot) {
      auto& nexthop = *group.add_nexthops();
      const auto port = static_cast<char>((version + slot) % 64 + 1);
      nexthop.set_intf("Ethernet" + std::to_string(port));
      const char bytes[] = {10, 1, port, 2};
      nexthop.mutable_address()->set_address(bytes, sizeof bytes);
      nexthop.set_mpls_operation(pb::MPLS_OPERATION_PUSH);
      nexthop.add_mpls_labels(16 + version % 1'000'000);
      nexthop.set_weight(1);
   }
   return group;
}

std::string shown(const std::string& value) {
   return value;
}
std::string shown(const GroupEntries& entries) {
   std::string text = std::to_string(entries.size()) + " entries";
   for (const auto& entry : entries)
      text += " [" + entry + "]";
   return text;
}
template <class Value>
std::string shown(const std::optional<Value>& value) {
   return value ? shown(*value) : std::string("nothing");
}

template <class Value>
std::optional<Value> valueAt(const std::map<std::string, Value>& map, const std::string& key) {
   const auto at = map.find(key);
   return at == map.end() ? std::nullopt : std::optional<Value>(at->second);
}

template <class Value>
void setAt(std::map<std::string, Value>& map, const std::string& key, const std::optional<Value>& value) {
   if (value) {
      map[key] = *value;
   } else {
      map.erase(key);
   }
}

// The statuses that a switch must answer: a delete of what is not there is not found, all else is done.
template <class Doubts>
void requireStatuses(const std::vector<pb::rpc_status_msg>& statuses, const Doubts& doubts) {
   if (statuses.size() != doubts.size()) {
      throw std::runtime_error(std::to_string(statuses.size()) + " statuses for " +
                               std::to_string(doubts.size()) + " items");
   }
   for (std::size_t i = 0; i < doubts.size(); ++i) {
      const bool absent = !doubts[i].before && !doubts[i].after;
      const auto expected = absent ? pb::RPC_STATUS_NOT_FOUND : pb::RPC_STATUS_OK;
      if (statuses[i].status() != expected) {
         throw std::runtime_error(doubts[i].key + ": answered " + statuses[i].ShortDebugString());
      }
   }
}

}  // namespace

CrashRounds::CrashRounds(const std::string& daemonProgram, std::uint64_t seed)
     : daemon_(daemonProgram, directory_.path()), random_(seed) {
   setUp();
}

void CrashRounds::setUp() {
   daemon_.start();
   Controller controller(daemon_.address());
   controller.init();
   pb::nexthop_group_bulk_msg bulk;
   for (std::uint64_t i = 0; i < baseGroupCount; ++i) {
      *bulk.add_bulk() = groupOf(baseGroup(i), ++version_);
      model_.groups[baseGroup(i)] = entriesOf(bulk.bulk().at(static_cast<int>(i)));
   }
   requireAllOk(controller.groups(bulk), baseGroupCount);
}

std::string CrashRounds::round() {
   const auto delay = std::chrono::microseconds(draw(maxMicrosecondsToKill));
   const pid_t pid = daemon_.child().pid();
   Controller controller(daemon_.address());
   controller.init();
   int acknowledged = 0;
   std::thread killer([pid, delay] {
      std::this_thread::sleep_for(delay);
      ::kill(pid, SIGKILL);
   });
   std::string failure;
   try {
      for (;; ++acknowledged) {
         if (draw(2) == 0) {
            sendRoutes(controller);
         } else {
            sendGroups(controller);
         }
      }
   } catch (const CallBroke&) {
   } catch (const std::exception& error) {
      failure = error.what();
   }
   killer.join();
   const auto ending = daemon_.child().wait();
   if (!failure.empty()) throw std::runtime_error(failure);
   if (ending.signal != SIGKILL) {
      throw std::runtime_error("the daemon ended by itself, " + to_string(ending) + "; its log:\n" +
                               daemon_.child().log());
   }

   const std::size_t inDoubt = routesInDoubt_.size() + groupsInDoubt_.size();
   daemon_.start();
   Console console(daemon_.consolePath());
   const auto seen = readSwitch(console);
   const auto done = settle(model_.routes, routesInDoubt_, seen.routes, "route") +
                     settle(model_.groups, groupsInDoubt_, seen.groups, "group");
   compare(seen);
   return "killed after " + std::to_string(delay.count()) + " us: " + std::to_string(acknowledged) +
          " bulks acknowledged and complete, " + std::to_string(done) + " of the " + std::to_string(inDoubt) +
          " items in flight done, " + std::to_string(seen.routes.size()) + " routes, " +
          std::to_string(seen.groups.size()) + " groups";
}

void CrashRounds::sendRoutes(Controller& controller) {
   pb::ip_route_bulk_msg bulk;
   std::set<std::uint64_t> named;
   const auto count = 1 + draw(maxRoutesPerBulk);
   while (named.size() < count)
      named.insert(draw(routeCount));
   routesInDoubt_.clear();
   for (const auto index : named) {
      auto& item = *bulk.add_bulk();
      *item.mutable_prefix() = prefixOf(index);
      const auto key = prefixText(item.prefix());
      std::optional<std::string> after;
      if (draw(4) != 0) {
         after = baseGroup(draw(baseGroupCount));
         item.set_nexthop_group_name(*after);
      }
      routesInDoubt_.push_back({.key = key, .before = valueAt(model_.routes, key), .after = after});
   }
   requireStatuses(controller.routes(bulk), routesInDoubt_);
   for (const auto& item : routesInDoubt_)
      setAt(model_.routes, item.key, item.after);
   routesInDoubt_.clear();
}

void CrashRounds::sendGroups(Controller& controller) {
   pb::nexthop_group_bulk_msg bulk;
   std::set<std::uint64_t> named;
   const auto count = 1 + draw(maxGroupsPerBulk);
   while (named.size() < count)
      named.insert(draw(baseGroupCount + looseGroupCount));
   groupsInDoubt_.clear();
   for (const auto index : named) {
      // The base groups stay, since routes point at them; the others come and go.
      const bool base = index < baseGroupCount;
      const auto name = base ? baseGroup(index) : "loose-" + std::to_string(index);
      auto& item = *bulk.add_bulk();
      std::optional<GroupEntries> after;
      if (base || draw(3) != 0) {
         item = groupOf(name, ++version_);
         after = entriesOf(item);
      } else {
         item.set_name(name);
         item.set_delete_(true);
      }
      groupsInDoubt_.push_back({.key = name, .before = valueAt(model_.groups, name), .after = after});
   }
   requireStatuses(controller.groups(bulk), groupsInDoubt_);
   for (const auto& item : groupsInDoubt_)
      setAt(model_.groups, item.key, item.after);
   groupsInDoubt_.clear();
}

// An item in flight was done as a whole or not at all, and items are done in order: those that were done
// stand in front of those that were not. Takes what was found into the model and returns how many were done.
template <class Value>
std::size_t CrashRounds::settle(std::map<std::string, Value>& model, std::vector<Doubt<Value>>& doubts,
                                const std::map<std::string, Value>& seen, const char* what) {
   std::size_t done = 0;
   bool stopped = false;
   for (const auto& item : doubts) {
      const auto found = valueAt(seen, item.key);
      if (found != item.before && found != item.after) {
         throw std::runtime_error(std::string(what) + " " + item.key +
                                  (found ? " is half there: " : " is lost: ") + shown(found) + ", expected " +
                                  shown(item.before) + " or " + shown(item.after));
      }
      if (item.before != item.after) {
         const bool isDone = found == item.after;
         if (isDone && stopped) {
            throw std::runtime_error(std::string(what) + " " + item.key +
                                     " was done, an item in front of it was not");
         }
         stopped = !isDone;
         done += isDone;
      }
      setAt(model, item.key, found);
   }
   doubts.clear();
   return done;
}

void CrashRounds::compare(const SwitchView& seen) {
   const auto compareMaps = [](const auto& expected, const auto& found, const char* what) {
      for (const auto& [key, value] : expected) {
         const auto at = valueAt(found, key);
         if (at != value) {
            throw std::runtime_error(std::string("acknowledged ") + what + " " + key + ": found " +
                                     shown(at) + ", expected " + shown(value));
         }
      }
      for (const auto& [key, value] : found) {
         if (!expected.contains(key)) {
            throw std::runtime_error(std::string(what) + " " + key + " is there with " + shown(value) +
                                     ", expected nothing");
         }
      }
   };
   compareMaps(model_.routes, seen.routes, "route");
   compareMaps(model_.groups, seen.groups, "group");
}

std::uint64_t CrashRounds::draw(std::uint64_t below) {
   return random_() % below;
}

std::string CrashRounds::baseGroup(std::uint64_t index) const {
   return "base-" + std::to_string(index);
}

}  // namespace systest
