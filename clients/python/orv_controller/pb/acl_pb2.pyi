from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class AclAllExistsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclAllExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class AclAllRuleEthsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclAllRuleEthsResponse(_message.Message):
    __slots__ = ["entry"]
    ENTRY_FIELD_NUMBER: _ClassVar[int]
    entry: AclRuleEthEntry
    def __init__(self, entry: _Optional[_Union[AclRuleEthEntry, _Mapping]] = ...) -> None: ...

class AclAllRuleIpsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclAllRuleIpsResponse(_message.Message):
    __slots__ = ["entry"]
    ENTRY_FIELD_NUMBER: _ClassVar[int]
    entry: AclRuleIpEntry
    def __init__(self, entry: _Optional[_Union[AclRuleIpEntry, _Mapping]] = ...) -> None: ...

class AclApplyRequest(_message.Message):
    __slots__ = ["apply", "direction", "intf", "key"]
    APPLY_FIELD_NUMBER: _ClassVar[int]
    DIRECTION_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    apply: bool
    direction: _types_pb2.AclDirection
    intf: _types_pb2.IntfId
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ..., intf: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., direction: _Optional[_Union[_types_pb2.AclDirection, str]] = ..., apply: bool = ...) -> None: ...

class AclApplyResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclCommitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclCommitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclCountersEnabledSetRequest(_message.Message):
    __slots__ = ["enabled", "key"]
    ENABLED_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    enabled: bool
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ..., enabled: bool = ...) -> None: ...

class AclCountersEnabledSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclDelRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclExistsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class AclFragmentsEnabledSetRequest(_message.Message):
    __slots__ = ["enabled", "key"]
    ENABLED_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    enabled: bool
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ..., enabled: bool = ...) -> None: ...

class AclFragmentsEnabledSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclRuleDelRequest(_message.Message):
    __slots__ = ["key", "seq"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    SEQ_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    seq: int
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ..., seq: _Optional[int] = ...) -> None: ...

class AclRuleDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclRuleEthEntry(_message.Message):
    __slots__ = ["rule", "seq"]
    RULE_FIELD_NUMBER: _ClassVar[int]
    SEQ_FIELD_NUMBER: _ClassVar[int]
    rule: _types_pb2.AclRuleEth
    seq: int
    def __init__(self, seq: _Optional[int] = ..., rule: _Optional[_Union[_types_pb2.AclRuleEth, _Mapping]] = ...) -> None: ...

class AclRuleEthsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclRuleEthsResponse(_message.Message):
    __slots__ = ["entry"]
    ENTRY_FIELD_NUMBER: _ClassVar[int]
    entry: AclRuleEthEntry
    def __init__(self, entry: _Optional[_Union[AclRuleEthEntry, _Mapping]] = ...) -> None: ...

class AclRuleIpEntry(_message.Message):
    __slots__ = ["rule", "seq"]
    RULE_FIELD_NUMBER: _ClassVar[int]
    SEQ_FIELD_NUMBER: _ClassVar[int]
    rule: _types_pb2.AclRuleIp
    seq: int
    def __init__(self, seq: _Optional[int] = ..., rule: _Optional[_Union[_types_pb2.AclRuleIp, _Mapping]] = ...) -> None: ...

class AclRuleIpsRequest(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclRuleIpsResponse(_message.Message):
    __slots__ = ["entry"]
    ENTRY_FIELD_NUMBER: _ClassVar[int]
    entry: AclRuleIpEntry
    def __init__(self, entry: _Optional[_Union[AclRuleIpEntry, _Mapping]] = ...) -> None: ...

class AclRuleSetRequest(_message.Message):
    __slots__ = ["eth_rule", "ip_rule", "key", "seq"]
    ETH_RULE_FIELD_NUMBER: _ClassVar[int]
    IP_RULE_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    SEQ_FIELD_NUMBER: _ClassVar[int]
    eth_rule: _types_pb2.AclRuleEth
    ip_rule: _types_pb2.AclRuleIp
    key: _types_pb2.AclKey
    seq: int
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ..., seq: _Optional[int] = ..., ip_rule: _Optional[_Union[_types_pb2.AclRuleIp, _Mapping]] = ..., eth_rule: _Optional[_Union[_types_pb2.AclRuleEth, _Mapping]] = ...) -> None: ...

class AclRuleSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclWatchRequest(_message.Message):
    __slots__ = ["ack"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    def __init__(self, ack: bool = ...) -> None: ...

class AclWatchResponse(_message.Message):
    __slots__ = ["ack", "on_acl_sync", "on_acl_sync_fail"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ON_ACL_SYNC_FAIL_FIELD_NUMBER: _ClassVar[int]
    ON_ACL_SYNC_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    on_acl_sync: OnAclSync
    on_acl_sync_fail: OnAclSyncFail
    def __init__(self, ack: bool = ..., on_acl_sync: _Optional[_Union[OnAclSync, _Mapping]] = ..., on_acl_sync_fail: _Optional[_Union[OnAclSyncFail, _Mapping]] = ...) -> None: ...

class AclsAllRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclsAllResponse(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class AclsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AclsResponse(_message.Message):
    __slots__ = ["key"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.AclKey
    def __init__(self, key: _Optional[_Union[_types_pb2.AclKey, _Mapping]] = ...) -> None: ...

class BulkAclApplyRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AclApplyRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AclApplyRequest, _Mapping]]] = ...) -> None: ...

class BulkAclApplyResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkAclCountersEnabledSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AclCountersEnabledSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AclCountersEnabledSetRequest, _Mapping]]] = ...) -> None: ...

class BulkAclCountersEnabledSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkAclDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AclDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AclDelRequest, _Mapping]]] = ...) -> None: ...

class BulkAclDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkAclFragmentsEnabledSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AclFragmentsEnabledSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AclFragmentsEnabledSetRequest, _Mapping]]] = ...) -> None: ...

class BulkAclFragmentsEnabledSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkAclRuleDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AclRuleDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AclRuleDelRequest, _Mapping]]] = ...) -> None: ...

class BulkAclRuleDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkAclRuleSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AclRuleSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AclRuleSetRequest, _Mapping]]] = ...) -> None: ...

class BulkAclRuleSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class DgramAllowedRequest(_message.Message):
    __slots__ = ["dst", "dst_port", "intf", "ip_length", "ip_protocol", "src", "src_port"]
    DST_FIELD_NUMBER: _ClassVar[int]
    DST_PORT_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    IP_LENGTH_FIELD_NUMBER: _ClassVar[int]
    IP_PROTOCOL_FIELD_NUMBER: _ClassVar[int]
    SRC_FIELD_NUMBER: _ClassVar[int]
    SRC_PORT_FIELD_NUMBER: _ClassVar[int]
    dst: bytes
    dst_port: int
    intf: _types_pb2.IntfId
    ip_length: int
    ip_protocol: int
    src: bytes
    src_port: int
    def __init__(self, src: _Optional[bytes] = ..., dst: _Optional[bytes] = ..., intf: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., ip_length: _Optional[int] = ..., ip_protocol: _Optional[int] = ..., src_port: _Optional[int] = ..., dst_port: _Optional[int] = ...) -> None: ...

class DgramAllowedResponse(_message.Message):
    __slots__ = ["allowed"]
    ALLOWED_FIELD_NUMBER: _ClassVar[int]
    allowed: bool
    def __init__(self, allowed: bool = ...) -> None: ...

class OnAclSync(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class OnAclSyncFail(_message.Message):
    __slots__ = ["message", "source"]
    MESSAGE_FIELD_NUMBER: _ClassVar[int]
    SOURCE_FIELD_NUMBER: _ClassVar[int]
    message: str
    source: str
    def __init__(self, source: _Optional[str] = ..., message: _Optional[str] = ...) -> None: ...

class StreamAllowedRequest(_message.Message):
    __slots__ = ["dst", "dst_port", "ip_protocol", "src", "src_port"]
    DST_FIELD_NUMBER: _ClassVar[int]
    DST_PORT_FIELD_NUMBER: _ClassVar[int]
    IP_PROTOCOL_FIELD_NUMBER: _ClassVar[int]
    SRC_FIELD_NUMBER: _ClassVar[int]
    SRC_PORT_FIELD_NUMBER: _ClassVar[int]
    dst: bytes
    dst_port: int
    ip_protocol: int
    src: bytes
    src_port: int
    def __init__(self, src: _Optional[bytes] = ..., dst: _Optional[bytes] = ..., ip_protocol: _Optional[int] = ..., src_port: _Optional[int] = ..., dst_port: _Optional[int] = ...) -> None: ...

class StreamAllowedResponse(_message.Message):
    __slots__ = ["allowed"]
    ALLOWED_FIELD_NUMBER: _ClassVar[int]
    allowed: bool
    def __init__(self, allowed: bool = ...) -> None: ...
