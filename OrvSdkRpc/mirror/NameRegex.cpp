#include "OrvSdkRpc/mirror/NameRegex.h"

#include <fmt/format.h>

#include <regex>
#include <stdexcept>

#include "OrvSdkRpc/mirror/RegexSize.h"

namespace OrvSdkRpc {
namespace {

// A look-ahead at the beginning is tried once for a match, any other at each place of the name and for each
// way to get there.
bool hasLateLookAhead(const std::string& expression) {
   const std::size_t first = expression.starts_with('^') ? 2 : 1;
   return expression.find("(?=", first) != std::string::npos ||
          expression.find("(?!", first) != std::string::npos;
}

std::regex compile(const std::string& expression) {
   if (expression.size() > NameRegex::bytesMax) {
      throw std::invalid_argument(fmt::format("regular expression of {} bytes, expected at most {}",
                                              expression.size(), NameRegex::bytesMax));
   }
   if (regexSize(expression) > NameRegex::sizeMax) {
      throw std::invalid_argument(
           fmt::format("regular expression of more than {} characters with its repetitions written out",
                       NameRegex::sizeMax));
   }
   if (hasLateLookAhead(expression)) {
      throw std::invalid_argument("regular expression with a look-ahead behind its beginning");
   }
   try {
      // The other way of matching takes exponential time, and stack without a bound.
      return std::regex(expression, std::regex::nosubs | std::regex_constants::__polynomial);
   } catch (const std::regex_error& e) {
      if (e.code() == std::regex_constants::error_complexity) {
         throw std::invalid_argument("regular expression with a back-reference");
      }
      throw;
   }
}

}  // namespace

class NameRegex::Compiled {
public:
   explicit Compiled(const std::string& expression) : regex_(compile(expression)) {}

   [[nodiscard]] bool matches(std::string_view name) const {
      return std::regex_match(name.begin(), name.end(), regex_);
   }

private:
   std::regex regex_;
};

NameRegex::NameRegex(const std::string& expression)
     : compiled_(std::make_shared<const Compiled>(expression)) {}

bool NameRegex::matches(std::string_view name) const {
   return compiled_->matches(name);
}

}  // namespace OrvSdkRpc
