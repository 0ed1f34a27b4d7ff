// Messages of watch streams, one line each. Free functions without state, safe from any thread.
#pragma once

#include <google/protobuf/message.h>

#include <functional>
#include <string>

namespace orvctl {

// "Ethernet1 oper_status=down": what the event is about, and then every field that is set. Enumerations,
// addresses and interfaces print as words, fractions with at most three decimals; a record within is JSON.
std::string eventText(const google::protobuf::Message& event);

// Calls `each` for every event of a reply: the reply itself, or the entries of a batch. Stops where `each`
// answers false, and answers false then.
bool forEachEvent(const google::protobuf::Message& reply,
                  const std::function<bool(const google::protobuf::Message&)>& each);

// Whether the reply is no event but tells that the watch stands, or that all that was there has been shown.
bool isAcknowledgement(const google::protobuf::Message& reply);

}  // namespace orvctl
