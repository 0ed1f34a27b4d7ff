// A directory that is removed with its owner.
//
// Thread-safety: the path never changes; keepIs belongs to the owner's thread.
#pragma once

#include <string>
#include <string_view>

namespace orvtest {

class TempDir {
public:
   // Makes a new directory below $TMPDIR, or below /tmp. THROWS: std::system_error.
   explicit TempDir(std::string_view prefix = "orv-");
   // Removes the directory and everything in it, unless keepIs(true) was called.
   ~TempDir();
   TempDir(const TempDir&) = delete;
   TempDir& operator=(const TempDir&) = delete;

   [[nodiscard]] const std::string& path() const { return path_; }
   // The path of `name` in this directory; the file need not exist.
   [[nodiscard]] std::string operator/(std::string_view name) const {
      return path_ + "/" + std::string(name);
   }
   // gRPC's address of a unix socket in this directory.
   [[nodiscard]] std::string unixAddress(std::string_view name) const { return "unix://" + (*this / name); }
   void keepIs(bool keep) { keep_ = keep; }

private:
   std::string path_;
   bool keep_ = false;
};

}  // namespace orvtest
