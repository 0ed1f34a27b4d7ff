// A sorted list of DSCP values (RFC 2474).
//
// Thread-safety: plain value.
#pragma once

#include <fmt/format.h>
#include <google/protobuf/repeated_field.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OrvSdkRpc {

class DscpValues {
public:
   // The number of different DSCPs.
   static constexpr std::size_t maxWithDuplicates = 64;

   DscpValues() = default;
   // Truncates each value to 8 bits and sorts. Duplicates stay unless there are more than maxWithDuplicates
   // values: each value becomes an ACL rule, and a client determines their number.
   explicit DscpValues(const google::protobuf::RepeatedField<std::uint32_t>& values);
   explicit DscpValues(std::vector<std::uint8_t> values);

   [[nodiscard]] bool empty() const { return values_.empty(); }
   [[nodiscard]] const std::vector<std::uint8_t>& values() const { return values_; }

   bool operator==(const DscpValues&) const = default;
   // "[ 10, 46 ]"; "[]" for an empty list.
   [[nodiscard]] std::string toStrep() const;

private:
   std::vector<std::uint8_t> values_;
};

}  // namespace OrvSdkRpc

// Formats as toStrep(). The string is built only if the format is used.
template <>
struct fmt::formatter<OrvSdkRpc::DscpValues> : fmt::formatter<std::string_view> {
   template <class Context>
   auto format(const OrvSdkRpc::DscpValues& values, Context& context) const {
      return fmt::formatter<std::string_view>::format(values.toStrep(), context);
   }
};
