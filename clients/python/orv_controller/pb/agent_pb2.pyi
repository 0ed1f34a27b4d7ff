from orv_controller.pb import status_pb2 as _status_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class AgentBulkStatusDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AgentStatusDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AgentStatusDelRequest, _Mapping]]] = ...) -> None: ...

class AgentBulkStatusDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class AgentBulkStatusSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[AgentStatusSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[AgentStatusSetRequest, _Mapping]]] = ...) -> None: ...

class AgentBulkStatusSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class AgentEnabledRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AgentEnabledResponse(_message.Message):
    __slots__ = ["enabled"]
    ENABLED_FIELD_NUMBER: _ClassVar[int]
    enabled: bool
    def __init__(self, enabled: bool = ...) -> None: ...

class AgentIdRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentIdResponse(_message.Message):
    __slots__ = ["id"]
    ID_FIELD_NUMBER: _ClassVar[int]
    id: int
    def __init__(self, id: _Optional[int] = ...) -> None: ...

class AgentOption(_message.Message):
    __slots__ = ["name", "value"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    VALUE_FIELD_NUMBER: _ClassVar[int]
    name: str
    value: str
    def __init__(self, name: _Optional[str] = ..., value: _Optional[str] = ...) -> None: ...

class AgentOptionExistsRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentOptionExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class AgentOptionRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentOptionResponse(_message.Message):
    __slots__ = ["value"]
    VALUE_FIELD_NUMBER: _ClassVar[int]
    value: str
    def __init__(self, value: _Optional[str] = ...) -> None: ...

class AgentOptionsRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AgentOptionsResponse(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentPingRequest(_message.Message):
    __slots__ = ["payload"]
    PAYLOAD_FIELD_NUMBER: _ClassVar[int]
    payload: str
    def __init__(self, payload: _Optional[str] = ...) -> None: ...

class AgentPingResponse(_message.Message):
    __slots__ = ["payload", "received", "responded"]
    PAYLOAD_FIELD_NUMBER: _ClassVar[int]
    RECEIVED_FIELD_NUMBER: _ClassVar[int]
    RESPONDED_FIELD_NUMBER: _ClassVar[int]
    payload: str
    received: int
    responded: int
    def __init__(self, payload: _Optional[str] = ..., received: _Optional[int] = ..., responded: _Optional[int] = ...) -> None: ...

class AgentStatusDelRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentStatusDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AgentStatusRequest(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentStatusResponse(_message.Message):
    __slots__ = ["value"]
    VALUE_FIELD_NUMBER: _ClassVar[int]
    value: str
    def __init__(self, value: _Optional[str] = ...) -> None: ...

class AgentStatusSetRequest(_message.Message):
    __slots__ = ["name", "value"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    VALUE_FIELD_NUMBER: _ClassVar[int]
    name: str
    value: str
    def __init__(self, name: _Optional[str] = ..., value: _Optional[str] = ...) -> None: ...

class AgentStatusSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AgentStatusesRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AgentStatusesResponse(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class AgentUptimeRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class AgentUptimeResponse(_message.Message):
    __slots__ = ["uptime"]
    UPTIME_FIELD_NUMBER: _ClassVar[int]
    uptime: float
    def __init__(self, uptime: _Optional[float] = ...) -> None: ...

class WatchAgentRequest(_message.Message):
    __slots__ = ["ack"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    def __init__(self, ack: bool = ...) -> None: ...

class WatchAgentResponse(_message.Message):
    __slots__ = ["ack", "agent_option"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    AGENT_OPTION_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    agent_option: AgentOption
    def __init__(self, agent_option: _Optional[_Union[AgentOption, _Mapping]] = ..., ack: bool = ...) -> None: ...
