// A regular expression that a client gives to select names: ECMAScript, and the whole name must match.
//
// Thread-safety: never changes once it is made; any number of threads may match against it.
#pragma once

#include <cstddef>
#include <regex>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

class NameRegex {
public:
   // Longer expressions are refused: compiling one takes stack by its length.
   static constexpr std::size_t bytesMax = 4096;

   // Throws std::regex_error for an ill-formed expression.
   explicit NameRegex(const std::string& expression);

   // In time polynomial in the two lengths, but for expressions with back-references.
   [[nodiscard]] bool matches(std::string_view name) const {
      return std::regex_match(name.begin(), name.end(), regex_);
   }

private:
   std::regex regex_;
};

}  // namespace OrvSdkRpc
