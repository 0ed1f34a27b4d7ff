// What every gRPC server that this process builds has beyond the library's services: health, reflection, and
// a bound on what one connection may have open. Main thread.
#pragma once

#include "orvsdkrpcd/HealthService.h"

namespace orvsdkrpcd {

// Takes effect for servers built afterwards; further calls only change the bound. The health service is
// SERVING as soon as a server has started. It lives as long as the process.
//
// maxStreams: calls and streams that may be open on one connection at a time (SETTINGS_MAX_CONCURRENT_STREAMS
// of RFC 9113); the client's gRPC keeps the others waiting.
HealthService& installServerPlugins(int maxStreams);

}  // namespace orvsdkrpcd
