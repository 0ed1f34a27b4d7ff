// Commands that set the far ends of sBFD sessions.
//
// Thread-safety: any thread, without the SDK's lock.
#pragma once

#include "softswitch/console/command_table.h"

namespace softswitch::console {

void setSbfd(Call& call);
void unsetSbfd(Call& call);

}  // namespace softswitch::console
