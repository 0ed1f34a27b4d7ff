#include "platform/process/Toggles.h"

#include <fmt/format.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "platform/zelt/Mutex.h"

namespace {

using Json = nlohmann::json;
using ToggleFile = std::map<std::string, bool, std::less<>>;
using ToggleFiles = std::map<std::string, ToggleFile, std::less<>>;

struct Toggles {
   Zelt::Mutex mutex;
   ToggleFiles files ZELT_GUARDED_BY(mutex);
};

Toggles& toggles() {
   static Toggles& all = *new Toggles;
   return all;
}

[[noreturn]] void refuse(const std::filesystem::path& path, std::string_view found) {
   throw std::runtime_error(
        fmt::format("toggle file '{}': {}, expected one JSON object of the form {{\"NAME\": true|false}}",
                    path.string(), found));
}

ToggleFile readFile(const std::filesystem::path& path) {
   std::error_code error;
   if (!std::filesystem::is_regular_file(path, error)) refuse(path, "is not a regular file");
   std::ifstream stream(path);
   if (!stream) refuse(path, "cannot be read");

   std::set<std::string> names;
   std::string repeated;
   const auto noteRepeated = [&](int depth, Json::parse_event_t event, Json& parsed) {
      if (depth == 1 && event == Json::parse_event_t::key) {
         const auto name = parsed.get<std::string>();
         if (!names.insert(name).second) repeated = name;
      }
      return true;
   };
   const Json content = Json::parse(stream, noteRepeated, false);
   if (content.is_discarded()) refuse(path, "is not JSON");
   if (!content.is_object()) refuse(path, fmt::format("holds JSON of type {}", content.type_name()));
   if (!repeated.empty()) refuse(path, fmt::format("names {} twice", Json(repeated).dump()));

   ToggleFile result;
   for (const auto& [name, value] : content.items()) {
      if (!value.is_boolean())
         refuse(path, fmt::format("gives {} the value {}", Json(name).dump(), value.dump()));
      result.emplace(name, value.get<bool>());
   }
   return result;
}

}  // namespace

bool getToggleState(std::string_view name, std::string_view file, bool def) {
   Toggles& all = toggles();
   Zelt::MutexAnchor guard(all.mutex);
   const auto inFile = all.files.find(file);
   if (inFile == all.files.end()) return def;
   const auto toggle = inFile->second.find(name);
   return toggle != inFile->second.end() ? toggle->second : def;
}

void toggleDirectoryIs(const std::filesystem::path& directory) {
   ToggleFiles read;
   std::error_code error;
   std::filesystem::directory_iterator entries(directory, error);
   for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
      const std::filesystem::path& path = entries->path();
      if (path.extension() == ".json") read.emplace(path.filename().string(), readFile(path));
   }
   if (error) {
      throw std::runtime_error(fmt::format("toggle directory '{}': {}, expected a directory that can be read",
                                           directory.string(), error.message()));
   }
   Toggles& all = toggles();
   Zelt::MutexAnchor guard(all.mutex);
   all.files = std::move(read);
}

void toggleDirectoryDel() {
   Toggles& all = toggles();
   Zelt::MutexAnchor guard(all.mutex);
   all.files.clear();
}
