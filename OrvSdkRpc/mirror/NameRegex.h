// A regular expression that a client gives to select names: ECMAScript, and the whole name must match.
//
// Thread-safety: never changes once it is made; any number of threads may match against it.
//
// Whatever the expression, making one takes tens of milliseconds and a megabyte of stack at most, a match
// takes time by the product of the two lengths, and both together keep at most memoryMax.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

class NameRegex {
public:
   // What is longer, larger, deeper or has more classes is refused before it is compiled (see
   // RegexTranslation.h): it would take too long.
   static constexpr std::size_t bytesMax = 4096;
   static constexpr std::size_t sizeMax = 8192;
   static constexpr std::size_t depthMax = 200;
   static constexpr std::size_t classesMax = 256;
   // Bytes that the compiled expression and what its matches keep take together.
   static constexpr std::size_t memoryMax = std::size_t{1} << 20;

   // The expression means what it means to std::regex in the classic locale. THROWS std::invalid_argument,
   // with std::regex_error's words, for an ill-formed expression, and with others for one that is too large,
   // repeats more than 1000 times, has a back-reference, or a look-ahead behind its beginning.
   explicit NameRegex(const std::string& expression);

   [[nodiscard]] bool matches(std::string_view name) const;

private:
   class Compiled;

   std::shared_ptr<const Compiled> compiled_;
};

}  // namespace OrvSdkRpc
