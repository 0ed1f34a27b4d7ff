// GoogleMock over orv::acl_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/acl.h"

namespace orvtest {

class MockAclMgr : public orv::acl_mgr {
public:
   MOCK_METHOD(orv::acl_iter_t, acl_iter, (), (const, override));
   MOCK_METHOD(orv::acl_iter_t, acl_all_iter, (), (const, override));
   MOCK_METHOD(orv::acl_rule_ip_iter_t, acl_rule_ip_iter, (const orv::acl_key_t&), (const, override));
   MOCK_METHOD(orv::acl_rule_ip_iter_t, acl_all_rule_ip_iter, (const orv::acl_key_t&), (const, override));
   MOCK_METHOD(orv::acl_rule_eth_iter_t, acl_rule_eth_iter, (const orv::acl_key_t&), (const, override));
   MOCK_METHOD(orv::acl_rule_eth_iter_t, acl_all_rule_eth_iter, (const orv::acl_key_t&), (const, override));
   MOCK_METHOD(bool, acl_exists, (const orv::acl_key_t&), (const, override));
   MOCK_METHOD(bool, acl_all_exists, (const orv::acl_key_t&), (const, override));
   MOCK_METHOD(void, acl_rule_set, (const orv::acl_key_t&, unsigned int, const orv::acl_rule_ip_t&),
               (override));
   MOCK_METHOD(void, acl_rule_set, (const orv::acl_key_t&, unsigned int, const orv::acl_rule_eth_t&),
               (override));
   MOCK_METHOD(void, acl_rule_del, (const orv::acl_key_t&, unsigned int), (override));
   MOCK_METHOD(void, acl_del, (const orv::acl_key_t&), (override));
   MOCK_METHOD(void, acl_commit, (), (override));
   MOCK_METHOD(void, acl_apply, (const orv::acl_key_t&, const orv::intf_id_t&, orv::acl_direction_t, bool),
               (override));
   MOCK_METHOD(void, acl_counters_enabled_set, (const orv::acl_key_t&, bool), (override));
   MOCK_METHOD(void, acl_fragments_enabled_set, (const orv::acl_key_t&, bool), (override));
   MOCK_METHOD(bool, stream_allowed,
               (const orv::ip_addr_t&, const orv::ip_addr_t&, std::uint32_t, std::uint32_t, std::uint32_t),
               (const, override));
   MOCK_METHOD(bool, dgram_allowed,
               (const orv::ip_addr_t&, const orv::ip_addr_t&, const orv::intf_id_t&, std::uint32_t,
                std::uint32_t, std::uint32_t, std::uint32_t),
               (const, override));
};

}  // namespace orvtest
