// What a server offers: its services and RPCs, and which of them this build of the server really serves.
// Free functions; each call uses its connection from the calling thread.
#pragma once

#include <string>
#include <vector>

#include "orvctl/Connection.h"

namespace orvctl {

enum class Availability {
   // The server served a request of it, or refused one for a reason of its own.
   available,
   // The server said that this build does not have it.
   notInThisBuild,
   // Asked, but the server tells only after an init.
   notKnownBeforeInit,
   // Not asked: every request of it has an effect, or it is not one of ours.
   notProbed,
};

struct RpcEntry {
   std::string name;
   std::string request;
   std::string reply;
   bool replyStream = false;
   Availability availability = Availability::notProbed;
};

struct ServiceEntry {
   std::string name;
   std::vector<RpcEntry> rpcs;
};

struct Catalog {
   std::vector<ServiceEntry> services;
   // False where the server has no reflection and the list is this program's own knowledge.
   bool fromServer = true;
};

// Asks the server by reflection; falls back to the linked descriptors. Throws CallError when it is not
// reachable.
Catalog readCatalog(Connection& connection);

// Fills every `availability`. An RPC is probed with a request that cannot change anything: one that the
// server refuses before it touches the switch, or one that asks for nothing.
void probe(Connection& connection, Catalog& catalog);

}  // namespace orvctl
