// A sorted list of DSCP values (RFC 2474).
//
// Thread-safety: plain value.
#pragma once

#include <google/protobuf/repeated_field.h>

#include <cstdint>
#include <string>
#include <vector>

namespace OrvSdkRpc {

class DscpValues {
public:
   DscpValues() = default;
   // Narrows each value to 8 bits and sorts; duplicates stay.
   explicit DscpValues(const google::protobuf::RepeatedField<std::uint32_t>& values);

   [[nodiscard]] bool empty() const { return values_.empty(); }
   [[nodiscard]] const std::vector<std::uint8_t>& values() const { return values_; }
   // Keeps the order.
   void add(std::uint8_t value);

   bool operator==(const DscpValues&) const = default;
   // "[ 10, 46 ]"; "[]" for an empty list.
   [[nodiscard]] std::string toStrep() const;

private:
   std::vector<std::uint8_t> values_;
};

}  // namespace OrvSdkRpc
