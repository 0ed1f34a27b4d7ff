// A watch stream that first replays the present state of a table and then goes on live.
//
// Thread-safety: as StreamingToolkit.h; the dump itself runs on the pump thread. The SDK's lock is held for
// one element at a time, never across a write.
//
// The stream subscribes before the first element is made, so that no change falls between dump and live. One
// element follows each write that completes, so the queue stays short and a slow client slows its own dump
// only. Live events queue among the elements in the order of their arrival; the acknowledgement at the end
// says that the client's picture is whole. An element that the stream's filter rejects makes no write: the
// dump then goes on with the next write that completes, whatever causes it.
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
   // Subscribes; the first element is made after it.
   virtual void dumpStarted() { join(); }
   // After the last element, before its acknowledgement.
   virtual void endOfDump() {}

   // The walk. openDump runs under the SDK's lock, publishElement takes it.
   virtual void openDump() = 0;
   virtual void closeDump() = 0;
   [[nodiscard]] virtual bool dumping() const = 0;
   [[nodiscard]] virtual bool atElement() const = 0;
   virtual void publishElement() = 0;

private:
   bool dumpIterator();
   void dumpNext();
};

// What StreamingToolkit.h asks of Hc, and
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
