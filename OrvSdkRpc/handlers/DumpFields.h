// The fields of a dump that a request selects.
//
// Thread-safety: belongs to its stream.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "orv/tracer.h"

namespace OrvSdkRpc {

// Traces of a definition that reads the fields; an inline constexpr object. A null text traces nothing.
struct DumpTraces {
   int level;
   // No field is selected, so there is no dump.
   const char* nothing = nullptr;
   // Unknown field number, which is the only argument of the text.
   const char* unknown = nullptr;
};

// Base of a watch definition with a dump; provides its dumpEnabled. The request lists the wanted fields in
// fields_control().fields() as numbers of a wire enumeration. 0 selects all fields; `fields` are the other
// numbers. Unknown numbers are skipped.
template <const DumpTraces& traces, auto... fields>
class DumpFields {
   static_assert(((fields != 0) && ...), "0 stands for all fields");

public:
   // Reads the list up to the first 0.
   // RETURNS: whether any field is selected.
   template <class Svc, class Rq>
   bool dumpEnabled(Svc& service, const Rq& request) {
      for (const int number : request.fields_control().fields()) {
         if (number == 0) {
            selected_.fill(true);
            return true;
         }
         if (select(number)) continue;
         if constexpr (traces.unknown != nullptr) {
            orv::fmttrace(service.tracer(), traces.level, traces.unknown, number);
         }
      }
      if (std::find(selected_.begin(), selected_.end(), true) != selected_.end()) return true;
      if constexpr (traces.nothing != nullptr) {
         orv::fmttrace(service.tracer(), traces.level, traces.nothing);
      }
      return false;
   }

protected:
   template <auto field>
   [[nodiscard]] bool selected() const {
      constexpr std::size_t index = indexOf(field);
      static_assert(index < sizeof...(fields), "no field of this dump");
      return selected_[index];
   }

private:
   static constexpr std::size_t indexOf(int number) {
      std::size_t index = 0;
      static_cast<void>(((fields == number || (++index, false)) || ...));
      return index;
   }
   bool select(int number) {
      const std::size_t index = indexOf(number);
      if (index == sizeof...(fields)) return false;
      selected_[index] = true;
      return true;
   }

   std::array<bool, sizeof...(fields)> selected_{};
};

}  // namespace OrvSdkRpc
