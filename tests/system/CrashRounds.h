// Kills a daemon at a random moment of a stream of bulks of all kinds, restarts it on
// the same state directory and compares what it then holds with what it had
// acknowledged.
//
// Thread-safety: one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "CrashKinds.h"
#include "testing/base/TempDir.h"
#include "testing/process/Daemon.h"

namespace orvtest {

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
   struct Doubt {
      std::string key;
      std::optional<std::string> before;
      std::optional<std::string> after;
   };
   struct Kind {
      CrashKind what;
      // What has been acknowledged.
      Objects model;
   };

   void setUp();
   // Sends one bulk and takes it over into the model when it is acknowledged;
   // otherwise keeps it as the one in doubt and throws CallBroke.
   void send(Rpcs& rpcs, Kind& kind, const std::vector<std::uint64_t>& indices, bool mayRemove);
   void sendSome(Rpcs& rpcs, Kind& kind);
   // Takes what was found of the bulk in doubt into the model; how many of its items were done.
   std::size_t settle(Kind& kind, const Objects& seen);
   static void compare(const Kind& kind, const Objects& seen);
   std::uint64_t draw(std::uint64_t below);

   TempDir directory_{"orv-crash-"};
   Daemon daemon_;
   std::mt19937_64 random_;
   std::uint32_t version_ = 0;
   std::vector<Kind> kinds_;
   // The bulk that was on its way when the process died, of one kind.
   Kind* inDoubt_ = nullptr;
   std::vector<Doubt> doubts_;
};

}  // namespace orvtest
