#include "OrvSdkRpc/mirror/AclService.h"

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/ErrorText.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Rpc = AclService::AsyncService;
using types::convert;

struct Watch {
   static constexpr auto method = &Rpc::Requestwatch;
};

// Rp is a response that holds a key alone.
template <class Rp>
Rp keyResponse(const orv::acl_key_t& key) {
   Rp response;
   *response.mutable_key() = convert(key);
   return response;
}

struct Acls {
   static constexpr auto method = &Rpc::Requestacls;
   static auto iterator(AclService& service) { return service.get_acl_mgr()->acl_iter(); }
   static constexpr auto convert = keyResponse<AclsResponse>;
};

struct AclsAll {
   static constexpr auto method = &Rpc::Requestacls_all;
   static auto iterator(AclService& service) { return service.get_acl_mgr()->acl_all_iter(); }
   static constexpr auto convert = keyResponse<AclsAllResponse>;
};

// Rp is a response that holds one sequence number with its rule.
template <class Rp, class Entry>
Rp ruleResponse(const Entry& entry) {
   Rp response;
   auto& message = *response.mutable_entry();
   message.set_seq(entry.first);
   *message.mutable_rule() = convert(entry.second);
   return response;
}

struct AclRuleIps {
   static constexpr auto method = &Rpc::Requestacl_rule_ips;
   static auto iterator(const AclRuleIpsRequest& request, AclService& service) {
      return service.get_acl_mgr()->acl_rule_ip_iter(types::convert(request.key()));
   }
   static constexpr auto convert = ruleResponse<AclRuleIpsResponse, orv::acl_rule_ip_entry_t>;
};

struct AclAllRuleIps {
   static constexpr auto method = &Rpc::Requestacl_all_rule_ips;
   static auto iterator(const AclAllRuleIpsRequest& request, AclService& service) {
      return service.get_acl_mgr()->acl_all_rule_ip_iter(types::convert(request.key()));
   }
   static constexpr auto convert = ruleResponse<AclAllRuleIpsResponse, orv::acl_rule_ip_entry_t>;
};

struct AclRuleEths {
   static constexpr auto method = &Rpc::Requestacl_rule_eths;
   static auto iterator(const AclRuleEthsRequest& request, AclService& service) {
      return service.get_acl_mgr()->acl_rule_eth_iter(types::convert(request.key()));
   }
   static constexpr auto convert = ruleResponse<AclRuleEthsResponse, orv::acl_rule_eth_entry_t>;
};

struct AclAllRuleEths {
   static constexpr auto method = &Rpc::Requestacl_all_rule_eths;
   static auto iterator(const AclAllRuleEthsRequest& request, AclService& service) {
      return service.get_acl_mgr()->acl_all_rule_eth_iter(types::convert(request.key()));
   }
   static constexpr auto convert = ruleResponse<AclAllRuleEthsResponse, orv::acl_rule_eth_entry_t>;
};

struct AclExists {
   static constexpr auto method = &Rpc::Requestacl_exists;
   static AclExistsResponse impl(const AclExistsRequest& request, AclService& service) {
      AclExistsResponse response;
      response.set_exists(service.get_acl_mgr()->acl_exists(convert(request.key())));
      return response;
   }
};

struct AclAllExists {
   static constexpr auto method = &Rpc::Requestacl_all_exists;
   static AclAllExistsResponse impl(const AclAllExistsRequest& request, AclService& service) {
      AclAllExistsResponse response;
      response.set_exists(service.get_acl_mgr()->acl_all_exists(convert(request.key())));
      return response;
   }
};

struct AclRuleSet {
   static constexpr auto method = &Rpc::Requestacl_rule_set;
   static AclRuleSetResponse impl(const AclRuleSetRequest& request, AclService& service) {
      // Of a bad rule and a bad key the rule is the one that is reported.
      const auto set = [&](const auto& rule) {
         service.get_acl_mgr()->acl_rule_set(convert(request.key()), request.seq(), rule);
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

struct BulkAclRuleSet : AclRuleSet {
   static constexpr auto method = &Rpc::Requestbulk_acl_rule_set;
};

struct AclRuleDel {
   static constexpr auto method = &Rpc::Requestacl_rule_del;
   static AclRuleDelResponse impl(const AclRuleDelRequest& request, AclService& service) {
      service.get_acl_mgr()->acl_rule_del(convert(request.key()), request.seq());
      return {};
   }
};

struct BulkAclRuleDel : AclRuleDel {
   static constexpr auto method = &Rpc::Requestbulk_acl_rule_del;
};

struct AclCommit {
   static constexpr auto method = &Rpc::Requestacl_commit;
   static AclCommitResponse impl(const AclCommitRequest&, AclService& service) {
      service.get_acl_mgr()->acl_commit();
      return {};
   }
};

struct AclDel {
   static constexpr auto method = &Rpc::Requestacl_del;
   static AclDelResponse impl(const AclDelRequest& request, AclService& service) {
      service.get_acl_mgr()->acl_del(convert(request.key()));
      return {};
   }
};

struct BulkAclDel : AclDel {
   static constexpr auto method = &Rpc::Requestbulk_acl_del;
};

struct AclApply {
   static constexpr auto method = &Rpc::Requestacl_apply;
   static AclApplyResponse impl(const AclApplyRequest& request, AclService& service) {
      const orv::acl_key_t key = convert(request.key());
      const orv::intf_id_t intf = convert(request.intf());
      const orv::acl_direction_t direction = convert(request.direction());
      service.get_acl_mgr()->acl_apply(key, intf, direction, request.apply());
      return {};
   }
};

struct BulkAclApply : AclApply {
   static constexpr auto method = &Rpc::Requestbulk_acl_apply;
};

struct AclCountersEnabledSet {
   static constexpr auto method = &Rpc::Requestacl_counters_enabled_set;
   static AclCountersEnabledSetResponse impl(const AclCountersEnabledSetRequest& request,
                                             AclService& service) {
      service.get_acl_mgr()->acl_counters_enabled_set(convert(request.key()), request.enabled());
      return {};
   }
};

struct BulkAclCountersEnabledSet : AclCountersEnabledSet {
   static constexpr auto method = &Rpc::Requestbulk_acl_counters_enabled_set;
};

struct AclFragmentsEnabledSet {
   static constexpr auto method = &Rpc::Requestacl_fragments_enabled_set;
   static AclFragmentsEnabledSetResponse impl(const AclFragmentsEnabledSetRequest& request,
                                              AclService& service) {
      service.get_acl_mgr()->acl_fragments_enabled_set(convert(request.key()), request.enabled());
      return {};
   }
};

struct BulkAclFragmentsEnabledSet : AclFragmentsEnabledSet {
   static constexpr auto method = &Rpc::Requestbulk_acl_fragments_enabled_set;
};

// In the two below the order of the conversions decides which of two bad fields is reported.

struct StreamAllowed {
   static constexpr auto method = &Rpc::Requeststream_allowed;
   static StreamAllowedResponse impl(const StreamAllowedRequest& request, AclService& service) {
      const orv::ip_addr_t dst = types::ip_addr(request.dst());
      const orv::ip_addr_t src = types::ip_addr(request.src());
      StreamAllowedResponse response;
      response.set_allowed(service.get_acl_mgr()->stream_allowed(src, dst, request.ip_protocol(),
                                                                 request.src_port(), request.dst_port()));
      return response;
   }
};

struct DgramAllowed {
   static constexpr auto method = &Rpc::Requestdgram_allowed;
   static DgramAllowedResponse impl(const DgramAllowedRequest& request, AclService& service) {
      const orv::intf_id_t intf = convert(request.intf());
      const orv::ip_addr_t dst = types::ip_addr(request.dst());
      const orv::ip_addr_t src = types::ip_addr(request.src());
      DgramAllowedResponse response;
      response.set_allowed(service.get_acl_mgr()->dgram_allowed(src, dst, intf, request.ip_length(),
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
   subscriptions_.publish<Watch>(response);
}

void AclService::on_acl_sync_fail(const std::string& source, const std::string& message) {
   AclWatchResponse response;
   OnAclSyncFail& fail = *response.mutable_on_acl_sync_fail();
   fail.set_source(errorText(source));
   fail.set_message(errorText(message));
   subscriptions_.publish<Watch>(response);
}

}  // namespace OrvSdkRpc
