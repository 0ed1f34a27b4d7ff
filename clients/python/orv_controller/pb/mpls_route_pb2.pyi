from orv_controller.pb import status_pb2 as _status_pb2
from orv_controller.pb import types_pb2 as _types_pb2
from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
MPLS_ROUTE_FIELD_ALL: MplsRouteField
MPLS_ROUTE_FIELD_ROUTES: MplsRouteField
MPLS_ROUTE_FIELD_VIAS: MplsRouteField
MPLS_ROUTE_VIAS_ACTION_ADD: MplsRouteViasAction
MPLS_ROUTE_VIAS_ACTION_REPLACE: MplsRouteViasAction

class BulkMplsRouteDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[MplsRouteDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[MplsRouteDelRequest, _Mapping]]] = ...) -> None: ...

class BulkMplsRouteDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkMplsRouteSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[MplsRouteSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[MplsRouteSetRequest, _Mapping]]] = ...) -> None: ...

class BulkMplsRouteSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkMplsRouteViaDelRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[MplsRouteViaDelRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[MplsRouteViaDelRequest, _Mapping]]] = ...) -> None: ...

class BulkMplsRouteViaDelResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class BulkMplsRouteViaSetRequest(_message.Message):
    __slots__ = ["requests"]
    REQUESTS_FIELD_NUMBER: _ClassVar[int]
    requests: _containers.RepeatedCompositeFieldContainer[MplsRouteViaSetRequest]
    def __init__(self, requests: _Optional[_Iterable[_Union[MplsRouteViaSetRequest, _Mapping]]] = ...) -> None: ...

class BulkMplsRouteViaSetResponse(_message.Message):
    __slots__ = ["count", "status"]
    COUNT_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    count: int
    status: _status_pb2.RpcResponseStatus
    def __init__(self, status: _Optional[_Union[_status_pb2.RpcResponseStatus, _Mapping]] = ..., count: _Optional[int] = ...) -> None: ...

class MplsIntegratedAckRequest(_message.Message):
    __slots__ = ["ack"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    def __init__(self, ack: bool = ...) -> None: ...

class MplsIntegratedAckResponse(_message.Message):
    __slots__ = ["ack", "mpls_route_via_set_version_info"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    MPLS_ROUTE_VIA_SET_VERSION_INFO_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    mpls_route_via_set_version_info: MplsRouteViaSetVersionInfo
    def __init__(self, mpls_route_via_set_version_info: _Optional[_Union[MplsRouteViaSetVersionInfo, _Mapping]] = ..., ack: bool = ...) -> None: ...

class MplsRouteDelRequest(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class MplsRouteDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRouteExistsRequest(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class MplsRouteExistsResponse(_message.Message):
    __slots__ = ["exists"]
    EXISTS_FIELD_NUMBER: _ClassVar[int]
    exists: bool
    def __init__(self, exists: bool = ...) -> None: ...

class MplsRouteFecIdRequest(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class MplsRouteFecIdResponse(_message.Message):
    __slots__ = ["fec_id"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    fec_id: _types_pb2.MplsFecId
    def __init__(self, fec_id: _Optional[_Union[_types_pb2.MplsFecId, _Mapping]] = ...) -> None: ...

class MplsRouteFieldsControl(_message.Message):
    __slots__ = ["fields"]
    FIELDS_FIELD_NUMBER: _ClassVar[int]
    fields: _containers.RepeatedScalarFieldContainer[MplsRouteField]
    def __init__(self, fields: _Optional[_Iterable[_Union[MplsRouteField, str]]] = ...) -> None: ...

class MplsRouteMetricRequest(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class MplsRouteMetricResponse(_message.Message):
    __slots__ = ["metric"]
    METRIC_FIELD_NUMBER: _ClassVar[int]
    metric: int
    def __init__(self, metric: _Optional[int] = ...) -> None: ...

class MplsRouteSetRequest(_message.Message):
    __slots__ = ["route", "vias", "vias_action"]
    ROUTE_FIELD_NUMBER: _ClassVar[int]
    VIAS_ACTION_FIELD_NUMBER: _ClassVar[int]
    VIAS_FIELD_NUMBER: _ClassVar[int]
    route: _types_pb2.MplsRoute
    vias: _containers.RepeatedCompositeFieldContainer[_types_pb2.MplsRouteVia]
    vias_action: MplsRouteViasAction
    def __init__(self, route: _Optional[_Union[_types_pb2.MplsRoute, _Mapping]] = ..., vias: _Optional[_Iterable[_Union[_types_pb2.MplsRouteVia, _Mapping]]] = ..., vias_action: _Optional[_Union[MplsRouteViasAction, str]] = ...) -> None: ...

class MplsRouteSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRouteStatusesRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRouteStatusesResponse(_message.Message):
    __slots__ = ["status"]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    status: _types_pb2.MplsRouteStatus
    def __init__(self, status: _Optional[_Union[_types_pb2.MplsRouteStatus, _Mapping]] = ...) -> None: ...

class MplsRouteViaDelRequest(_message.Message):
    __slots__ = ["via"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.MplsRouteVia
    def __init__(self, via: _Optional[_Union[_types_pb2.MplsRouteVia, _Mapping]] = ...) -> None: ...

class MplsRouteViaDelResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRouteViaSetRequest(_message.Message):
    __slots__ = ["via"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.MplsRouteVia
    def __init__(self, via: _Optional[_Union[_types_pb2.MplsRouteVia, _Mapping]] = ...) -> None: ...

class MplsRouteViaSetResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRouteViaSetVersionInfo(_message.Message):
    __slots__ = ["hw_state", "nexthop_group_version_info", "route_key", "version_id"]
    HW_STATE_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_VERSION_INFO_FIELD_NUMBER: _ClassVar[int]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    hw_state: _types_pb2.FecHwProgrammingState
    nexthop_group_version_info: NexthopGroupVersionInfo
    route_key: _types_pb2.MplsRouteKey
    version_id: int
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ..., nexthop_group_version_info: _Optional[_Union[NexthopGroupVersionInfo, _Mapping]] = ..., version_id: _Optional[int] = ..., hw_state: _Optional[_Union[_types_pb2.FecHwProgrammingState, str]] = ...) -> None: ...

class MplsRouteViaStatusesRequest(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class MplsRouteViaStatusesResponse(_message.Message):
    __slots__ = ["via"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.MplsRouteVia
    def __init__(self, via: _Optional[_Union[_types_pb2.MplsRouteVia, _Mapping]] = ...) -> None: ...

class MplsRouteViasRequest(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class MplsRouteViasResponse(_message.Message):
    __slots__ = ["via"]
    VIA_FIELD_NUMBER: _ClassVar[int]
    via: _types_pb2.MplsRouteVia
    def __init__(self, via: _Optional[_Union[_types_pb2.MplsRouteVia, _Mapping]] = ...) -> None: ...

class MplsRouteWatchRequest(_message.Message):
    __slots__ = ["ack", "all", "fields_control", "route_key"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    ALL_FIELD_NUMBER: _ClassVar[int]
    FIELDS_CONTROL_FIELD_NUMBER: _ClassVar[int]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    all: bool
    fields_control: MplsRouteFieldsControl
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, all: bool = ..., route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ..., fields_control: _Optional[_Union[MplsRouteFieldsControl, _Mapping]] = ..., ack: bool = ...) -> None: ...

class MplsRouteWatchResponse(_message.Message):
    __slots__ = ["ack", "dump", "on_mpls_fec_del", "on_mpls_fec_set", "on_mpls_route_del", "on_mpls_route_set"]
    ACK_FIELD_NUMBER: _ClassVar[int]
    DUMP_FIELD_NUMBER: _ClassVar[int]
    ON_MPLS_FEC_DEL_FIELD_NUMBER: _ClassVar[int]
    ON_MPLS_FEC_SET_FIELD_NUMBER: _ClassVar[int]
    ON_MPLS_ROUTE_DEL_FIELD_NUMBER: _ClassVar[int]
    ON_MPLS_ROUTE_SET_FIELD_NUMBER: _ClassVar[int]
    ack: bool
    dump: OnMplsRouteDump
    on_mpls_fec_del: OnMplsFecDel
    on_mpls_fec_set: OnMplsFecSet
    on_mpls_route_del: OnMplsRouteDel
    on_mpls_route_set: OnMplsRouteSet
    def __init__(self, dump: _Optional[_Union[OnMplsRouteDump, _Mapping]] = ..., on_mpls_route_set: _Optional[_Union[OnMplsRouteSet, _Mapping]] = ..., on_mpls_route_del: _Optional[_Union[OnMplsRouteDel, _Mapping]] = ..., on_mpls_fec_set: _Optional[_Union[OnMplsFecSet, _Mapping]] = ..., on_mpls_fec_del: _Optional[_Union[OnMplsFecDel, _Mapping]] = ..., ack: bool = ...) -> None: ...

class MplsRoutesRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRoutesResponse(_message.Message):
    __slots__ = ["route"]
    ROUTE_FIELD_NUMBER: _ClassVar[int]
    route: _types_pb2.MplsRoute
    def __init__(self, route: _Optional[_Union[_types_pb2.MplsRoute, _Mapping]] = ...) -> None: ...

class NexthopGroupVersionInfo(_message.Message):
    __slots__ = ["name", "version_id"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    name: str
    version_id: int
    def __init__(self, name: _Optional[str] = ..., version_id: _Optional[int] = ...) -> None: ...

class OnMplsFecDel(_message.Message):
    __slots__ = ["fec_id"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    fec_id: _types_pb2.MplsFecId
    def __init__(self, fec_id: _Optional[_Union[_types_pb2.MplsFecId, _Mapping]] = ...) -> None: ...

class OnMplsFecSet(_message.Message):
    __slots__ = ["fec_id"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    fec_id: _types_pb2.MplsFecId
    def __init__(self, fec_id: _Optional[_Union[_types_pb2.MplsFecId, _Mapping]] = ...) -> None: ...

class OnMplsRouteDel(_message.Message):
    __slots__ = ["route_key"]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ...) -> None: ...

class OnMplsRouteDump(_message.Message):
    __slots__ = ["route", "vias"]
    ROUTE_FIELD_NUMBER: _ClassVar[int]
    VIAS_FIELD_NUMBER: _ClassVar[int]
    route: _types_pb2.MplsRoute
    vias: _containers.RepeatedCompositeFieldContainer[_types_pb2.MplsRouteVia]
    def __init__(self, route: _Optional[_Union[_types_pb2.MplsRoute, _Mapping]] = ..., vias: _Optional[_Iterable[_Union[_types_pb2.MplsRouteVia, _Mapping]]] = ...) -> None: ...

class OnMplsRouteSet(_message.Message):
    __slots__ = ["fec_id", "hw_version_id", "route_key"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    HW_VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    fec_id: _types_pb2.MplsFecId
    hw_version_id: int
    route_key: _types_pb2.MplsRouteKey
    def __init__(self, route_key: _Optional[_Union[_types_pb2.MplsRouteKey, _Mapping]] = ..., fec_id: _Optional[_Union[_types_pb2.MplsFecId, _Mapping]] = ..., hw_version_id: _Optional[int] = ...) -> None: ...

class ResyncMplsRouteCompleteRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ResyncMplsRouteCompleteResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ResyncMplsRouteInitRequest(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class ResyncMplsRouteInitResponse(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class MplsRouteViasAction(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MplsRouteField(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
