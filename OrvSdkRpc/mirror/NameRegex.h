// A regular expression that a client gives to select names: ECMAScript, and the whole name must match.
//
// Thread-safety: never changes once it is made; any number of threads may match against it.
//
// Whatever the expression, a match takes little stack, and time by the product of the two lengths.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

class NameRegex {
public:
   // Longer expressions are refused: compiling one takes stack by its length.
   static constexpr std::size_t bytesMax = 4096;
   // Its size with its counted repetitions written out (RegexShape.h).
   static constexpr std::size_t sizeMax = 512;

   // Throws std::invalid_argument for an ill-formed expression, with std::regex_error's words, and for one
   // that is too large, has a back-reference, or a look-ahead behind its beginning.
   explicit NameRegex(const std::string& expression);

   [[nodiscard]] bool matches(std::string_view name) const;

private:
   class Compiled;

   std::shared_ptr<const Compiled> compiled_;
};

}  // namespace OrvSdkRpc
