#include "OrvSdkRpc/types/BoundaryCheck.h"

#include <fmt/format.h>

#include "orv/error.h"

namespace OrvSdkRpc {

void boundaryExceeded(std::string_view words, std::uint32_t value) {
   throw orv::invalid_argument_error(fmt::format(fmt::runtime(words), value));
}

}  // namespace OrvSdkRpc
