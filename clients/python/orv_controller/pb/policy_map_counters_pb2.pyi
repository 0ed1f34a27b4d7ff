from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
POLICY_MAP_COUNTERS_OPERATION_DELETE: PolicyMapCountersOperation
POLICY_MAP_COUNTERS_OPERATION_UPDATE: PolicyMapCountersOperation

class PolicyMapCounters(_message.Message):
    __slots__ = ["counters", "key", "key_name", "operation", "policy_action"]
    COUNTERS_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    KEY_NAME_FIELD_NUMBER: _ClassVar[int]
    OPERATION_FIELD_NUMBER: _ClassVar[int]
    POLICY_ACTION_FIELD_NUMBER: _ClassVar[int]
    counters: PolicyMapRuleCounters
    key: int
    key_name: PolicyMapCountersKey
    operation: PolicyMapCountersOperation
    policy_action: PolicyMapCountersAction
    def __init__(self, key_name: _Optional[_Union[PolicyMapCountersKey, _Mapping]] = ..., counters: _Optional[_Union[PolicyMapRuleCounters, _Mapping]] = ..., policy_action: _Optional[_Union[PolicyMapCountersAction, _Mapping]] = ..., key: _Optional[int] = ..., operation: _Optional[_Union[PolicyMapCountersOperation, str]] = ...) -> None: ...

class PolicyMapCountersAction(_message.Message):
    __slots__ = ["drop", "out"]
    DROP_FIELD_NUMBER: _ClassVar[int]
    OUT_FIELD_NUMBER: _ClassVar[int]
    drop: bool
    out: PolicyMapCountersOutAction
    def __init__(self, drop: bool = ..., out: _Optional[_Union[PolicyMapCountersOutAction, _Mapping]] = ...) -> None: ...

class PolicyMapCountersKey(_message.Message):
    __slots__ = ["class_name", "policy_map_key", "rule_name"]
    CLASS_NAME_FIELD_NUMBER: _ClassVar[int]
    POLICY_MAP_KEY_FIELD_NUMBER: _ClassVar[int]
    RULE_NAME_FIELD_NUMBER: _ClassVar[int]
    class_name: str
    policy_map_key: _types_pb2.PolicyMapKey
    rule_name: str
    def __init__(self, class_name: _Optional[str] = ..., rule_name: _Optional[str] = ..., policy_map_key: _Optional[_Union[_types_pb2.PolicyMapKey, _Mapping]] = ...) -> None: ...

class PolicyMapCountersNexthops(_message.Message):
    __slots__ = ["nexthops"]
    NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    nexthops: _containers.RepeatedScalarFieldContainer[bytes]
    def __init__(self, nexthops: _Optional[_Iterable[bytes]] = ...) -> None: ...

class PolicyMapCountersOutAction(_message.Message):
    __slots__ = ["nexthop_group_name", "nexthops", "ttl"]
    NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    TTL_FIELD_NUMBER: _ClassVar[int]
    nexthop_group_name: str
    nexthops: PolicyMapCountersNexthops
    ttl: int
    def __init__(self, nexthops: _Optional[_Union[PolicyMapCountersNexthops, _Mapping]] = ..., nexthop_group_name: _Optional[str] = ..., ttl: _Optional[int] = ...) -> None: ...

class PolicyMapCountersWatchRequest(_message.Message):
    __slots__ = ["compress_keys"]
    COMPRESS_KEYS_FIELD_NUMBER: _ClassVar[int]
    compress_keys: bool
    def __init__(self, compress_keys: bool = ...) -> None: ...

class PolicyMapCountersWatchResponse(_message.Message):
    __slots__ = ["data"]
    DATA_FIELD_NUMBER: _ClassVar[int]
    data: _containers.RepeatedCompositeFieldContainer[PolicyMapCounters]
    def __init__(self, data: _Optional[_Iterable[_Union[PolicyMapCounters, _Mapping]]] = ...) -> None: ...

class PolicyMapRuleCounters(_message.Message):
    __slots__ = ["bytes", "packets", "time"]
    BYTES_FIELD_NUMBER: _ClassVar[int]
    PACKETS_FIELD_NUMBER: _ClassVar[int]
    TIME_FIELD_NUMBER: _ClassVar[int]
    bytes: int
    packets: int
    time: float
    def __init__(self, packets: _Optional[int] = ..., bytes: _Optional[int] = ..., time: _Optional[float] = ...) -> None: ...

class PolicyMapCountersOperation(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
