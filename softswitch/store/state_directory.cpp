#include "softswitch/store/state_directory.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>

#include "softswitch/store/error.h"

namespace softswitch::store {
namespace {

namespace fs = std::filesystem;

constexpr const char* formatFile = "FORMAT";
constexpr const char* dataFileName = "data.mdb";
constexpr const char* inUseFile = "in-use";
constexpr std::string_view formatHead = "orvsdkrpc software switch state, format ";

std::string errnoText() {
   return std::strerror(errno);
}

std::optional<std::string> readSmall(const fs::path& file) {
   std::ifstream in(file, std::ios::binary);
   if (!in) return std::nullopt;
   std::string text(4096, '\0');
   in.read(text.data(), static_cast<std::streamsize>(text.size()));
   text.resize(static_cast<std::size_t>(in.gcount()));
   return text;
}

// The rest of the first line of `text` that begins with `key` and a space.
std::string lineOf(std::string_view text, std::string_view key) {
   std::istringstream in{std::string(text)};
   for (std::string line; std::getline(in, line);) {
      if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == ' ')
         return line.substr(key.size() + 1);
   }
   return {};
}

}  // namespace

StateDirectory::StateDirectory(const fs::path& directory, std::string_view bootId, const LogLine& log)
     : path_(directory), bootId_(bootId) {
   try {
      lock();
      checkFormat();
      judgeLastStop(bootId, log);
      if (wasEmpty_) writeFile(formatFile, fmt::format("{}{}\n", formatHead, formatVersion));
   } catch (...) {
      if (fd_ >= 0) ::close(fd_);
      throw;
   }
}

StateDirectory::~StateDirectory() {
   ::close(fd_);
}

std::string StateDirectory::machineBootId() {
   auto text = readSmall("/proc/sys/kernel/random/boot_id").value_or("unknown");
   while (!text.empty() && text.back() == '\n')
      text.pop_back();
   return text;
}

fs::path StateDirectory::dataFile() const {
   return path_ / dataFileName;
}

void StateDirectory::lock() {
   std::error_code ec;
   const auto status = fs::status(path_, ec);
   if (fs::exists(status) && !fs::is_directory(status))
      throw StoreError(Trouble::unusable,
                       fmt::format("state directory '{}' is not a directory", path_.string()));
   if (!fs::exists(status)) {
      fs::create_directories(path_, ec);
      if (ec) {
         throw StoreError(Trouble::unusable, fmt::format("state directory '{}' cannot be created: {}",
                                                         path_.string(), ec.message()));
      }
   }
   fd_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
   if (fd_ < 0) {
      throw StoreError(Trouble::unusable,
                       fmt::format("state directory '{}' cannot be opened: {}", path_.string(), errnoText()));
   }
   if (::flock(fd_, LOCK_EX | LOCK_NB) == 0) return;
   if (errno == EWOULDBLOCK) {
      const auto owner = lineOf(readSmall(path_ / inUseFile).value_or(""), "pid");
      throw StoreError(Trouble::busy,
                       fmt::format("state directory '{}' is in use by {}", path_.string(),
                                   owner.empty() ? "another process" : fmt::format("process {}", owner)));
   }
   throw StoreError(Trouble::unusable,
                    fmt::format("state directory '{}' cannot be locked: {}", path_.string(), errnoText()));
}

void StateDirectory::checkFormat() {
   const auto text = readSmall(path_ / formatFile);
   if (!text) {
      // A start that was killed before FORMAT was complete leaves only the unfinished file.
      std::error_code ec;
      for (const auto& entry : fs::directory_iterator(path_, ec)) {
         const auto name = entry.path().filename().string();
         if (name == "lost+found" || name == fmt::format("{}.new", formatFile)) continue;
         throw StoreError(Trouble::foreign,
                          fmt::format("state directory '{}' holds '{}' but no {} file: it is not a state "
                                      "directory of this program",
                                      path_.string(), name, formatFile));
      }
      if (ec) {
         throw StoreError(Trouble::unusable, fmt::format("state directory '{}' cannot be read: {}",
                                                         path_.string(), ec.message()));
      }
      wasEmpty_ = true;
      return;
   }
   if (!text->starts_with(formatHead)) {
      throw StoreError(Trouble::foreign,
                       fmt::format("state directory '{}': its {} file is not one of this program's",
                                   path_.string(), formatFile));
   }
   int version = 0;
   const auto* begin = text->data() + formatHead.size();
   const auto* end = text->data() + text->size();
   const auto [stop, error] = std::from_chars(begin, end, version);
   if (error != std::errc{} || version < 1 || stop == end || *stop != '\n') {
      throw StoreError(Trouble::damaged, fmt::format("state directory '{}' is damaged: its {} file names no "
                                                     "version",
                                                     path_.string(), formatFile));
   }
   if (version > formatVersion) {
      throw StoreError(Trouble::newerFormat,
                       fmt::format("state directory '{}' has format {}, written by a newer release; this one "
                                   "reads formats up to {}",
                                   path_.string(), version, formatVersion));
   }
}

void StateDirectory::judgeLastStop(std::string_view bootId, const LogLine& log) {
   const auto mark = readSmall(path_ / inUseFile);
   if (!mark) return;
   mustSync_ = true;
   if (lineOf(*mark, "boot") == bootId || lineOf(*mark, "durability") == "sync") return;
   setAside(log);
}

void StateDirectory::setAside(const LogLine& log) {
   std::error_code ec;
   if (!fs::exists(dataFile(), ec)) return;
   const auto now = std::chrono::system_clock::now().time_since_epoch();
   const auto stamp = std::chrono::duration_cast<std::chrono::seconds>(now).count();
   auto target = path_ / fmt::format("{}.unclean-{}", dataFileName, stamp);
   for (int n = 1; fs::exists(target, ec); ++n)
      target = path_ / fmt::format("{}.unclean-{}.{}", dataFileName, stamp, n);
   fs::rename(dataFile(), target, ec);
   if (ec) {
      throw StoreError(Trouble::unusable,
                       fmt::format("'{}' cannot be set aside: {}", dataFile().string(), ec.message()));
   }
   if (log) {
      log(
           fmt::format("state directory '{}' was left unclean by an earlier boot of this machine: its tables "
                       "are set aside as '{}' and the switch starts empty",
                       path_.string(), target.filename().string()));
   }
}

void StateDirectory::markInUse(Durability durability) {
   writeFile(inUseFile, fmt::format("boot {}\ndurability {}\npid {}\n", bootId_,
                                    durability == Durability::sync ? "sync" : "process", ::getpid()));
}

void StateDirectory::markClean() {
   if (::unlinkat(fd_, inUseFile, 0) != 0 && errno != ENOENT) {
      throw StoreError(Trouble::unusable,
                       fmt::format("'{}' cannot be removed: {}", (path_ / inUseFile).string(), errnoText()));
   }
   syncDirectory();
}

// Atomic: writes and syncs a temporary file, then renames it.
void StateDirectory::writeFile(const char* name, std::string_view text) {
   const auto fresh = fmt::format("{}.new", name);
   const int fd = ::openat(fd_, fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
   bool written = fd >= 0 && ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
   written = written && ::fsync(fd) == 0;
   int error = errno;
   if (fd >= 0) ::close(fd);
   if (written) {
      written = ::renameat(fd_, fresh.c_str(), fd_, name) == 0;
      error = errno;
   }
   if (!written) {
      ::unlinkat(fd_, fresh.c_str(), 0);
      throw StoreError(
           error == ENOSPC || error == EDQUOT ? Trouble::noSpace : Trouble::unusable,
           fmt::format("'{}' cannot be written: {}", (path_ / name).string(), std::strerror(error)));
   }
   syncDirectory();
}

void StateDirectory::syncDirectory() {
   if (::fsync(fd_) != 0) {
      throw StoreError(Trouble::unusable,
                       fmt::format("state directory '{}' cannot be synced: {}", path_.string(), errnoText()));
   }
}

}  // namespace softswitch::store
