#include "softswitch/managers/group_sweep.h"

namespace softswitch {

// Apart from the group itself, only IP and MPLS routes hold references to its name.
void GroupSweep::groupProgrammed(NameId id, bool fresh) {
   if (fresh && names_.references(id) > 1) note(id);
}

void GroupSweep::groupGone(NameId id) {
   if (names_.references(id) > 0) note(id);
}

void GroupSweep::note(NameId id) {
   if (id >= changed_.size()) changed_.resize(id + 1);
   changed_[id] = true;
   sweep();
}

}  // namespace softswitch
