#include "OrvSdkRpc/mirror/MplsVrfLabelService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Rpc = MplsVrfLabelService::AsyncService;

struct VrfLabel : Getter<&Rpc::Requestmpls_vrf_label, &orv::mpls_vrf_label_mgr::mpls_vrf_label,
                         &MplsVrfLabelResponse::mutable_mpls_vrf_label, &MplsVrfLabelRequest::label> {};
struct MplsVrfLabels : Lister<&Rpc::Requestmpls_vrf_labels, &orv::mpls_vrf_label_mgr::mpls_vrf_label_iter,
                              &MplsVrfLabelsResponse::mutable_mpls_vrf_label> {};

struct Set : Setter<&Rpc::Requestmpls_vrf_label_set, &orv::mpls_vrf_label_mgr::mpls_vrf_label_set,
                    &MplsVrfLabelSetRequest::mpls_vrf_label> {};
struct BulkSet : BulkOf<Set, &Rpc::Requestbulk_mpls_vrf_label_set> {};
struct Del : Setter<&Rpc::Requestmpls_vrf_label_del, &orv::mpls_vrf_label_mgr::mpls_vrf_label_del,
                    &MplsVrfLabelDelRequest::label> {};
struct BulkDel : BulkOf<Del, &Rpc::Requestbulk_mpls_vrf_label_del> {};

struct ResyncInit : Setter<&Rpc::Requestresync_init, &orv::mpls_vrf_label_mgr::resync_init> {};
struct ResyncComplete : Setter<&Rpc::Requestresync_complete, &orv::mpls_vrf_label_mgr::resync_complete> {};

}  // namespace

void MplsVrfLabelService::startHandlers() {
   registerAdapter<UnaryRequestHandler, VrfLabel>(*this);
   registerAdapter<IteratorStreamingHandler, MplsVrfLabels>(*this);
   registerAdapter<UnaryRequestHandler, Set>(*this);
   registerAdapter<BulkRequestHandler, BulkSet>(*this);
   registerAdapter<UnaryRequestHandler, Del>(*this);
   registerAdapter<BulkRequestHandler, BulkDel>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
}

}  // namespace OrvSdkRpc
