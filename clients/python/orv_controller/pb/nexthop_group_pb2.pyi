from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
NEXTHOP_GROUP_FIELD_ACTIVE_STATUS: NexthopGroupField
NEXTHOP_GROUP_FIELD_ALL: NexthopGroupField
NEXTHOP_GROUP_FIELD_NEXTHOP_GROUP: NexthopGroupField
NEXTHOP_GROUP_FIELD_PROGRAMMED: NexthopGroupField
NEXTHOP_GROUP_FIELD_PROGRAMMED_STATUS: NexthopGroupField
NEXTHOP_GROUP_FIELD_VERSION: NexthopGroupField

class BulkNexthopGroupDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[NexthopGroupDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[NexthopGroupDelRequest, _Mapping]]] = ...) -> None: ...

class BulkNexthopGroupDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkNexthopGroupSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[NexthopGroupSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[NexthopGroupSetRequest, _Mapping]]] = ...) -> None: ...

class BulkNexthopGroupSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class CounterRequest(_message.Message):
    __slots__ = ["entry", "name"]
    ENTRY_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    entry: int
    name: str
    def __init__(self, name: _Optional[str] = ..., entry: _Optional[int] = ...) -> None: ...

class CounterResponse(_message.Message):
    __slots__ = ["counter"]
    COUNTER_FIELD_NUMBER: _ClassVar[int]
    counter: _types_pb2.NexthopGroupCounter
    def __init__(self, counter: _Optional[_Union[_types_pb2.NexthopGroupCounter, _Mapping]] = ...) -> None: ...

class NexthopGroupActiveRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class NexthopGroupActiveResponse(_message.Message):
    __slots__ = ["active"]
    ACTIVE_FIELD_NUMBER: _ClassVar[int]
    active: bool
    def __init__(self, active: bool = ...) -> None: ...

class NexthopGroupCountersRequest(_message.Message):
    __slots__ = ["all", "name", "regex"]
    ALL_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    REGEX_FIELD_NUMBER: _ClassVar[int]
    all: bool
    name: str
    regex: str
    def __init__(self, all: bool = ..., name: _Optional[str] = ..., regex: _Optional[str] = ...) -> None: ...

class NexthopGroupCountersResponse(_message.Message):
    __slots__ = ["counters", "name"]
    COUNTERS_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    counters: _containers.RepeatedCompositeFieldContainer[_types_pb2.NexthopGroupCounter]
    name: str
    def __init__(self, name: _Optional[str] = ..., counters: _Optional[_Iterable[_Union[_types_pb2.NexthopGroupCounter, _Mapping]]] = ...) -> None: ...

class NexthopGroupDelRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class NexthopGroupDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class NexthopGroupExistsRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class NexthopGroupExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class NexthopGroupFieldsControl(_message.Message):
    __slots__ = ["fields"]
    FIELDS_FIELD_NUMBER: _ClassVar[int]
    fields: _containers.RepeatedScalarFieldContainer[NexthopGroupField]
    def __init__(self, fields: _Optional[_Iterable[_Union[NexthopGroupField, str]]] = ...) -> None: ...

class NexthopGroupRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class NexthopGroupResponse(_message.Message):
    __slots__ = ["nexthop_group"]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    nexthop_group: _types_pb2.NexthopGroup
    def __init__(self, nexthop_group: _Optional[_Union[_types_pb2.NexthopGroup, _Mapping]] = ...) -> None: ...

class NexthopGroupSetRequest(_message.Message):
    __slots__ = ["nexthop_group", "version_id"]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    nexthop_group: _types_pb2.NexthopGroup
    version_id: int
    def __init__(self, nexthop_group: _Optional[_Union[_types_pb2.NexthopGroup, _Mapping]] = ..., version_id: _Optional[int] = ...) -> None: ...

class NexthopGroupSetResponse(_message.Message):
    __slots__ = ["version_id"]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    version_id: int
    def __init__(self, version_id: _Optional[int] = ...) -> None: ...

class NexthopGroupsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class NexthopGroupsResponse(_message.Message):
    __slots__ = ["nexthop_group"]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    nexthop_group: _types_pb2.NexthopGroup
    def __init__(self, nexthop_group: _Optional[_Union[_types_pb2.NexthopGroup, _Mapping]] = ...) -> None: ...

class OnNexthopGroupProgrammed(_message.Message):
    __slots__ = ["counter_state", "hw_state"]
    COUNTER_STATE_FIELD_NUMBER: _ClassVar[int]
    HW_STATE_FIELD_NUMBER: _ClassVar[int]
    counter_state: _types_pb2.NexthopGroupCounterState
    hw_state: _types_pb2.NexthopGroupProgrammedHwState
    def __init__(self, hw_state: _Optional[_Union[_types_pb2.NexthopGroupProgrammedHwState, str]] = ..., counter_state: _Optional[_Union[_types_pb2.NexthopGroupCounterState, str]] = ...) -> None: ...

class ProgrammedNexthopGroupRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class ProgrammedNexthopGroupResponse(_message.Message):
    __slots__ = ["nexthop_group"]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    nexthop_group: _types_pb2.NexthopGroup
    def __init__(self, nexthop_group: _Optional[_Union[_types_pb2.NexthopGroup, _Mapping]] = ...) -> None: ...

class ProgrammedNexthopGroupsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ProgrammedNexthopGroupsResponse(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class ResyncNexthopGroupCompleteRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ResyncNexthopGroupCompleteResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ResyncNexthopGroupInitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ResyncNexthopGroupInitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class WatchNexthopGroupRequest(_message.Message):
    __slots__ = ["ack", "all", "fields_control", "name"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ALL_FIELD_NUMBER: _ClassVar[int]
    FIELDS_CONTROL_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    all: bool
    fields_control: NexthopGroupFieldsControl
    name: str
    def __init__(self, all: bool = ..., name: _Optional[str] = ..., fields_control: _Optional[_Union[NexthopGroupFieldsControl, _Mapping]] = ..., ack: bool = ...) -> None: ...

class WatchNexthopGroupResponse(_message.Message):
    __slots__ = ["ack", "active", "name", "nexthop_group", "nhg_programmed", "on_nexthop_group_programmed", "version_id"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ACTIVE_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    NHG_PROGRAMMED_FIELD_NUMBER: _ClassVar[int]
    ON_NEXTHOP_GROUP_PROGRAMMED_FIELD_NUMBER: _ClassVar[int]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    active: bool
    name: str
    nexthop_group: _types_pb2.NexthopGroup
    nhg_programmed: bool
    on_nexthop_group_programmed: OnNexthopGroupProgrammed
    version_id: int
    def __init__(self, name: _Optional[str] = ..., nexthop_group: _Optional[_Union[_types_pb2.NexthopGroup, _Mapping]] = ..., on_nexthop_group_programmed: _Optional[_Union[OnNexthopGroupProgrammed, _Mapping]] = ..., version_id: _Optional[int] = ..., active: bool = ..., nhg_programmed: bool = ..., ack: bool = ...) -> None: ...

class NexthopGroupField(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
