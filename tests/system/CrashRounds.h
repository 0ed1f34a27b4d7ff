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
   // The seed determines the bulks and the delays before the kills; where a kill strikes depends on the
   // machine.
   CrashRounds(const std::string& daemonProgram, std::uint64_t seed);

   // One kill and one comparison. RETURNS: a line that describes what happened.
   // THROWS: std::runtime_error with the first difference.
   std::string round();

   // Where the daemon's log and state are, for a look after a failure.
   const std::string& directory() const { return directory_.path(); }
   // Whether the directory is kept at the end.
   void keepDirectory(bool keep) { directory_.keepIs(keep); }

private:
   // The value of a key before and after an item that may or may not have been applied. An empty optional
   // means that the key does not exist.
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
   // Sends one bulk and applies it to the model once it is acknowledged. Otherwise records it as the bulk in
   // doubt and throws CallBroke.
   void send(Rpcs& rpcs, Kind& kind, const std::vector<std::uint64_t>& indices, bool mayRemove);
   void sendSome(Rpcs& rpcs, Kind& kind);
   // Applies to the model what was found of the bulk in doubt. RETURNS: how many of its items were applied.
   std::size_t settle(Kind& kind, const Objects& seen);
   static void compare(const Kind& kind, const Objects& seen);
   std::uint64_t draw(std::uint64_t below);

   TempDir directory_{"orv-crash-"};
   Daemon daemon_;
   std::mt19937_64 random_;
   std::uint32_t version_ = 0;
   std::vector<Kind> kinds_;
   // The kind of the bulk that was in flight when the process died.
   Kind* inDoubt_ = nullptr;
   std::vector<Doubt> doubts_;
};

}  // namespace orvtest
