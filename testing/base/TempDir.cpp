#include "testing/base/TempDir.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace orvtest {

TempDir::TempDir(std::string_view prefix) {
   const char* base = std::getenv("TMPDIR");
   path_ = std::string(base && *base ? base : "/tmp") + "/" + std::string(prefix) + "XXXXXX";
   if (!::mkdtemp(path_.data())) throw std::system_error(errno, std::generic_category(), "mkdtemp " + path_);
}

TempDir::~TempDir() {
   if (keep_) return;
   std::error_code ignored;
   std::filesystem::remove_all(path_, ignored);
}

}  // namespace orvtest
