// The conversion of a value whose type a template does not know by name.
//
// Thread-safe: pure functions.
#pragma once

#include <concepts>
#include <string>
#include <type_traits>

namespace OrvSdkRpc::types {

// Stands for a value where a conversion is looked for. Being of this namespace it brings every `convert` that
// the source includes, also those declared behind the template that asks; the record's own namespaces hold
// none.
template <class Value>
struct Wire {
   const Value& value;
   // NOLINTNEXTLINE(google-explicit-constructor): it stands for the value.
   operator const Value&() const { return value; }
};

// What the wire and the SDK hold alike.
template <class Value>
concept Plain = std::is_arithmetic_v<Value> || std::same_as<Value, std::string>;

template <class Value>
concept Convertible = requires(const Wire<Value>& value) {
   convert(value);
};

// Numbers and texts as they are, by reference; anything else by its overload of `convert`.
template <class Value>
decltype(auto) converted(const Value& value) {
   if constexpr (Plain<Value>) {
      return (value);
   } else {
      static_assert(Convertible<Value>,
                    "no conversion for this type: its header in OrvSdkRpc/types is missing");
      return convert(Wire<Value>{value});
   }
}

}  // namespace OrvSdkRpc::types
