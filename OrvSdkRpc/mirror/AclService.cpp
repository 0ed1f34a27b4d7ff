#include "OrvSdkRpc/mirror/AclService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/ErrorText.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {

struct AclService::Watch : WatchOf<&AclService::AsyncService::Requestwatch, &AclService::subscriptions> {
   static constexpr Hooks<Watch> hooks = {.filter = everyEvent};
};

namespace {

using namespace orv::remote;
using Rpc = AclService::AsyncService;
using types::convert;

struct Acls : Lister<&Rpc::Requestacls, &orv::acl_mgr::acl_iter, &AclsResponse::mutable_key> {};
struct AclsAll : Lister<&Rpc::Requestacls_all, &orv::acl_mgr::acl_all_iter, &AclsAllResponse::mutable_key> {};

// A list of rules, each with its sequence number.
template <auto requestMethod, auto operation>
struct RuleLister : RpcOf<requestMethod> {
   using typename RpcOf<requestMethod>::Request;
   using typename RpcOf<requestMethod>::Response;

   static auto iterator(const Request& request, AclService& service) {
      return (service.manager().*operation)(types::convert(request.key()));
   }
   template <class Entry>
   static Response convert(const Entry& entry) {
      Response response;
      auto& message = *response.mutable_entry();
      message.set_seq(entry.first);
      *message.mutable_rule() = types::convert(entry.second);
      return response;
   }
};
struct AclRuleIps : RuleLister<&Rpc::Requestacl_rule_ips, &orv::acl_mgr::acl_rule_ip_iter> {};
struct AclAllRuleIps : RuleLister<&Rpc::Requestacl_all_rule_ips, &orv::acl_mgr::acl_all_rule_ip_iter> {};
struct AclRuleEths : RuleLister<&Rpc::Requestacl_rule_eths, &orv::acl_mgr::acl_rule_eth_iter> {};
struct AclAllRuleEths : RuleLister<&Rpc::Requestacl_all_rule_eths, &orv::acl_mgr::acl_all_rule_eth_iter> {};

struct AclExists : Getter<&Rpc::Requestacl_exists, &orv::acl_mgr::acl_exists, &AclExistsResponse::set_exists,
                          &AclExistsRequest::key> {};
struct AclAllExists : Getter<&Rpc::Requestacl_all_exists, &orv::acl_mgr::acl_all_exists,
                             &AclAllExistsResponse::set_exists, &AclAllExistsRequest::key> {};

struct AclRuleSet : RpcOf<&Rpc::Requestacl_rule_set> {
   static Response impl(const Request& request, AclService& service) {
      // Converts the rule before the key: if both are bad, the error names the rule.
      const auto set = [&](const auto& rule) {
         service.manager().acl_rule_set(convert(request.key()), request.seq(), rule);
      };
      switch (request.rule_case()) {
         case AclRuleSetRequest::kIpRule:
            set(convert(request.ip_rule()));
            break;
         case AclRuleSetRequest::kEthRule:
            set(convert(request.eth_rule()));
            break;
         case AclRuleSetRequest::RULE_NOT_SET:
            break;
      }
      return {};
   }
};

struct BulkAclRuleSet : BulkOf<AclRuleSet, &Rpc::Requestbulk_acl_rule_set> {};

struct AclRuleDel : Setter<&Rpc::Requestacl_rule_del, &orv::acl_mgr::acl_rule_del, &AclRuleDelRequest::key,
                           &AclRuleDelRequest::seq> {};
struct BulkAclRuleDel : BulkOf<AclRuleDel, &Rpc::Requestbulk_acl_rule_del> {};

struct AclCommit : Setter<&Rpc::Requestacl_commit, &orv::acl_mgr::acl_commit> {};

struct AclDel : Setter<&Rpc::Requestacl_del, &orv::acl_mgr::acl_del, &AclDelRequest::key> {};
struct BulkAclDel : BulkOf<AclDel, &Rpc::Requestbulk_acl_del> {};

struct AclApply : Setter<&Rpc::Requestacl_apply, &orv::acl_mgr::acl_apply, &AclApplyRequest::key,
                         &AclApplyRequest::intf, &AclApplyRequest::direction, &AclApplyRequest::apply> {};
struct BulkAclApply : BulkOf<AclApply, &Rpc::Requestbulk_acl_apply> {};

struct AclCountersEnabledSet
     : Setter<&Rpc::Requestacl_counters_enabled_set, &orv::acl_mgr::acl_counters_enabled_set,
              &AclCountersEnabledSetRequest::key, &AclCountersEnabledSetRequest::enabled> {};
struct BulkAclCountersEnabledSet : BulkOf<AclCountersEnabledSet, &Rpc::Requestbulk_acl_counters_enabled_set> {
};

struct AclFragmentsEnabledSet
     : Setter<&Rpc::Requestacl_fragments_enabled_set, &orv::acl_mgr::acl_fragments_enabled_set,
              &AclFragmentsEnabledSetRequest::key, &AclFragmentsEnabledSetRequest::enabled> {};
struct BulkAclFragmentsEnabledSet
     : BulkOf<AclFragmentsEnabledSet, &Rpc::Requestbulk_acl_fragments_enabled_set> {};

// In the next two, the order of the conversions decides which of two bad fields the error names.

struct StreamAllowed : RpcOf<&Rpc::Requeststream_allowed> {
   static Response impl(const Request& request, AclService& service) {
      const orv::ip_addr_t dst = types::ip_addr(request.dst());
      const orv::ip_addr_t src = types::ip_addr(request.src());
      Response response;
      response.set_allowed(service.manager().stream_allowed(src, dst, request.ip_protocol(),
                                                            request.src_port(), request.dst_port()));
      return response;
   }
};

struct DgramAllowed : RpcOf<&Rpc::Requestdgram_allowed> {
   static Response impl(const Request& request, AclService& service) {
      const orv::intf_id_t intf = convert(request.intf());
      const orv::ip_addr_t dst = types::ip_addr(request.dst());
      const orv::ip_addr_t src = types::ip_addr(request.src());
      Response response;
      response.set_allowed(service.manager().dgram_allowed(src, dst, intf, request.ip_length(),
                                                           request.ip_protocol(), request.src_port(),
                                                           request.dst_port()));
      return response;
   }
};

}  // namespace

AclService::AclService(orv::acl_mgr* mgr) : MirrorService("acl"), orv::acl_handler(mgr) {}

AclService::~AclService() = default;

void AclService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<IteratorStreamingHandler, Acls>(*this);
   registerAdapter<IteratorStreamingHandler, AclsAll>(*this);
   registerAdapter<IteratorStreamingHandler, AclRuleIps>(*this);
   registerAdapter<IteratorStreamingHandler, AclAllRuleIps>(*this);
   registerAdapter<IteratorStreamingHandler, AclRuleEths>(*this);
   registerAdapter<IteratorStreamingHandler, AclAllRuleEths>(*this);
   registerAdapter<UnaryRequestHandler, AclExists>(*this);
   registerAdapter<UnaryRequestHandler, AclAllExists>(*this);
   registerAdapter<UnaryRequestHandler, AclRuleSet>(*this);
   registerAdapter<BulkRequestHandler, BulkAclRuleSet>(*this);
   registerAdapter<UnaryRequestHandler, AclRuleDel>(*this);
   registerAdapter<BulkRequestHandler, BulkAclRuleDel>(*this);
   registerAdapter<UnaryRequestHandler, AclCommit>(*this);
   registerAdapter<UnaryRequestHandler, AclDel>(*this);
   registerAdapter<BulkRequestHandler, BulkAclDel>(*this);
   registerAdapter<UnaryRequestHandler, AclApply>(*this);
   registerAdapter<BulkRequestHandler, BulkAclApply>(*this);
   registerAdapter<UnaryRequestHandler, AclCountersEnabledSet>(*this);
   registerAdapter<BulkRequestHandler, BulkAclCountersEnabledSet>(*this);
   registerAdapter<UnaryRequestHandler, AclFragmentsEnabledSet>(*this);
   registerAdapter<BulkRequestHandler, BulkAclFragmentsEnabledSet>(*this);
   registerAdapter<UnaryRequestHandler, StreamAllowed>(*this);
   registerAdapter<UnaryRequestHandler, DgramAllowed>(*this);
}

void AclService::on_acl_sync() {
   AclWatchResponse response;
   response.mutable_on_acl_sync();
   subscriptions_.publish(response);
}

void AclService::on_acl_sync_fail(const std::string& source, const std::string& message) {
   AclWatchResponse response;
   OnAclSyncFail& fail = *response.mutable_on_acl_sync_fail();
   fail.set_source(errorText(source));
   fail.set_message(errorText(message));
   subscriptions_.publish(response);
}

}  // namespace OrvSdkRpc
