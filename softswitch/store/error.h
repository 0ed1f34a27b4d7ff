// The store's errors.
//
// Thread-safety: plain values.
#pragma once

#include <stdexcept>
#include <string>

namespace softswitch::store {

enum class Trouble {
   busy,         // another process uses the state directory
   damaged,      // its contents are inconsistent
   foreign,      // it does not belong to this program
   newerFormat,  // a newer release wrote it
   noSpace,      // the disk or the map has no room for the write
   tooLong,      // a key longer than the store takes
   unusable,     // any other failure of the operating system
};

// what() is one line that names the directory or the value. If opening throws, the directory is unchanged; if
// a write throws, the store is as before that write.
class StoreError : public std::runtime_error {
public:
   StoreError(Trouble trouble, const std::string& words) : std::runtime_error(words), trouble_(trouble) {}
   Trouble trouble() const { return trouble_; }

private:
   Trouble trouble_;
};

}  // namespace softswitch::store
