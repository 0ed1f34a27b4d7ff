from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor

class BulkIpRouteDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[IpRouteDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[IpRouteDelRequest, _Mapping]]] = ...) -> None: ...

class BulkIpRouteDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkIpRouteSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[IpRouteSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[IpRouteSetRequest, _Mapping]]] = ...) -> None: ...

class BulkIpRouteSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkIpRouteViaDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[IpRouteViaDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[IpRouteViaDelRequest, _Mapping]]] = ...) -> None: ...

class BulkIpRouteViaDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkIpRouteViaSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[IpRouteViaSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[IpRouteViaSetRequest, _Mapping]]] = ...) -> None: ...

class BulkIpRouteViaSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class IpRouteDelRequest(_message.Message):
    __slots__ = ["key", "vrf_name"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.IpRouteKey
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., key: _Optional[_Union[_types_pb2.IpRouteKey, _Mapping]] = ...) -> None: ...

class IpRouteDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteExistsRequest(_message.Message):
    __slots__ = ["key", "vrf_name"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.IpRouteKey
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., key: _Optional[_Union[_types_pb2.IpRouteKey, _Mapping]] = ...) -> None: ...

class IpRouteExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class IpRouteRequest(_message.Message):
    __slots__ = ["key", "vrf_name"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.IpRouteKey
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., key: _Optional[_Union[_types_pb2.IpRouteKey, _Mapping]] = ...) -> None: ...

class IpRouteResponse(_message.Message):
    __slots__ = ["ip_route"]
    IP_ROUTE_FIELD_NUMBER: _ClassVar[int]
    ip_route: _types_pb2.IpRoute
    def __init__(self, ip_route: _Optional[_Union[_types_pb2.IpRoute, _Mapping]] = ...) -> None: ...

class IpRouteResyncCompleteRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteResyncCompleteResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteResyncInitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteResyncInitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteSetRequest(_message.Message):
    __slots__ = ["action", "ip_route", "vias", "vias_action", "vrf_name"]
    ACTION_FIELD_NUMBER: _ClassVar[int]
    IP_ROUTE_FIELD_NUMBER: _ClassVar[int]
    VIAS_ACTION_FIELD_NUMBER: _ClassVar[int]
    VIAS_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    action: _types_pb2.IpRouteActions
    ip_route: _types_pb2.IpRoute
    vias: _containers.RepeatedCompositeFieldContainer[_types_pb2.IpRouteVia]
    vias_action: int
    vrf_name: str
    def __init__(self, ip_route: _Optional[_Union[_types_pb2.IpRoute, _Mapping]] = ..., vias: _Optional[_Iterable[_Union[_types_pb2.IpRouteVia, _Mapping]]] = ..., vias_action: _Optional[int] = ..., action: _Optional[_Union[_types_pb2.IpRouteActions, str]] = ..., vrf_name: _Optional[str] = ...) -> None: ...

class IpRouteSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteViaDelRequest(_message.Message):
    __slots__ = ["via", "vrf_name"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.IpRouteVia
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., via: _Optional[_Union[_types_pb2.IpRouteVia, _Mapping]] = ...) -> None: ...

class IpRouteViaDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteViaExistsRequest(_message.Message):
    __slots__ = ["via", "vrf_name"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.IpRouteVia
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., via: _Optional[_Union[_types_pb2.IpRouteVia, _Mapping]] = ...) -> None: ...

class IpRouteViaExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class IpRouteViaSetRequest(_message.Message):
    __slots__ = ["via", "vrf_name"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.IpRouteVia
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., via: _Optional[_Union[_types_pb2.IpRouteVia, _Mapping]] = ...) -> None: ...

class IpRouteViaSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class IpRouteViasRequest(_message.Message):
    __slots__ = ["key", "vrf_name"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    key: _types_pb2.IpRouteKey
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., key: _Optional[_Union[_types_pb2.IpRouteKey, _Mapping]] = ...) -> None: ...

class IpRouteViasResponse(_message.Message):
    __slots__ = ["via"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.IpRouteVia
    def __init__(self, via: _Optional[_Union[_types_pb2.IpRouteVia, _Mapping]] = ...) -> None: ...

class IpRoutesRequest(_message.Message):
    __slots__ = ["embed_vias", "include_vias", "vias_only", "vni", "vrf_name", "vtep_addr", "vxlan_intf_id"]
    EMBED_VIAS_FIELD_NUMBER: _ClassVar[int]
    INCLUDE_VIAS_FIELD_NUMBER: _ClassVar[int]
    VIAS_ONLY_FIELD_NUMBER: _ClassVar[int]
    VNI_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    VTEP_ADDR_FIELD_NUMBER: _ClassVar[int]
    VXLAN_INTF_ID_FIELD_NUMBER: _ClassVar[int]
    embed_vias: bool
    include_vias: bool
    vias_only: bool
    vni: int
    vrf_name: str
    vtep_addr: bytes
    vxlan_intf_id: _types_pb2.IntfId
    def __init__(self, vrf_name: _Optional[str] = ..., vxlan_intf_id: _Optional[_Union[_types_pb2.IntfId, _Mapping]] = ..., vni: _Optional[int] = ..., vtep_addr: _Optional[bytes] = ..., include_vias: bool = ..., vias_only: bool = ..., embed_vias: bool = ...) -> None: ...

class IpRoutesResponse(_message.Message):
    __slots__ = ["route", "via", "vias"]
    ROUTE_FIELD_NUMBER: _ClassVar[int]
    VIAS_FIELD_NUMBER: _ClassVar[int]
    VIA_FIELD_NUMBER: _ClassVar[int]
    route: _types_pb2.IpRoute
    via: _types_pb2.IpRouteVia
    vias: _containers.RepeatedCompositeFieldContainer[_types_pb2.IpRouteVia]
    def __init__(self, route: _Optional[_Union[_types_pb2.IpRoute, _Mapping]] = ..., via: _Optional[_Union[_types_pb2.IpRouteVia, _Mapping]] = ..., vias: _Optional[_Iterable[_Union[_types_pb2.IpRouteVia, _Mapping]]] = ...) -> None: ...

class TagIsRequest(_message.Message):
    __slots__ = ["tag"]
    TAG_FIELD_NUMBER: _ClassVar[int]
    tag: int
    def __init__(self, tag: _Optional[int] = ...) -> None: ...

class TagIsResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class TagRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class TagResponse(_message.Message):
    __slots__ = ["tag"]
    TAG_FIELD_NUMBER: _ClassVar[int]
    tag: int
    def __init__(self, tag: _Optional[int] = ...) -> None: ...
