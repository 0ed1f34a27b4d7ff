from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
POLICY_MAP_EVENT_CONFIG_SET: PolicyMapEvent
POLICY_MAP_EVENT_SYNC: PolicyMapEvent
POLICY_MAP_EVENT_TRAFFIC_POLICY_CONFIG_SET: PolicyMapEvent
POLICY_MAP_EVENT_UNSPECIFIED: PolicyMapEvent

class BulkPolicyMapApplyRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[PolicyMapApplyRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[PolicyMapApplyRequest, _Mapping]]] = ...) -> None: ...

class BulkPolicyMapApplyResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkPolicyMapDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[PolicyMapDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[PolicyMapDelRequest, _Mapping]]] = ...) -> None: ...

class BulkPolicyMapDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkPolicyMapIsRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[PolicyMapIsRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[PolicyMapIsRequest, _Mapping]]] = ...) -> None: ...

class BulkPolicyMapIsResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkTrafficPolicyApplyRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[TrafficPolicyApplyRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[TrafficPolicyApplyRequest, _Mapping]]] = ...) -> None: ...

class BulkTrafficPolicyApplyResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkTrafficPolicyDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[TrafficPolicyDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[TrafficPolicyDelRequest, _Mapping]]] = ...) -> None: ...

class BulkTrafficPolicyDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkTrafficPolicyIsRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[TrafficPolicyIsRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[TrafficPolicyIsRequest, _Mapping]]] = ...) -> None: ...

class BulkTrafficPolicyIsResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class PolicyMapApplyRequest(_message.Message):
    __slots__ = ["apply", "direction", "intf_id", "key"]
    APPLY_FIELD_NUMBER: _ClassVar[int]
    DIRECTION_FIELD_NUMBER: _ClassVar[int]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    apply: bool
    direction: _types_pb2.AclDirection
    intf_id: _types_pb2.IntfId
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ..., intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., direction: _Optional[_Union[_types_pb2.AclDirection, str]] = ..., apply: bool = ...) -> None: ...

class PolicyMapApplyResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapDelRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class PolicyMapDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapExistsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class PolicyMapExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class PolicyMapHwStatusRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class PolicyMapHwStatusResponse(_message.Message):
    __slots__ = ["statuses"]
    STATUSES_FIELD_NUMBER: _ClassVar[int]
    statuses: _types_pb2.PolicyMapHwStatuses
    def __init__(self, statuses: _Optional[_Union[_types_pb2.PolicyMapHwStatuses, _Mapping]] = ...) -> None: ...

class PolicyMapHwStatusesRequest(_message.Message):
    __slots__ = ["feature"]
    FEATURE_FIELD_NUMBER: _ClassVar[int]
    feature: _types_pb2.PolicyFeature
    def __init__(self, feature: _Optional[_Union[_types_pb2.PolicyFeature, str]] = ...) -> None: ...

class PolicyMapHwStatusesResponse(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class PolicyMapIsRequest(_message.Message):
    __slots__ = ["policy_map"]
    POLICY_MAP_FIELD_NUMBER: _ClassVar[int]
    policy_map: _types_pb2.PolicyMap
    def __init__(self, policy_map: _Optional[_Union[_types_pb2.PolicyMap, _Mapping]] = ...) -> None: ...

class PolicyMapIsResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class PolicyMapResponse(_message.Message):
    __slots__ = ["policy_map"]
    POLICY_MAP_FIELD_NUMBER: _ClassVar[int]
    policy_map: _types_pb2.PolicyMap
    def __init__(self, policy_map: _Optional[_Union[_types_pb2.PolicyMap, _Mapping]] = ...) -> None: ...

class PolicyMapResyncCompleteRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapResyncCompleteResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapResyncInitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapResyncInitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class PolicyMapWatchRequest(_message.Message):
    __slots__ = ["ack"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    def __init__(self, ack: bool = ...) -> None: ...

class PolicyMapWatchResponse(_message.Message):
    __slots__ = ["ack", "event", "key", "sync_fail_message"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    EVENT_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    SYNC_FAIL_MESSAGE_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    event: PolicyMapEvent
    key: _types_pb2.PolicyMapKey
    sync_fail_message: str
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ..., event: _Optional[_Union[PolicyMapEvent, str]] = ..., sync_fail_message: _Optional[str] = ..., ack: bool = ...) -> None: ...

class PolicyMapsRequest(_message.Message):
    __slots__ = ["feature"]
    FEATURE_FIELD_NUMBER: _ClassVar[int]
    feature: _types_pb2.PolicyFeature
    def __init__(self, feature: _Optional[_Union[_types_pb2.PolicyFeature, str]] = ...) -> None: ...

class PolicyMapsResponse(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class TrafficPoliciesRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class TrafficPoliciesResponse(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.PolicyMapKey
    def __init__(self, key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class TrafficPolicyApplyRequest(_message.Message):
    __slots__ = ["apply", "direction", "intf_id", "name"]
    APPLY_FIELD_NUMBER: _ClassVar[int]
    DIRECTION_FIELD_NUMBER: _ClassVar[int]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    apply: bool
    direction: _types_pb2.TrafficPolicyDirection
    intf_id: _types_pb2.IntfId
    name: str
    def __init__(self, name: _Optional[str] = ..., intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., direction: _Optional[_Union[_types_pb2.TrafficPolicyDirection, str]] = ..., apply: bool = ...) -> None: ...

class TrafficPolicyApplyResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class TrafficPolicyDelRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class TrafficPolicyDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class TrafficPolicyExistsRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class TrafficPolicyExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class TrafficPolicyIsRequest(_message.Message):
    __slots__ = ["traffic_policy"]
    TRAFFIC_POLICY_FIELD_NUMBER: _ClassVar[int]
    traffic_policy: _types_pb2.TrafficPolicy
    def __init__(self, traffic_policy: _Optional[_Union[_types_pb2.TrafficPolicy, _Mapping]] = ...) -> None: ...

class TrafficPolicyIsResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class TrafficPolicyRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class TrafficPolicyResponse(_message.Message):
    __slots__ = ["traffic_policy"]
    TRAFFIC_POLICY_FIELD_NUMBER: _ClassVar[int]
    traffic_policy: _types_pb2.TrafficPolicy
    def __init__(self, traffic_policy: _Optional[_Union[_types_pb2.TrafficPolicy, _Mapping]] = ...) -> None: ...

class PolicyMapEvent(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
