// What the tests of conversions share: refusals as values, messages from text, the order of checks, round
// trips.
#pragma once

#include <fmt/format.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <typeindex>
#include <unordered_set>
#include <vector>

#include "OrvSdkRpc/types/Converted.h"
#include "orv/error.h"
#include "testing/values/Generate.h"

namespace types_test {

// What a conversion threw: its most derived class and its message.
struct Refusal {
   std::type_index type;
   std::string words;

   bool operator==(const Refusal&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Refusal& refusal) {
   return out << refusal.type.name() << ": \"" << refusal.words << '"';
}

inline Refusal invalidArgument(std::string words) {
   return {typeid(orv::invalid_argument_error), std::move(words)};
}
inline Refusal unsupported(std::string words) {
   return {typeid(orv::unsupported_error), std::move(words)};
}

// What an address of so many bytes is refused with.
inline Refusal badAddress(std::size_t length) {
   return invalidArgument(fmt::format("bytes length {} does not match IPv4(4) or IPv6(16)", length));
}

// The conversion of any record, in either direction, as an argument.
inline constexpr auto kConvert = [](const auto& value) { return OrvSdkRpc::types::converted(value); };

// RETURNS: nothing when `call` does not throw.
template <typename Call>
std::optional<Refusal> refusalOf(Call&& call) {
   try {
      call();
   } catch (const std::exception& e) {
      return Refusal{typeid(e), e.what()};
   }
   return std::nullopt;
}

// Parses a message from protobuf's text format.
template <typename Message>
Message parsed(const std::string& text) {
   Message message;
   if (!google::protobuf::TextFormat::ParseFromString(text, &message)) {
      ADD_FAILURE() << "not a " << message.GetTypeName() << ": " << text;
   }
   return message;
}

template <typename Message>
testing::AssertionResult same(const Message& actual, const Message& expected) {
   google::protobuf::util::MessageDifferencer differencer;
   std::string difference;
   differencer.ReportDifferencesToString(&difference);
   // Equality, not equivalence: an absent field differs from one that holds its default.
   if (differencer.Compare(expected, actual)) return testing::AssertionSuccess();
   return testing::AssertionFailure() << difference;
}

// One way to make a message that cannot be converted.
template <typename Message>
struct Spoiled {
   std::function<void(Message&)> spoil;
   Refusal refusal;
};

// `spoiled` is in the order in which a conversion must find the errors. Of two errors it reports the first,
// wherever they are.
template <typename Message, typename Convert>
void expectFirstIsTold(const Message& good, Convert&& convertOne,
                       const std::vector<Spoiled<Message>>& spoiled) {
   EXPECT_EQ(refusalOf([&] { (void)convertOne(good); }), std::nullopt);
   for (std::size_t i = 0; i < spoiled.size(); ++i) {
      for (std::size_t j = i; j < spoiled.size(); ++j) {
         SCOPED_TRACE(testing::Message() << "spoiled " << i << " and " << j);
         Message bad = good;
         spoiled[j].spoil(bad);
         spoiled[i].spoil(bad);
         EXPECT_EQ(refusalOf([&] { (void)convertOne(bad); }), spoiled[i].refusal);
      }
   }
}

inline constexpr std::uint64_t roundTripSeeds = 400;

// Converts many values from the SDK to the wire, through bytes, and back: the result must be `expected` of
// the original.
template <typename Sdk, typename ToWire, typename ToSdk, typename Expected = std::identity>
void expectRoundTrips(ToWire&& toWire, ToSdk&& toSdk, Expected&& expected = {}) {
   std::unordered_set<Sdk> seen;
   for (std::uint64_t seed = 1; seed <= roundTripSeeds && !testing::Test::HasFailure(); ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed);
      orvtest::ValueSource source(seed);
      const Sdk value = orvtest::generate<Sdk>(source);
      seen.insert(value);
      const auto message = toWire(value);
      auto received = message;
      received.Clear();
      ASSERT_TRUE(received.ParseFromString(message.SerializeAsString()));
      ASSERT_TRUE(same(received, message));
      EXPECT_EQ(toSdk(received), expected(value));
   }
   EXPECT_GT(seen.size(), roundTripSeeds / 8) << "the generator repeats itself";
}

}  // namespace types_test
