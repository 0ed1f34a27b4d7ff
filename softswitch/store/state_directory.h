// The directory that holds a switch's state, locked for one process.
//
// Contents:
//    FORMAT     which program's it is and the version of the format
//    data.mdb   the tables
//    in-use     there while the directory is open: the boot of the machine that it was opened in, and
//               how durable its commits are. Found there at the next opening, it tells that the last
//               stop was not a clean one.
// The lock is a flock on the directory itself, so that looking at a busy directory writes nothing.
//
// After an unclean stop the tables are still whole as long as the machine has not been booted anew:
// every commit reached the page cache. Once it has, they are trusted only if every commit was synced;
// otherwise data.mdb is set aside under a new name and the switch starts empty.
//
// Thread-safety: not thread-safe; used by the thread that starts and stops the switch.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace softswitch::store {

enum class Durability {
   process,  // what was committed survives the end of the process, however it ends
   sync,     // and the end of the machine
};

using LogLine = std::function<void(std::string_view)>;

class StateDirectory {
public:
   static constexpr int formatVersion = 1;

   // Locks `directory`, creating it when it is missing, and sets aside tables that cannot be trusted.
   // `bootId` names the present boot of the machine. Throws StoreError (busy, foreign, newerFormat,
   // damaged, unusable) and has then changed nothing.
   StateDirectory(const std::filesystem::path& directory, std::string_view bootId, const LogLine& log);
   ~StateDirectory();
   StateDirectory(const StateDirectory&) = delete;
   StateDirectory& operator=(const StateDirectory&) = delete;

   // The kernel's id of the present boot.
   static std::string machineBootId();

   const std::filesystem::path& path() const { return path_; }
   std::filesystem::path dataFile() const;

   // True when the last stop was unclean and commits may be in the page cache only.
   bool mustSync() const { return mustSync_; }

   // Writes and syncs the in-use mark. Call it before the first write to the tables.
   void markInUse(Durability durability);

   // Removes the mark, once everything is on the disk.
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
