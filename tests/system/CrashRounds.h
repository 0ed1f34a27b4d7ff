// Kills a daemon at a random moment of a stream of bulks, restarts it on the same
// state directory and compares what it then holds with what it had acknowledged.
//
// Thread-safety: one thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Controller.h"
#include "Daemon.h"
#include "SwitchView.h"
#include "TempDir.h"

namespace systest {

class CrashRounds {
public:
   // The same seed sends the same bulks; the moments of the kills are drawn from
   // it too, but where they strike is up to the machine.
   CrashRounds(const std::string& daemonProgram, std::uint64_t seed);

   // One kill and one comparison. Throws std::runtime_error with the first
   // difference. Returns one line that tells what happened.
   std::string round();

   // Where the daemon's log and state are, for a look after a failure.
   const std::string& directory() const { return directory_.path(); }
   // Whether it stays there at the end.
   void keepDirectory(bool keep) { directory_.keepIs(keep); }

private:
   // What a key holds before and after an item that may or may not have been done.
   // An empty value stands for "not there".
   template <class Value>
   struct Doubt {
      std::string key;
      std::optional<Value> before;
      std::optional<Value> after;
   };

   void setUp();
   // Sends one bulk and takes it over into the model when it is acknowledged;
   // otherwise keeps it as the one in doubt and throws CallBroke.
   void sendRoutes(Controller& controller);
   void sendGroups(Controller& controller);
   void compare(const SwitchView& seen);
   template <class Value>
   std::size_t settle(std::map<std::string, Value>& model, std::vector<Doubt<Value>>& doubts,
                      const std::map<std::string, Value>& seen, const char* what);
   std::uint64_t draw(std::uint64_t below);
   std::string baseGroup(std::uint64_t index) const;

   TempDir directory_{"orv-crash-"};
   Daemon daemon_;
   std::mt19937_64 random_;
   std::uint32_t version_ = 0;
   // What has been acknowledged.
   SwitchView model_;
   // The bulk that was on its way when the process died; one of the two at most.
   std::vector<Doubt<std::string>> routesInDoubt_;
   std::vector<Doubt<GroupEntries>> groupsInDoubt_;
};

}  // namespace systest
