#include "OrvSdkRpc/mirror/ClassMapService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/ClassMap.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Rpc = ClassMapService::AsyncService;

struct Exists : Getter<&Rpc::Requestexists, &orv::class_map_mgr::exists, &ClassMapExistsResponse::set_exists,
                       &ClassMapExistsRequest::key> {};
struct Configured : Getter<&Rpc::Requestclass_map, &orv::class_map_mgr::class_map,
                           &ClassMapResponse::mutable_class_map, &ClassMapRequest::key> {};
struct ClassMaps : Lister<&Rpc::Requestclass_maps, &orv::class_map_mgr::class_map_iter,
                          &ClassMapsResponse::mutable_key, &ClassMapsRequest::feature> {};

struct Set
     : Setter<&Rpc::Requestclass_map_is, &orv::class_map_mgr::class_map_is, &ClassMapIsRequest::class_map> {};
struct BulkSet : BulkOf<Set, &Rpc::Requestbulk_class_map_is> {};
struct Del
     : Setter<&Rpc::Requestclass_map_del, &orv::class_map_mgr::class_map_del, &ClassMapDelRequest::key> {};
struct BulkDel : BulkOf<Del, &Rpc::Requestbulk_class_map_del> {};

struct ResyncInit : Setter<&Rpc::Requestresync_init, &orv::class_map_mgr::resync_init> {};
struct ResyncComplete : Setter<&Rpc::Requestresync_complete, &orv::class_map_mgr::resync_complete> {};

}  // namespace

void ClassMapService::startHandlers() {
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, Configured>(*this);
   registerAdapter<IteratorStreamingHandler, ClassMaps>(*this);
   registerAdapter<UnaryRequestHandler, Set>(*this);
   registerAdapter<BulkRequestHandler, BulkSet>(*this);
   registerAdapter<UnaryRequestHandler, Del>(*this);
   registerAdapter<BulkRequestHandler, BulkDel>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
}

}  // namespace OrvSdkRpc
