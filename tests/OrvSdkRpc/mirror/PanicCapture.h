// The errors that go through orv::panic.
//
// Thread-safety: as orv::exception_handler_is; read `words` once the panicking call has returned.
#pragma once

#include <string>
#include <vector>

#include "orv/error.h"

namespace OrvSdkRpc {

// Replaces the process's exception handler while it exists.
class PanicCapture {
public:
   PanicCapture() {
      orv::exception_handler_is([this](const orv::error& e) {
         words.emplace_back(e.what());
         e.raise();
      });
   }
   ~PanicCapture() { orv::exception_handler_is(nullptr); }
   PanicCapture(const PanicCapture&) = delete;
   PanicCapture& operator=(const PanicCapture&) = delete;

   std::vector<std::string> words;
};

}  // namespace OrvSdkRpc
