#include "OrvSdkRpc/mirror/RegexShape.h"

#include <algorithm>
#include <vector>

namespace OrvSdkRpc {
namespace {

std::size_t bounded(std::size_t size) {
   return std::min(size, RegexShape::sizeMax);
}

// Walks over an expression (ECMAScript) as a matcher's scanner does.
class Walk {
public:
   explicit Walk(std::string_view expression) : expression_(expression), rest_(expression) {}

   RegexShape shape() {
      while (!rest_.empty())
         next();
      while (!groups_.empty())
         closeGroup();
      return {.size = bounded(size_ + last_), .lateLookAhead = lateLookAhead_};
   }

private:
   bool take(char c) {
      if (!rest_.starts_with(c)) return false;
      rest_.remove_prefix(1);
      return true;
   }

   void next() {
      const char c = rest_.front();
      rest_.remove_prefix(1);
      switch (c) {
         case '\\':
            escape();
            atom(1);
            break;
         case '[':
            bracket();
            atom(1);
            break;
         case '(':
            if (take('?') && !rest_.empty()) kindOfGroup();
            openGroup();
            break;
         case ')':
            if (!groups_.empty()) closeGroup();
            break;
         case '{':
            repeat();
            break;
         case '*':
         case '+':
         case '?':
            // Of what is repeated, which may be repeated once more.
            last_ = bounded(last_ + 1);
            break;
         default:
            atom(1);
      }
   }

   // Behind the question mark.
   void kindOfGroup() {
      const std::size_t at = expression_.size() - rest_.size() - 2;
      const bool atBeginning = at == 0 || (at == 1 && expression_.front() == '^');
      if ((rest_.front() == '=' || rest_.front() == '!') && !atBeginning) lateLookAhead_ = true;
      rest_.remove_prefix(1);
   }

   // Behind the backslash.
   void escape() {
      // A control character is named by the character that follows.
      if (take('c')) {
         if (!rest_.empty()) rest_.remove_prefix(1);
      } else if (!rest_.empty()) {
         rest_.remove_prefix(1);
      }
   }

   // Behind the opening bracket.
   void bracket() {
      while (!rest_.empty()) {
         const char c = rest_.front();
         rest_.remove_prefix(1);
         if (c == ']') return;
         if (c == '\\') {
            escape();
         } else if (c == '[' && !rest_.empty() && std::string_view(".:=").find(rest_.front()) != rest_.npos) {
            // The name of a class ends at the first such character.
            const char mark = rest_.front();
            rest_.remove_prefix(1);
            rest_.remove_prefix(std::min(rest_.find(mark), rest_.size()));
            take(mark);
            take(']');
         }
      }
   }

   // Behind the opening brace.
   void repeat() {
      std::size_t most = 1;
      std::size_t number = 0;
      for (bool inside = true; inside && !rest_.empty(); rest_.remove_prefix(1)) {
         const char c = rest_.front();
         if (c >= '0' && c <= '9') {
            number = bounded(10 * number + static_cast<std::size_t>(c - '0'));
            most = std::max(most, number);
         } else {
            number = 0;
            inside = c != '}';
         }
      }
      // One more, which a repetition without an end has.
      last_ = bounded(last_ * (most + 1));
   }

   // What a repetition behind it is of.
   void atom(std::size_t size) {
      size_ = bounded(size_ + last_);
      last_ = size;
   }
   void openGroup() {
      groups_.push_back(bounded(size_ + last_));
      size_ = 0;
      last_ = 0;
   }
   void closeGroup() {
      const std::size_t group = bounded(size_ + last_ + 1);
      size_ = groups_.back();
      groups_.pop_back();
      last_ = group;
   }

   const std::string_view expression_;
   std::string_view rest_;
   bool lateLookAhead_ = false;
   // In front of each group that is open.
   std::vector<std::size_t> groups_;
   // In the innermost group, without its last atom, and that one.
   std::size_t size_ = 0;
   std::size_t last_ = 0;
};

}  // namespace

RegexShape regexShape(std::string_view expression) {
   return Walk(expression).shape();
}

}  // namespace OrvSdkRpc
