// Messages of watch streams, one line each.
// Thread-safety: any thread.
#pragma once

#include <google/protobuf/message.h>

#include <functional>
#include <string>

namespace orvctl {

// RETURNS: a line such as "Ethernet1 oper_status=down": the subject of the event, and then every field that
// is set. Enumerations, addresses and interfaces print as words, fractions with at most three decimals,
// nested records as JSON.
std::string eventText(const google::protobuf::Message& event);

// Calls `each` for every event of a reply: the reply itself, or the entries of a batch. Stops when `each`
// returns false.
// RETURNS: false if `each` did.
bool forEachEvent(const google::protobuf::Message& reply,
                  const std::function<bool(const google::protobuf::Message&)>& each);

// RETURNS: whether the reply is not an event but an acknowledgement that the watch is active, or that the
// dump is complete.
bool isAcknowledgement(const google::protobuf::Message& reply);

}  // namespace orvctl
