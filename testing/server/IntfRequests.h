// Interfaces for the tests of mirror services, and requests that name one.
#pragma once

#include <string>

#include "orv/intf_id.h"

namespace orvtest {

inline const orv::intf_id_t ethernet1("Ethernet1");
inline const orv::intf_id_t ethernet2("Ethernet2");
inline const orv::intf_id_t ethernet3("Ethernet3");

// A request of type Rq with this interface.
template <class Rq>
Rq ofIntf(const std::string& name) {
   Rq request;
   request.mutable_intf_id()->set_name(name);
   return request;
}

}  // namespace orvtest
