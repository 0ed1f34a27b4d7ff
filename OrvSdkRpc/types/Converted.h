// Converts a value whose type a template does not know by name.
//
// Thread-safety: pure functions.
#pragma once

#include <concepts>
#include <string>
#include <type_traits>

namespace OrvSdkRpc::types {

// Wraps the argument of a call to `convert`. Because the wrapper is in this namespace, argument-dependent
// lookup finds every `convert` that the source includes, even those declared after the calling template. The
// namespaces of the records contain no `convert`.
template <class Value>
struct Wire {
   const Value& value;
   // NOLINTNEXTLINE(google-explicit-constructor): the wrapper stands for the value.
   operator const Value&() const { return value; }
};

// Types that the wire and the SDK share.
template <class Value>
concept Plain = std::is_arithmetic_v<Value> || std::same_as<Value, std::string>;

template <class Value>
concept Convertible = requires(const Wire<Value>& value) {
   convert(value);
};

// RETURNS: numbers and strings unchanged, by reference; anything else through its overload of `convert`.
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
