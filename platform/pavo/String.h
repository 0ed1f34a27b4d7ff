#pragma once

#include <string>

namespace Pavo {

using String = std::string;

}  // namespace Pavo
