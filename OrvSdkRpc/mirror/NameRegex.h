// A client's regular expression (ECMAScript) that selects names. It must match the whole name.
//
// Thread-safety: immutable. Any number of threads may match at the same time.
//
// These bounds hold for any expression. Construction takes at most tens of milliseconds and a megabyte of
// stack. The time of a match is proportional to the product of the two lengths. Both together retain at most
// memoryMax bytes.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace OrvSdkRpc {

class NameRegex {
public:
   // Limits on length, size, depth and number of classes (see RegexTranslation.h). Beyond them an expression
   // is rejected before compilation, which would take too long.
   static constexpr std::size_t bytesMax = 4096;
   static constexpr std::size_t sizeMax = 8192;
   static constexpr std::size_t depthMax = 200;
   static constexpr std::size_t classesMax = 256;
   // Bytes for the compiled expression and the state that its matches retain.
   static constexpr std::size_t memoryMax = std::size_t{1} << 20;

   // The expression has its std::regex meaning in the classic locale.
   // THROWS: std::invalid_argument, with std::regex_error's text if the expression is ill-formed, and with
   // other texts if it is too large, repeats something more than 1000 times, or has a back-reference or a
   // look-ahead after its beginning.
   explicit NameRegex(const std::string& expression);

   [[nodiscard]] bool matches(std::string_view name) const;

private:
   class Compiled;

   std::shared_ptr<const Compiled> compiled_;
};

}  // namespace OrvSdkRpc
