#include "OrvSdkRpc/mirror/RegexTranslation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "OrvSdkRpc/mirror/RegexClass.h"

namespace OrvSdkRpc {
namespace {

constexpr std::string_view beginOfText = "\\A";

std::size_t bounded(std::size_t size) {
   return std::min(size, RegexTranslation::sizeMax);
}

class Walk {
public:
   explicit Walk(std::string_view expression) : rest_(expression) {}

   RegexTranslation translation() {
      while (!rest_.empty())
         next();
      while (!groups_.empty())
         closeGroup();
      result_.size = bounded(size_ + last_.size);
      if (othersAt_) {
         result_.others = out_.substr(*othersAt_ + 1);
         out_.resize(*othersAt_);
      }
      result_.pattern = std::move(out_);
      return std::move(result_);
   }

private:
   // The size of a group, an alternative or a repetition.
   static constexpr std::size_t joint = 8;

   // How the last atom is repeated.
   enum class Form : std::uint8_t { nothingToRepeat, once, simple, counted };
   struct Last {
      Form form = Form::nothingToRepeat;
      std::size_t size = 0;
      // Where it begins in out_.
      std::size_t start = 0;
      // For a simple repetition.
      bool maybeNone = false;
      bool many = false;
   };
   struct Group {
      std::size_t start;
      // Size of what precedes the group in its enclosing group.
      std::size_t before;
      bool lookAhead;
   };

   void next() {
      const char c = takeFront(rest_);
      switch (c) {
         case '\\':
            escape();
            break;
         case '[':
            characters(re2Class(takeBrackets(rest_)));
            break;
         case '.':
            atom("[^\\n\\r]");
            break;
         case '^':
            assertion(beginOfText);
            break;
         case '$':
            assertion("\\z");
            break;
         case '|':
            alternative();
            break;
         case '(':
            openGroup();
            break;
         case ')':
            if (!groups_.empty()) closeGroup();
            break;
         case '*':
            repeat(true, true);
            break;
         case '+':
            repeat(false, true);
            break;
         case '?':
            repeat(true, false);
            break;
         case '{':
            repeatCounted();
            break;
         default:
            atom(re2Character(c));
      }
   }

   void escape() {
      const RegexEscape escape = takeEscape(rest_, false);
      switch (escape.kind) {
         case RegexEscape::Kind::characters:
            characters(re2Class(escapedClass(escape.value)));
            break;
         case RegexEscape::Kind::boundary:
            assertion("\\b");
            break;
         case RegexEscape::Kind::noBoundary:
            assertion("\\B");
            break;
         case RegexEscape::Kind::character:
         case RegexEscape::Kind::backReference:
            atom(re2Character(escape.value));
            break;
      }
   }

   void openGroup() {
      bool ahead = false;
      if (take(rest_, '?') && !rest_.empty()) {
         const char kind = takeFront(rest_);
         if (kind == '=' || kind == '!') {
            ahead = groups_.empty() && !result_.lookAhead && (out_.empty() || out_ == beginOfText);
            if (ahead) {
               result_.lookAhead = {.pattern = {}, .negative = kind == '!'};
            } else {
               result_.lateLookAhead = true;
            }
         }
      }
      groups_.push_back({.start = out_.size(), .before = bounded(size_ + last_.size), .lookAhead = ahead});
      result_.depth = std::max(result_.depth, groups_.size());
      out_ += "(?:";
      size_ = 0;
      last_ = {};
   }
   void closeGroup() {
      const Group group = groups_.back();
      groups_.pop_back();
      out_ += ')';
      last_ = {.form = Form::once, .size = bounded(size_ + last_.size + joint), .start = group.start};
      size_ = group.before;
      if (group.lookAhead) {
         result_.lookAhead->pattern = out_.substr(group.start);
         out_.resize(group.start);
         last_.form = Form::nothingToRepeat;
      }
   }

   void alternative() {
      if (groups_.empty() && result_.lookAhead && !othersAt_) othersAt_ = out_.size();
      out_ += '|';
      size_ = bounded(size_ + last_.size + joint);
      last_ = {};
   }

   void atom(std::string_view text) { add(Form::once, text); }
   void assertion(std::string_view text) { add(Form::nothingToRepeat, text); }
   void characters(std::string_view text) {
      ++result_.classes;
      atom(text);
   }
   void add(Form form, std::string_view text) {
      size_ = bounded(size_ + last_.size);
      last_ = {.form = form, .size = 1, .start = out_.size()};
      out_ += text;
   }

   void repeat(bool maybeNone, bool many) {
      if (!beginRepetition()) return;
      if (last_.form == Form::simple) {
         // RE2 accepts one of these signs per atom, and one is enough.
         maybeNone = maybeNone || last_.maybeNone;
         many = many || last_.many;
         out_.pop_back();
      } else if (last_.form == Form::counted) {
         wrapLast();
      }
      out_ += !many ? '?' : maybeNone ? '*' : '+';
      last_.form = Form::simple;
      last_.maybeNone = maybeNone;
      last_.many = many;
      last_.size = bounded(last_.size + joint);
   }

   // Reads from after the opening brace.
   void repeatCounted() {
      const std::size_t least = takeNumber();
      std::size_t most = least;
      std::string counts = fmt::format("{{{}}}", least);
      if (take(rest_, ',')) {
         if (rest_.starts_with('}')) {
            counts = fmt::format("{{{},}}", least);
         } else {
            most = takeNumber();
            counts = fmt::format("{{{},{}}}", least, most);
         }
      }
      take(rest_, '}');
      if (!beginRepetition()) return;
      if (last_.form != Form::once) wrapLast();
      out_ += counts;
      last_.form = Form::counted;
      // One more copy, for an unbounded repetition.
      last_.size = bounded(last_.size * (std::max<std::size_t>(most, 1) + 1) + joint);
   }
   std::size_t takeNumber() {
      std::size_t number = 0;
      while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9')
         number = bounded(10 * number + static_cast<std::size_t>(takeFront(rest_) - '0'));
      return number;
   }

   // RETURNS: false if there is nothing to repeat, which is ill-formed.
   bool beginRepetition() {
      // Lazy or greedy: the same whole texts match.
      take(rest_, '?');
      return last_.form != Form::nothingToRepeat;
   }
   void wrapLast() {
      out_.insert(last_.start, "(?:");
      out_ += ')';
   }

   std::string_view rest_;
   RegexTranslation result_;
   std::string out_;
   std::optional<std::size_t> othersAt_;
   std::vector<Group> groups_;
   // The size of the innermost group without its last atom, and that atom.
   std::size_t size_ = 0;
   Last last_;
};

}  // namespace

RegexTranslation translateRegex(std::string_view expression) {
   return Walk(expression).translation();
}

}  // namespace OrvSdkRpc
