#include "OrvSdkRpc/mirror/NameRegex.h"

#include <fmt/format.h>
#include <re2/re2.h>

#include <locale>
#include <optional>
#include <regex>
#include <stdexcept>

#include "OrvSdkRpc/mirror/RegexTranslation.h"

namespace OrvSdkRpc {
namespace {

void checkBound(std::size_t size, std::size_t most, std::string_view of) {
   if (size <= most) return;
   throw std::invalid_argument(
        fmt::format("regular expression of {} {}, expected at most {}", size, of, most));
}

// std::regex checks the syntax, because clients see its error texts.
void checkSyntax(const std::string& expression) {
   try {
      std::regex regex;
      regex.imbue(std::locale::classic());
      regex.assign(expression, std::regex::nosubs | std::regex_constants::__polynomial);
   } catch (const std::regex_error& e) {
      const bool backReference = e.code() == std::regex_constants::error_complexity;
      throw std::invalid_argument(backReference ? "regular expression with a back-reference" : e.what());
   }
}

RegexTranslation checked(const std::string& expression) {
   checkBound(expression.size(), NameRegex::bytesMax, "bytes");
   RegexTranslation translation = translateRegex(expression);
   if (translation.size > NameRegex::sizeMax) {
      throw std::invalid_argument(
           fmt::format("regular expression of more than {} characters with its repetitions expanded",
                       NameRegex::sizeMax));
   }
   checkBound(translation.depth, NameRegex::depthMax, "nested groups");
   checkBound(translation.classes, NameRegex::classesMax, "classes");
   checkSyntax(expression);
   if (translation.lateLookAhead) {
      throw std::invalid_argument("regular expression with a look-ahead after its beginning");
   }
   return translation;
}

RE2::Options options(std::size_t memory) {
   RE2::Options options;
   // Match bytes, as std::regex<char> does.
   options.set_encoding(RE2::Options::EncodingLatin1);
   options.set_max_mem(static_cast<std::int64_t>(memory));
   options.set_never_capture(true);
   options.set_log_errors(false);
   return options;
}

void checkCompiled(const RE2& regex) {
   switch (regex.error_code()) {
      case RE2::NoError:
         return;
      case RE2::ErrorRepeatSize:
         throw std::invalid_argument("regular expression that repeats something more than 1000 times");
      case RE2::ErrorPatternTooLarge:
         throw std::invalid_argument("regular expression that takes too much memory");
      default:
         throw std::invalid_argument(
              fmt::format("regular expression that is not supported: {}", regex.error()));
   }
}

bool match(const RE2& regex, std::string_view text, RE2::Anchor anchor) {
   return regex.Match({text.data(), text.size()}, 0, text.size(), anchor, nullptr, 0);
}

}  // namespace

class NameRegex::Compiled {
public:
   explicit Compiled(const std::string& expression) : Compiled(checked(expression)) {}

   [[nodiscard]] bool matches(std::string_view name) const {
      if (lookAhead_ && match(*lookAhead_, name, RE2::ANCHOR_START) == negative_) {
         return others_ && match(*others_, name, RE2::ANCHOR_BOTH);
      }
      return match(regex_, name, RE2::ANCHOR_BOTH) || (others_ && match(*others_, name, RE2::ANCHOR_BOTH));
   }

private:
   explicit Compiled(const RegexTranslation& translation)
        : Compiled(translation, options(memoryMax / (1 + translation.lookAhead.has_value() +
                                                     translation.others.has_value()))) {}
   Compiled(const RegexTranslation& translation, const RE2::Options& options)
        : regex_(translation.pattern, options) {
      checkCompiled(regex_);
      if (translation.lookAhead) {
         checkCompiled(lookAhead_.emplace(translation.lookAhead->pattern, options));
         negative_ = translation.lookAhead->negative;
      }
      if (translation.others) checkCompiled(others_.emplace(*translation.others, options));
   }

   RE2 regex_;
   std::optional<RE2> lookAhead_;
   bool negative_ = false;
   std::optional<RE2> others_;
};

NameRegex::NameRegex(const std::string& expression)
     : compiled_(std::make_shared<const Compiled>(expression)) {}

bool NameRegex::matches(std::string_view name) const {
   return compiled_->matches(name);
}

}  // namespace OrvSdkRpc
