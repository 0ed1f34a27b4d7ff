// What a server offers: its services and RPCs, and which of them its build really serves.
// Thread-safety: any thread; each call uses its connection on the calling thread.
#pragma once

#include <string>
#include <vector>

#include "orvctl/Connection.h"

namespace orvctl {

enum class Availability {
   // The server served a request, or refused it for its content.
   available,
   // The server answered that its build does not have the RPC.
   notInThisBuild,
   // Probed, but the server answers this only after an init.
   notKnownBeforeInit,
   // Not probed: every request has an effect, or the RPC is not one of the programming service.
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
   // False if the server has no reflection and the list comes from the linked descriptors.
   bool fromServer = true;
};

// Asks the server by reflection; falls back to the linked descriptors.
// THROWS: as Connection::require; CallError also if reflection answers with an error.
Catalog readCatalog(Connection& connection);

// Fills in the `availability` of every RPC. A probe is a request that cannot change anything: the server
// refuses it before it touches the switch, or it asks for nothing.
void probe(Connection& connection, Catalog& catalog);

}  // namespace orvctl
