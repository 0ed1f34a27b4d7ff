#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"

#include "OrvSdkRpc/programming/Reply.h"

namespace OrvSdkRpc {

void MplsRouteProgrammer::processMPLSRouteRequest(const pb::mpls_route_msg& request,
                                                  pb::rpc_status_msg& response) {
   serveUnavailable(client_, request, response);
}

void MplsRouteProgrammer::processMPLSRouteBulkRequest(const pb::mpls_route_bulk_msg& request,
                                                      pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processMPLSRouteRequest(item, status); });
}

}  // namespace OrvSdkRpc
