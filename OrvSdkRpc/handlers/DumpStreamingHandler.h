// A watch stream that first dumps the current state of a table and then continues with live events.
//
// Thread-safety: as StreamingToolkit.h; the dump itself runs on the pump thread. The SDK's lock is held for
// one element at a time, never across a write.
//
// The stream subscribes before it creates the first element, so that no change is lost between the dump and
// the live events. Each completed write triggers one element, so the queue stays short and a slow client
// slows only its own dump. Live events are queued among the elements in order of arrival. The acknowledgement
// at the end means that the client has the complete state. An element that the filter rejects causes no
// write; the dump then resumes after the next completed write, whatever caused that write.
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "OrvSdkRpc/handlers/StreamingToolkit.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

class DumpStream : public EventStream {
protected:
   using EventStream::EventStream;

   void start() final;
   void writeDone(CqEventSource source) final;

   // Whether the request asks for a dump.
   [[nodiscard]] virtual bool dumpEnabled() = 0;
   // Subscribes. Called before the first element is created.
   virtual void dumpStarted() { join(); }
   // Called after the last element, before the acknowledgement.
   virtual void endOfDump() {}

   // The iteration. openDump runs under the SDK's lock; publishElement takes the lock.
   virtual void openDump() = 0;
   virtual void closeDump() = 0;
   [[nodiscard]] virtual bool dumping() const = 0;
   [[nodiscard]] virtual bool atElement() const = 0;
   virtual void publishElement() = 0;

private:
   bool dumpIterator();
   void dumpNext();
};

// Hc provides what StreamingToolkit.h requires, and
//
//    auto iterator();                        of the table's keys, made under the SDK's lock
//    void encodeDump(const Key&, Rp&);       the message of one key; runs under the SDK's lock
//    bool dumpEnabled();
template <class Hc, class Rq, class Rp, class Svr, class Iterator>
class DumpStreamingHandler : public StreamingRequestHandler<Hc, Rq, Rp, Svr, DumpStream> {
   using Stream = StreamingRequestHandler<Hc, Rq, Rp, Svr, DumpStream>;

public:
   using Stream::Stream;

private:
   void openDump() final { dumpIter_.emplace(static_cast<Hc&>(*this).iterator()); }
   void closeDump() final { dumpIter_.reset(); }
   [[nodiscard]] bool dumping() const final { return dumpIter_.has_value(); }
   [[nodiscard]] bool atElement() const final { return static_cast<bool>(*dumpIter_); }
   void publishElement() final {
      auto message = std::allocate_shared<Rp>(Pavo::Allocator<Rp>());
      {
         orv::sdk_scoped_lock lock;
         static_cast<Hc&>(*this).encodeDump(**dumpIter_, *message);
         ++*dumpIter_;
      }
      this->publish(std::move(message));
   }

   std::optional<Iterator> dumpIter_;
};

}  // namespace OrvSdkRpc
