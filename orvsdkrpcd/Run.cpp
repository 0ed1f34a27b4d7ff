#include "orvsdkrpcd/Run.h"

#include <cstdio>
#include <exception>

#include "orvsdkrpcd/Daemon.h"
#include "orvsdkrpcd/UsageError.h"

namespace orvsdkrpcd {
namespace {

// One write per line, so that lines of several threads do not mix.
void logLine(std::string_view text) {
   std::string line = fmt::format("orvsdkrpcd: {}\n", text);
   std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

int run(const std::vector<std::string>& arguments) {
   try {
      std::string answer;
      const auto flags = readFlags(arguments, answer);
      if (!flags) {
         std::fwrite(answer.data(), 1, answer.size(), stdout);
         return kStopped;
      }
      const Settings settings = checkFlags(*flags);
      prepareFileLimit();
      return serve(settings, logLine);
   } catch (const UsageError& error) {
      logLine(error.what());
      return kUsage;
   } catch (const std::exception& error) {
      logLine(error.what());
      return kFailed;
   }
}

}  // namespace orvsdkrpcd
