#include "OrvSdkRpc/programming/DscpValues.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace OrvSdkRpc {
namespace {

std::vector<std::uint8_t> narrowed(const google::protobuf::RepeatedField<std::uint32_t>& values) {
   std::vector<std::uint8_t> bytes;
   bytes.reserve(static_cast<std::size_t>(values.size()));
   for (const std::uint32_t value : values)
      bytes.push_back(static_cast<std::uint8_t>(value));
   return bytes;
}

}  // namespace

DscpValues::DscpValues(const google::protobuf::RepeatedField<std::uint32_t>& values)
     : DscpValues(narrowed(values)) {}

DscpValues::DscpValues(std::vector<std::uint8_t> values) : values_(std::move(values)) {
   std::sort(values_.begin(), values_.end());
   if (values_.size() <= maxWithDuplicates) return;
   values_.erase(std::unique(values_.begin(), values_.end()), values_.end());
   values_.shrink_to_fit();
}

std::string DscpValues::toStrep() const {
   return values_.empty() ? "[]" : fmt::format("[ {} ]", fmt::join(values_, ", "));
}

}  // namespace OrvSdkRpc
