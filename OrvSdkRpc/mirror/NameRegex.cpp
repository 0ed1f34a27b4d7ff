#include "OrvSdkRpc/mirror/NameRegex.h"

#include <fmt/format.h>

#include <regex>
#include <stdexcept>

#include "OrvSdkRpc/mirror/RegexShape.h"

namespace OrvSdkRpc {
namespace {

std::regex compile(const std::string& expression) {
   if (expression.size() > NameRegex::bytesMax) {
      throw std::invalid_argument(fmt::format("regular expression of {} bytes, expected at most {}",
                                              expression.size(), NameRegex::bytesMax));
   }
   const RegexShape shape = regexShape(expression);
   if (shape.size > NameRegex::sizeMax) {
      throw std::invalid_argument(
           fmt::format("regular expression of more than {} characters with its repetitions written out",
                       NameRegex::sizeMax));
   }
   if (shape.lateLookAhead) {
      throw std::invalid_argument("regular expression with a look-ahead behind its beginning");
   }
   try {
      // The other way of matching takes exponential time, and stack without a bound.
      return std::regex(expression, std::regex::nosubs | std::regex_constants::__polynomial);
   } catch (const std::regex_error& e) {
      const bool backReference = e.code() == std::regex_constants::error_complexity;
      throw std::invalid_argument(backReference ? "regular expression with a back-reference" : e.what());
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
