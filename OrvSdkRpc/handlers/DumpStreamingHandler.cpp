#include "OrvSdkRpc/handlers/DumpStreamingHandler.h"

namespace OrvSdkRpc {

void DumpStream::start() {
   rejectInsecureRemote();
   setupTags();
   if (dumpIterator()) {
      dumpStarted();
      dumpNext();
      return;
   }
   goLive();
}

bool DumpStream::dumpIterator() {
   if (!dumpEnabled()) return false;
   orv::sdk_scoped_lock lock;
   openDump();
   state_ = 1;
   return true;
}

void DumpStream::writeDone(CqEventSource source) {
   onTick(source);
   dumpNext();
}

void DumpStream::dumpNext() {
   if (state_ != 1 || !dumping()) return;
   if (atElement()) {
      publishElement();
      return;
   }
   endOfDump();
   closeDump();
   publishAck();
   orv::fmttrace(tracer(), StreamTrace::event, "handler {} end of dump", tag_);
}

}  // namespace OrvSdkRpc
