// A private directory that goes away with its owner.
//
// Thread-safety: none needed; the path never changes.
#pragma once

#include <string>
#include <string_view>

namespace systest {

class TempDir {
public:
   // Makes a fresh directory below $TMPDIR, or below /tmp. Throws std::system_error.
   explicit TempDir(std::string_view prefix = "orv-");
   // Removes the directory and everything in it, unless it is to be kept.
   ~TempDir();
   TempDir(const TempDir&) = delete;
   TempDir& operator=(const TempDir&) = delete;

   const std::string& path() const { return path_; }
   void keepIs(bool keep) { keep_ = keep; }
   std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

private:
   std::string path_;
   bool keep_ = false;
};

}  // namespace systest
