// What the SDK answers when it refuses a call.
#pragma once

#include <string>
#include <utility>

#include "orv/error.h"

namespace orvtest {

// RETURNS: the text of the orv::error that `call` throws, "" when it throws nothing. Other exceptions pass.
template <class Call>
std::string refusal(Call&& call) {
   try {
      std::forward<Call>(call)();
   } catch (const orv::error& e) {
      return e.what();
   }
   return "";
}

}  // namespace orvtest
