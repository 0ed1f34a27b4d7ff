// What every gRPC server of this process has beyond the library's services: health, reflection, and a limit
// on the open streams of one connection.
// Thread-safety: main thread only.
#pragma once

#include "orvsdkrpcd/HealthService.h"

namespace orvsdkrpcd {

// Affects servers that are built afterwards; further calls only change the limit.
// RETURNS: the health service, which is SERVING as soon as a server has started, and lives as long as the
// process.
//
// maxStreams: calls and streams that may be open on one connection at a time (SETTINGS_MAX_CONCURRENT_STREAMS
// of RFC 9113); the client's gRPC queues the others.
HealthService& installServerPlugins(int maxStreams);

}  // namespace orvsdkrpcd
