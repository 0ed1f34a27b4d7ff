// Health and reflection for every gRPC server that this process builds. Main thread.
#pragma once

#include "orvsdkrpcd/HealthService.h"

namespace orvsdkrpcd {

// Takes effect for servers built afterwards; further calls do nothing. The health service is SERVING as soon
// as a server has started. It lives as long as the process.
HealthService& installServerPlugins();

}  // namespace orvsdkrpcd
