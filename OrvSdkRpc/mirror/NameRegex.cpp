#include "OrvSdkRpc/mirror/NameRegex.h"

namespace OrvSdkRpc {
namespace {

std::regex compile(const std::string& expression) {
   if (expression.size() > NameRegex::bytesMax) {
      throw std::regex_error(std::regex_constants::error_complexity);
   }
#ifdef __GLIBCXX__
   try {
      // By default (a|a)*b takes time exponential in the name, with the SDK's lock held.
      return std::regex(expression, std::regex::ECMAScript | std::regex_constants::__polynomial);
   } catch (const std::regex_error& e) {
      // Thrown for a back-reference, which only the default knows.
      if (e.code() != std::regex_constants::error_complexity) throw;
   }
#endif
   return std::regex(expression);
}

}  // namespace

NameRegex::NameRegex(const std::string& expression) : regex_(compile(expression)) {}

}  // namespace OrvSdkRpc
