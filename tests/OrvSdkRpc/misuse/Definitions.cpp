// Definitions as their authors get them wrong. Without MISUSE this file compiles; with it the compiler must
// refuse each block with a message that matches the block's "error:" line. check.cmake reads these lines as
// regular expressions.
#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/programming/CallbackRequestHandler.h"
#include "OrvSdkRpc/programming/ProgrammingManagers.h"
#include "testing/server/StreamProbe.h"

namespace OrvSdkRpc::misuse {

using orvtest::StreamProbe;
using Rpc = StreamProbe::AsyncService;

// A service with the controller of one watch.
template <class Def>
class OneWatch : public GrpcService {
public:
   SubscriptionController<OneWatch, Def>& subscriptions();
   SubscriptionController<OneWatch, orvtest::Watch>& foreign();
};

// Instantiates a handler, but none of its members.
template <template <class, class, class, class> class Handler, class Def, class Svc = OneWatch<Def>>
constexpr bool made = sizeof(Handler<Def, typename MethodTraits<Def::method>::Request,
                                     typename MethodTraits<Def::method>::Response, Svc>) > 0;

struct Odd {};
struct Manager {
   std::string text(const std::string& name) const;
   std::string texts(const std::string& name, const std::string& other) const;
   Odd odd(const std::string& name) const;
   std::string narrow(std::uint16_t number) const;
};
struct OfManager {
   Manager& manager() const;
};
// A getter whose operation is called.
template <class Def>
constexpr bool called() {
   static_cast<void>(&Def::template impl<OfManager>);
   return true;
}

struct Text : Getter<&Rpc::Requesthold, &Manager::text, &test::ProbeResponse::mutable_text,
                     &test::ProbeRequest::text> {};
static_assert(called<Text>());
static_assert(made<StreamingAdapterHandler, orvtest::Watch, StreamProbe>);
static_assert(made<DumpStreamingAdapterHandler, orvtest::WatchTable, StreamProbe>);
static_assert(sizeof(BulkStreamHandler<orvtest::Rates, StreamProbe>) > 0);

#ifdef MISUSE

// error: 'fliter'
struct MisspeltHook : WatchOf<&Rpc::Requestwatch, &OneWatch<MisspeltHook>::subscriptions> {
   bool filter(const Request& request, const Response& message) const;
   static constexpr Hooks<MisspeltHook> hooks = {.fliter = &MisspeltHook::filter};
};

// error: WrongSignature::\*
struct WrongSignature : WatchOf<&Rpc::Requestwatch, &OneWatch<WrongSignature>::subscriptions> {
   bool filter(const Response& message) const;
   static constexpr Hooks<WrongSignature> hooks = {.filter = &WrongSignature::filter};
};

// error: UnsaidFilter
struct UnsaidFilter : WatchOf<&Rpc::Requestwatch, &OneWatch<UnsaidFilter>::subscriptions> {
   static constexpr Hooks<UnsaidFilter> hooks = {.endOfDump = nullptr};
};

// error: a watch states its hooks
struct NoHooks : WatchOf<&Rpc::Requestwatch, &OneWatch<NoHooks>::subscriptions> {
   bool filter(const Request& request, const Response& message) const;
};
static_assert(made<StreamingAdapterHandler, NoHooks>);

// error: the definition has a member filter that its hooks do not name
struct UnnamedFilter : WatchOf<&Rpc::Requestwatch, &OneWatch<UnnamedFilter>::subscriptions> {
   bool filter(const Request& request, const Response& message) const;
   static constexpr Hooks<UnnamedFilter> hooks = {.filter = everyEvent};
};
static_assert(made<StreamingAdapterHandler, UnnamedFilter>);

// error: the definition has a member subscribe that its hooks do not name
struct UnnamedSubscribe : WatchOf<&Rpc::Requestwatch, &OneWatch<UnnamedSubscribe>::subscriptions> {
   void subscribe(Service& service, OpaqueId tag, const Request& request);
   static constexpr Hooks<UnnamedSubscribe> hooks = {.filter = everyEvent};
};
static_assert(made<StreamingAdapterHandler, UnnamedSubscribe>);

// error: a watch without a dump has no endOfDump hook
struct EndWithoutDump : WatchOf<&Rpc::Requestwatch, &OneWatch<EndWithoutDump>::subscriptions> {
   void endOfDump(Service& service);
   static constexpr Hooks<EndWithoutDump> hooks = {.filter = everyEvent,
                                                   .endOfDump = &EndWithoutDump::endOfDump};
};
static_assert(made<StreamingAdapterHandler, EndWithoutDump>);

// error: the controller that a watch names is a SubscriptionController of this watch
struct ForeignController : WatchOf<&Rpc::Requestwatch, &OneWatch<ForeignController>::foreign> {
   static constexpr Hooks<ForeignController> hooks = {.filter = everyEvent};
};
static_assert(made<StreamingAdapterHandler, ForeignController>);

// error: the message must be the response of the streams that it is published to
void publishForeignMessage(StreamProbe& service, test::RatesResponse& message) {
   service.subscriptions().publish(message);
}

// error: values of bulk streams go out by publishBulk
void publishEventToBulkStreams(StreamProbe& service, test::RatesResponse& message) {
   service.rateStreams().publish(message);
}

// error: publishBulk is for bulk streams; events go out by publish
void publishValueToWatch(StreamProbe& service, const std::string& key, const test::RatesEntry& entry) {
   service.subscriptions().publishBulk(key, entry);
}

// error: 'wnats'
struct MisspeltBulkHook
     : BulkStreamOf<&Rpc::Requestrates, &StreamProbe::rateStreams, std::string, test::RatesEntry> {
   bool wants(const std::string& key);
   static constexpr Hooks<MisspeltBulkHook> hooks = {.wnats = &MisspeltBulkHook::wants};
};

// error: a watch with a dump has static auto iterator
struct DumpWithoutIterator : WatchOf<&Rpc::Requestwatch, &OneWatch<DumpWithoutIterator>::subscriptions> {
   static constexpr Hooks<DumpWithoutIterator> hooks = {.filter = everyEvent};
};
static_assert(made<DumpStreamingAdapterHandler, DumpWithoutIterator>);

// error: a watch with a dump has bool dumpEnabled
struct MisspeltSelection : WatchOf<&Rpc::Requestwatch, &OneWatch<MisspeltSelection>::subscriptions> {
   static orvtest::WatchTable::Keys iterator(Service& service);
   bool dumpEnbaled(Service& service, const Request& request);
   void encodeDump(Service& service, const std::string& key, Response& message) const;
   static constexpr Hooks<MisspeltSelection> hooks = {.filter = everyEvent};
};
static_assert(made<DumpStreamingAdapterHandler, MisspeltSelection>);

// error: a watch with a dump has void encodeDump
struct MisspeltElement : WatchOf<&Rpc::Requestwatch, &OneWatch<MisspeltElement>::subscriptions> {
   static orvtest::WatchTable::Keys iterator(Service& service);
   bool dumpEnabled(Service& service, const Request& request);
   void encodedump(Service& service, const std::string& key, Response& message) const;
   static constexpr Hooks<MisspeltElement> hooks = {.filter = everyEvent};
};
static_assert(made<DumpStreamingAdapterHandler, MisspeltElement>);

// error: a definition names its RPC
struct NoMethod {};
void registerNoMethod(StreamProbe& service) {
   service.registerAdapter<UnaryRequestHandler, NoMethod>(service);
}

// error: a unary definition has static Response impl
struct MisspeltImpl : RpcOf<&Rpc::Requesthold> {
   static Response imlp(const Request& request, StreamProbe& service);
};
static_assert(made<UnaryRequestHandler, MisspeltImpl>);

// error: a bulk definition has static void impl
struct MisspeltItem : RpcOf<&test::ProbeService::AsyncService::Requestbulk_probe> {
   static void itme(const test::ProbeRequest& item, StreamProbe& service);
};
static_assert(made<BulkRequestHandler, MisspeltItem>);

// error: one field of the request for each argument of the operation
struct FieldLeftOut : Getter<&Rpc::Requesthold, &Manager::texts, &test::ProbeResponse::mutable_text,
                             &test::ProbeRequest::text> {};
static_assert(called<FieldLeftOut>());

// error: a number of the request that the operation's argument cannot hold needs a check of its own
struct CutNumber
     : Getter<&Rpc::Requestrows, &Manager::narrow, &test::Row::mutable_payload, &test::RowsRequest::count> {};
static_assert(called<CutNumber>());

// error: no conversion for this type
struct NoConversion : Getter<&Rpc::Requesthold, &Manager::odd, &test::ProbeResponse::mutable_text,
                             &test::ProbeRequest::text> {};
static_assert(called<NoConversion>());

// error: the callback of an RPC takes its request and its response
struct Programmer {
   void process(const test::RowsRequest& request, test::Row& response);
};
struct ForeignCallback : CallbackOf<&Rpc::Requesthold, &Programmer::process> {};
static_assert(made<CallbackRequestHandler, ForeignCallback>);

// error gcc: missing initializer
constexpr ProgrammingManagers managerLeftOut = {.acl = nullptr};

#endif

}  // namespace OrvSdkRpc::misuse
