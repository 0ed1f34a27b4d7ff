// GoogleMock over orv::intf_mgr.
//
// Thread-safety: as GoogleMock's. Unlike a switch's manager, a mock does not check for the SDK's lock.
#pragma once

#include <gmock/gmock.h>

#include "orv/intf.h"

namespace orvtest {

class MockIntfMgr : public orv::intf_mgr {
public:
   MOCK_METHOD(orv::intf_iter_t, intf_iter, (), (const, override));
   MOCK_METHOD(bool, exists, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(bool, admin_enabled, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(void, admin_enabled_is, (const orv::intf_id_t&, bool), (override));
   MOCK_METHOD(std::string, description, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(void, description_is, (const orv::intf_id_t&, const std::string&), (override));
   MOCK_METHOD(orv::oper_status_t, oper_status, (const orv::intf_id_t&), (const, override));
   MOCK_METHOD(orv::intf_id_t, orv_intf_name, (const std::string&), (const, override));
   MOCK_METHOD(std::string, kernel_intf_name, (const orv::intf_id_t&), (const, override));
};

}  // namespace orvtest
