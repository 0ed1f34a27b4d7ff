// The directory that holds a switch's state, locked for one process.
//
// Contents:
//    FORMAT     names the program and the version of the format
//    data.mdb   the tables
//    in-use     exists while the directory is open; records the machine's boot, how durable the commits are,
//               and the process. If it exists at the next opening, the last stop was unclean.
// The lock is a flock on the directory itself, so that a refused attempt writes nothing.
//
// After an unclean stop the tables are intact as long as the machine has not rebooted, because every commit
// reached the page cache. After a reboot they are trusted only if every commit was synced. Otherwise data.mdb
// is renamed and the switch starts empty.
//
// Thread-safety: none; used by the thread that starts and stops the switch.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace softswitch::store {

enum class Durability {
   process,  // commits survive the end of the process, however it ends
   sync,     // commits also survive a crash of the machine
};

using LogLine = std::function<void(std::string_view)>;

class StateDirectory {
public:
   static constexpr int formatVersion = 1;

   // Locks `directory`, creating it if it is missing, and sets aside tables that cannot be trusted. `bootId`
   // names the machine's current boot.
   // THROWS: StoreError (busy, foreign, newerFormat, damaged, noSpace, unusable); the contents are then
   // unchanged.
   StateDirectory(const std::filesystem::path& directory, std::string_view bootId, const LogLine& log);
   ~StateDirectory();
   StateDirectory(const StateDirectory&) = delete;
   StateDirectory& operator=(const StateDirectory&) = delete;

   // The kernel's id of the current boot.
   static std::string machineBootId();

   const std::filesystem::path& path() const { return path_; }
   std::filesystem::path dataFile() const;

   // True when the last stop was unclean and commits may be in the page cache only.
   bool mustSync() const { return mustSync_; }

   // Writes and syncs the in-use mark. Call it before the first write to the tables.
   void markInUse(Durability durability);

   // Removes the mark.
   // REQUIRES: everything is on disk.
   void markClean();

private:
   void lock();
   void checkFormat();
   void judgeLastStop(std::string_view bootId, const LogLine& log);
   void setAside(const LogLine& log);
   void writeFile(const char* name, std::string_view text);
   void syncDirectory();

   std::filesystem::path path_;
   std::string bootId_;
   int fd_ = -1;
   bool mustSync_ = false;
   bool wasEmpty_ = false;
};

}  // namespace softswitch::store
