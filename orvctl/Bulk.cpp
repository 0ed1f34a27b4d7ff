#include "orvctl/Bulk.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

namespace orvctl {
namespace {

// A replay in which everything fails should not flood the screen; --json prints every failure.
constexpr size_t kFailuresShown = 20;

}  // namespace

int reportBulk(Context& context, const BulkResult& result) {
   const size_t failed = result.failures.size();
   if (context.json) {
      nlohmann::ordered_json tree{
           {"items", result.sent}, {"ok", result.sent - failed}, {"seconds", result.seconds}};
      auto& list = tree["failed"] = nlohmann::ordered_json::array();
      for (const auto& failure : result.failures) {
         list.push_back({{"line", failure.line},
                         {"item", failure.item},
                         {"status", OrvSdkRpc::pb::rpc_status_value_enum_Name(failure.status.status())},
                         {"debug_string", failure.status.debug_string()}});
      }
      context.out << tree.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
      return failed ? kRefused : kOk;
   }
   for (size_t i = 0; i < std::min(failed, kFailuresShown); ++i) {
      const auto& failure = result.failures[i];
      context.err << fmt::format("line {}: {}: {}\n", failure.line, failure.item, statusText(failure.status));
   }
   if (failed > kFailuresShown)
      context.err << fmt::format("… and {} more failures\n", failed - kFailuresShown);
   context.out << fmt::format("{} items: {} ok, {} failed, {:.3f} s", result.sent, result.sent - failed,
                              failed, result.seconds);
   if (result.seconds > 0)
      context.out << fmt::format(", {:.0f}/s", static_cast<double>(result.sent) / result.seconds);
   context.out << '\n';
   return failed ? kRefused : kOk;
}

void forEachLine(Context& context, std::string_view what, const std::string& file,
                 const std::function<void(std::string_view line, size_t number)>& each) {
   std::ifstream opened;
   if (file != "-") {
      opened.open(file);
      if (!opened) {
         throw UsageError(fmt::format("{} is '{}', expected a readable file or '-': {}", what, file,
                                      std::strerror(errno)));
      }
   }
   std::istream& source = file == "-" ? context.in : opened;
   std::string line;
   for (size_t number = 1; std::getline(source, line); ++number) {
      std::string_view text = line;
      const size_t first = text.find_first_not_of(" \t\r");
      if (first == std::string_view::npos || text[first] == '#') continue;
      text = text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
      each(text, number);
   }
   if (source.bad())
      throw UsageError(
           fmt::format("{} is '{}', expected a readable file: {}", what, file, std::strerror(errno)));
}

}  // namespace orvctl
