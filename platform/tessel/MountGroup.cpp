#include "platform/tessel/MountGroup.h"

#include <fmt/format.h>

namespace Tessel {

void MountGroup::refuseType(const std::string& path, std::string_view type) {
   throw std::runtime_error(
        fmt::format("mount path '{}': has an entity of another type, expected {}", path, type));
}

void MountGroup::refuseArguments(const std::string& path, std::string_view type) {
   throw std::logic_error(fmt::format("mount path '{}': no arguments to construct a {}", path, type));
}

}  // namespace Tessel
