#include "OrvSdkRpc/programming/DscpValues.h"

#include <fmt/ranges.h>

#include <algorithm>

namespace OrvSdkRpc {

DscpValues::DscpValues(const google::protobuf::RepeatedField<std::uint32_t>& values) {
   values_.reserve(static_cast<std::size_t>(values.size()));
   for (const std::uint32_t value : values)
      values_.push_back(static_cast<std::uint8_t>(value));
   std::sort(values_.begin(), values_.end());
}

void DscpValues::add(std::uint8_t value) {
   values_.insert(std::upper_bound(values_.begin(), values_.end(), value), value);
}

std::string DscpValues::toStrep() const {
   return values_.empty() ? "[]" : fmt::format("[ {} ]", fmt::join(values_, ", "));
}

}  // namespace OrvSdkRpc
