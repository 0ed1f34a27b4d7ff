// Text forms of records, for to_string of the value types.
//
// Thread-safety: pure functions.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include "orv/value.h"

namespace orv::detail {

inline std::string text_of(bool v) {
   return v ? "true" : "false";
}

template <typename T>
std::string text_of(const T& v) {
   if constexpr (std::is_integral_v<T>) {
      return std::to_string(v);
   } else if constexpr (std::is_floating_point_v<T>) {
      return fmt::format("{}", v);
   } else if constexpr (std::is_enum_v<T>) {
      return to_string(v);
   } else if constexpr (requires { v.to_string(); }) {
      return v.to_string();
   } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
      return fmt::format("'{}'", std::string_view(v));
   } else if constexpr (requires {
                           v.first;
                           v.second;
                        }) {
      return fmt::format("{}: {}", text_of(v.first), text_of(v.second));
   } else if constexpr (requires { typename T::hasher; }) {
      std::vector<std::string> texts;
      for (const auto& item : v)
         texts.push_back(text_of(item));
      std::sort(texts.begin(), texts.end());
      return fmt::format("[{}]", fmt::join(texts, ", "));
   } else {
      std::string out = "[";
      for (const auto& item : v) {
         if (out.size() > 1) out += ", ";
         out += text_of(item);
      }
      return out + "]";
   }
}

// "name(field=text, ...)"
inline std::string record_text(std::string_view name,
                               std::initializer_list<std::pair<std::string_view, std::string>> fields) {
   std::string out(name);
   out += '(';
   bool first = true;
   for (const auto& [field, text] : fields) {
      if (!first) out += ", ";
      first = false;
      out += field;
      out += '=';
      out += text;
   }
   return out + ")";
}

}  // namespace orv::detail
