#include "OrvSdkRpc/server/RequestHandler.h"

namespace OrvSdkRpc {

RequestHandler::~RequestHandler() = default;

}  // namespace OrvSdkRpc
