// What the store cannot do, in words.
//
// Thread-safety: values.
#pragma once

#include <stdexcept>
#include <string>

namespace softswitch::store {

enum class Trouble {
   busy,         // another process has the state directory
   damaged,      // its contents do not hold together
   foreign,      // it holds something else
   newerFormat,  // it was written by a newer release
   noSpace,      // the disk or the map has no room for the write
   tooLong,      // a key longer than the store takes
   unusable,     // anything the operating system refused
};

// what() is one line that names the directory or the value. A StoreError from opening leaves the
// directory as it was; one from a write leaves the store as it was before that write.
class StoreError : public std::runtime_error {
public:
   StoreError(Trouble trouble, const std::string& words) : std::runtime_error(words), trouble_(trouble) {}
   Trouble trouble() const { return trouble_; }

private:
   Trouble trouble_;
};

}  // namespace softswitch::store
