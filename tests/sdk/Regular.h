// Checks that every value type must pass.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "orv/value.h"

namespace sdk_test {

// Each change, applied to a copy of `start`, must show in equality, hash and text. No two changes may give
// the same value, so that no field stands for another.
template <typename T>
void expectEveryFieldCounts(const T& start, const std::vector<std::function<void(T&)>>& changes) {
   static_assert(std::is_nothrow_move_constructible_v<T> || std::is_copy_constructible_v<T>);
   std::vector<T> seen{start};
   for (std::size_t i = 0; i < changes.size(); ++i) {
      SCOPED_TRACE(testing::Message() << "change " << i);
      T changed = start;
      EXPECT_EQ(changed, start);
      EXPECT_EQ(changed.hash(), start.hash());
      EXPECT_EQ(changed.to_string(), start.to_string());
      changes[i](changed);
      for (const T& other : seen) {
         EXPECT_NE(changed, other);
         EXPECT_NE(changed.hash(), other.hash());
         EXPECT_NE(changed.to_string(), other.to_string());
      }
      const T copy = changed;
      EXPECT_EQ(copy, changed);
      EXPECT_EQ(copy.hash(), changed.hash());
      seen.push_back(changed);
   }
   std::unordered_set<T> set(seen.begin(), seen.end());
   EXPECT_EQ(set.size(), changes.size() + 1);
}

// Values in ascending order must compare that way, each with every other.
template <typename T>
void expectRising(const std::vector<T>& values) {
   for (std::size_t i = 0; i < values.size(); ++i) {
      for (std::size_t j = 0; j < values.size(); ++j) {
         SCOPED_TRACE(testing::Message() << values[i] << " and " << values[j]);
         EXPECT_EQ(values[i] < values[j], i < j);
         EXPECT_EQ(values[i] == values[j], i == j);
         EXPECT_EQ(values[i] > values[j], i > j);
      }
   }
}

// All three ways to print must give the same text.
template <typename T>
void expectText(const T& value, const std::string& text) {
   std::ostringstream out;
   out << value;
   EXPECT_EQ(out.str(), text);
   EXPECT_EQ(fmt::format("{}", value), text);
   if constexpr (std::is_enum_v<T>) {
      EXPECT_EQ(to_string(value), text);
   } else {
      EXPECT_EQ(value.to_string(), text);
   }
}

// Members 0 to `last` must have distinct names, and other numbers none of them.
template <typename Enum>
void expectNamed(int last) {
   std::unordered_set<std::string> names;
   for (int i = 0; i <= last; ++i) {
      const std::string name(enum_text(static_cast<Enum>(i)));
      EXPECT_FALSE(name.empty()) << i;
      EXPECT_TRUE(names.insert(name).second) << name;
   }
   EXPECT_EQ(enum_text(static_cast<Enum>(last + 1)), "");
   EXPECT_EQ(to_string(static_cast<Enum>(last + 1)), std::to_string(last + 1));
   EXPECT_EQ(enum_text(static_cast<Enum>(255)), "");
}

// The message of the error that `call` must throw.
template <typename Error, typename Call>
std::string errorText(Call&& call) {
   try {
      call();
   } catch (const Error& e) {
      EXPECT_EQ(typeid(e), typeid(Error));
      return e.what();
   }
   ADD_FAILURE() << "nothing was thrown";
   return {};
}

}  // namespace sdk_test
