// A line of words for the parts that an object has: "10.0.0.1 Ethernet1 weight 2".
// Thread-safety: one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "orvctl/Values.h"

namespace orvctl {

class WordLine {
public:
   // Each appends nothing for an empty value, or for zero.
   void word(std::string_view value) {
      if (value.empty()) return;
      if (!text_.empty()) text_ += ' ';
      text_ += value;
   }
   void word(std::string_view name, std::string_view value) {
      if (value.empty()) return;
      word(name);
      word(value);
   }
   void number(std::string_view name, uint64_t value) {
      if (value != 0) word(name, std::to_string(value));
   }
   // An address of the mirror services; its name may be empty.
   void address(std::string_view name, std::string_view bytes) {
      word(name, wireAddressText(bytes).value_or("(no address)"));
   }

   const std::string& text() const { return text_; }

private:
   std::string text_;
};

}  // namespace orvctl
