#include "orvctl/commands/Programming.h"

namespace orvctl {

void forEachDeleted(Context& context, std::string_view command, std::string_view what,
                    const std::string& file, const std::vector<std::string>& arguments,
                    const std::function<void(const std::string&, std::string_view, size_t)>& add) {
   if (!file.empty()) {
      if (!arguments.empty())
         throw UsageError(fmt::format("--file is given with {}, expected one or the other", what));
      forEachLine(context, "--file", file, [&](std::string_view line, size_t number) {
         add(fmt::format("{} line {}", file, number), line, number);
      });
      return;
   }
   if (arguments.empty()) {
      throw UsageError(
           fmt::format("{0} is missing, expected '{1} {0}…' or '{1} --file FILE'", what, command));
   }
   for (size_t i = 0; i < arguments.size(); ++i)
      add(std::string(what), arguments[i], i + 1);
}

}  // namespace orvctl
