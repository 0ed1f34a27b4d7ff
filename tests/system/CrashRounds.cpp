#include "CrashRounds.h"

#include <signal.h>

#include <chrono>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>

#include "testing/process/Console.h"
#include "testing/process/Controller.h"

namespace orvtest {

namespace {

constexpr std::uint64_t maxMicrosecondsToKill = 40'000;

std::string shown(const std::optional<std::string>& value) {
   return value ? *value : "nothing";
}

std::optional<std::string> valueAt(const Objects& objects, const std::string& key) {
   const auto at = objects.find(key);
   return at == objects.end() ? std::nullopt : std::optional<std::string>(at->second);
}

void setAt(Objects& objects, const std::string& key, const std::optional<std::string>& value) {
   if (value) {
      objects[key] = *value;
   } else {
      objects.erase(key);
   }
}

}  // namespace

CrashRounds::CrashRounds(const std::string& daemonProgram, std::uint64_t seed)
     : daemon_(daemonProgram, directory_.path()), random_(seed) {
   for (auto& kind : crashKinds())
      kinds_.push_back({.what = std::move(kind), .model = {}});
   setUp();
}

void CrashRounds::setUp() {
   daemon_.start();
   Controller(daemon_.address()).init();
   Rpcs rpcs(daemon_.address());
   for (auto& kind : kinds_) {
      if (kind.what.lasting == 0) continue;
      std::vector<std::uint64_t> indices(kind.what.lasting);
      std::iota(indices.begin(), indices.end(), 0);
      send(rpcs, kind, indices, false);
   }
}

std::string CrashRounds::round() {
   const auto delay = std::chrono::microseconds(draw(maxMicrosecondsToKill));
   const pid_t pid = daemon_.child().pid();
   Controller(daemon_.address()).init();
   Rpcs rpcs(daemon_.address());
   int acknowledged = 0;
   std::thread killer([pid, delay] {
      std::this_thread::sleep_for(delay);
      ::kill(pid, SIGKILL);
   });
   std::string failure;
   try {
      for (;; ++acknowledged)
         sendSome(rpcs, kinds_[draw(kinds_.size())]);
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

   const std::size_t inFlight = doubts_.size();
   const std::string broken = inDoubt_->what.name;
   std::size_t done = 0;
   std::size_t objects = 0;
   daemon_.start();
   Console console(daemon_.consolePath());
   for (auto& kind : kinds_) {
      const auto seen = kind.what.read(console);
      if (&kind == inDoubt_) done = settle(kind, seen);
      compare(kind, seen);
      objects += seen.size();
   }
   return "killed after " + std::to_string(delay.count()) + " us: " + std::to_string(acknowledged) +
          " bulks acknowledged and complete, " + std::to_string(done) + " of the " +
          std::to_string(inFlight) + " items in flight (" + broken + ") done, " + std::to_string(objects) +
          " objects";
}

void CrashRounds::sendSome(Rpcs& rpcs, Kind& kind) {
   std::set<std::uint64_t> indices;
   const auto count = 1 + draw(kind.what.itemsMax);
   while (indices.size() < count)
      indices.insert(draw(kind.what.count));
   send(rpcs, kind, {indices.begin(), indices.end()}, true);
}

void CrashRounds::send(Rpcs& rpcs, Kind& kind, const std::vector<std::uint64_t>& indices, bool mayRemove) {
   const auto removes = [&] { return mayRemove && draw(4) == 0; };
   const bool allRemoved = removes();
   std::vector<CrashItem> items;
   inDoubt_ = &kind;
   doubts_.clear();
   for (const auto index : indices) {
      const auto key = kind.what.key(index);
      const auto before = valueAt(kind.model, key);
      const bool removed = (kind.what.apart ? allRemoved : removes()) && index >= kind.what.lasting;
      CrashItem item{.index = index, .version = {}, .there = before.has_value()};
      std::optional<std::string> after;
      if (!removed) {
         item.version = ++version_;
         after = kind.what.value(index, version_);
      }
      items.push_back(item);
      doubts_.push_back({.key = key, .before = before, .after = after});
   }
   try {
      kind.what.send(rpcs, items);
   } catch (const CallBroke&) {
      throw;
   } catch (const std::runtime_error& error) {
      throw std::runtime_error(kind.what.name + ": " + error.what());
   }
   for (const auto& item : doubts_)
      setAt(kind.model, item.key, item.after);
   doubts_.clear();
}

// An item in flight was applied completely or not at all, and items are applied in order: those that were
// applied come before those that were not.
std::size_t CrashRounds::settle(Kind& kind, const Objects& seen) {
   std::size_t done = 0;
   bool stopped = false;
   for (const auto& item : doubts_) {
      const auto found = valueAt(seen, item.key);
      if (found != item.before && found != item.after) {
         throw std::runtime_error(kind.what.name + " " + item.key +
                                  (found ? " is half there: " : " is lost: ") + shown(found) + ", expected " +
                                  shown(item.before) + " or " + shown(item.after));
      }
      if (item.before != item.after) {
         const bool isDone = found == item.after;
         if (isDone && stopped) {
            throw std::runtime_error(kind.what.name + " " + item.key +
                                     " was done, an item in front of it was not");
         }
         stopped = !isDone;
         done += isDone;
      }
      setAt(kind.model, item.key, found);
   }
   doubts_.clear();
   return done;
}

void CrashRounds::compare(const Kind& kind, const Objects& seen) {
   for (const auto& [key, value] : kind.model) {
      const auto at = valueAt(seen, key);
      if (at != value) {
         throw std::runtime_error("acknowledged " + kind.what.name + " " + key + ": found " + shown(at) +
                                  ", expected " + shown(value));
      }
   }
   for (const auto& [key, value] : seen) {
      if (!kind.model.contains(key))
         throw std::runtime_error(kind.what.name + " " + key + " is there with " + value +
                                  ", expected nothing");
   }
}

std::uint64_t CrashRounds::draw(std::uint64_t below) {
   return random_() % below;
}

}  // namespace orvtest
