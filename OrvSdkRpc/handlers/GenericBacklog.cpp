#include "OrvSdkRpc/handlers/GenericBacklog.h"

namespace OrvSdkRpc {

void BacklogImplBase::passDone(std::size_t count, std::size_t left) {
   taskWorkCountInc(count);
   taskWorkPendingIs(left);
   if (left != 0) scheduleTask();
}

}  // namespace OrvSdkRpc
