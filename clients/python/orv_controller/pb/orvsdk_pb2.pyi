from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

DESCRIPTOR: _descriptor.FileDescriptor
MPLS_OPERATION_FORWARD: mpls_operation_enum
MPLS_OPERATION_NONE: mpls_operation_enum
MPLS_OPERATION_POP: mpls_operation_enum
MPLS_OPERATION_PUSH: mpls_operation_enum
MPLS_OPERATION_SWAP: mpls_operation_enum
NEXTHOP_GROUP_TYPE_MPLS: nexthop_group_type_enum
RPC_STATUS_ERROR: rpc_status_value_enum
RPC_STATUS_NOT_FOUND: rpc_status_value_enum
RPC_STATUS_NOT_INITIALIZED: rpc_status_value_enum
RPC_STATUS_OK: rpc_status_value_enum

class cbf_nexthop_group_redirect_bulk_msg(_message.Message):
    __slots__ = ["bulk"]
    BULK_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[cbf_nexthop_group_redirect_msg]
    def __init__(self, bulk: _Optional[_Iterable[_Union[cbf_nexthop_group_redirect_msg, _Mapping]]] = ...) -> None: ...

class cbf_nexthop_group_redirect_msg(_message.Message):
    __slots__ = ["delete", "match_ipv4_dscp", "match_ipv6_dscp", "match_nexthop_group_name", "redirect_nexthop_group_name"]
    DELETE_FIELD_NUMBER: _ClassVar[int]
    MATCH_IPV4_DSCP_FIELD_NUMBER: _ClassVar[int]
    MATCH_IPV6_DSCP_FIELD_NUMBER: _ClassVar[int]
    MATCH_NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    REDIRECT_NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    delete: bool
    match_ipv4_dscp: _containers.RepeatedScalarFieldContainer[int]
    match_ipv6_dscp: _containers.RepeatedScalarFieldContainer[int]
    match_nexthop_group_name: str
    redirect_nexthop_group_name: str
    def __init__(self, match_ipv4_dscp: _Optional[_Iterable[int]] = ..., match_ipv6_dscp: _Optional[_Iterable[int]] = ..., match_nexthop_group_name: _Optional[str] = ..., redirect_nexthop_group_name: _Optional[str] = ..., delete: bool = ...) -> None: ...

class ip_address_msg(_message.Message):
    __slots__ = ["address"]
    ADDRESS_FIELD_NUMBER: _ClassVar[int]
    address: bytes
    def __init__(self, address: _Optional[bytes] = ...) -> None: ...

class ip_prefix_msg(_message.Message):
    __slots__ = ["network", "prefix_length"]
    NETWORK_FIELD_NUMBER: _ClassVar[int]
    PREFIX_LENGTH_FIELD_NUMBER: _ClassVar[int]
    network: ip_address_msg
    prefix_length: int
    def __init__(self, network: _Optional[_Union[ip_address_msg, _Mapping]] = ..., prefix_length: _Optional[int] = ...) -> None: ...

class ip_route_bulk_msg(_message.Message):
    __slots__ = ["bulk"]
    BULK_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[ip_route_msg]
    def __init__(self, bulk: _Optional[_Iterable[_Union[ip_route_msg, _Mapping]]] = ...) -> None: ...

class ip_route_msg(_message.Message):
    __slots__ = ["nexthop_group_name", "prefix", "tag"]
    NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    PREFIX_FIELD_NUMBER: _ClassVar[int]
    TAG_FIELD_NUMBER: _ClassVar[int]
    nexthop_group_name: str
    prefix: ip_prefix_msg
    tag: int
    def __init__(self, prefix: _Optional[_Union[ip_prefix_msg, _Mapping]] = ..., tag: _Optional[int] = ..., nexthop_group_name: _Optional[str] = ...) -> None: ...

class mpls_route_bulk_msg(_message.Message):
    __slots__ = ["bulk"]
    BULK_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[mpls_route_msg]
    def __init__(self, bulk: _Optional[_Iterable[_Union[mpls_route_msg, _Mapping]]] = ...) -> None: ...

class mpls_route_msg(_message.Message):
    __slots__ = ["delete", "label", "nexthop_group_msg", "nexthop_msg", "popAndForward"]
    class forward_nexthop_group_msg(_message.Message):
        __slots__ = ["mpls_operation", "name"]
        class mpls_operation_enum(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
            __slots__ = []
        GROUP_MPLS_OPERATION_FORWARD: mpls_route_msg.forward_nexthop_group_msg.mpls_operation_enum
        GROUP_MPLS_OPERATION_POP: mpls_route_msg.forward_nexthop_group_msg.mpls_operation_enum
        MPLS_OPERATION_FIELD_NUMBER: _ClassVar[int]
        NAME_FIELD_NUMBER: _ClassVar[int]
        mpls_operation: mpls_route_msg.forward_nexthop_group_msg.mpls_operation_enum
        name: str
        def __init__(self, name: _Optional[str] = ..., mpls_operation: _Optional[_Union[mpls_route_msg.forward_nexthop_group_msg.mpls_operation_enum, str]] = ...) -> None: ...
    DELETE_FIELD_NUMBER: _ClassVar[int]
    LABEL_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_MSG_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_MSG_FIELD_NUMBER: _ClassVar[int]
    POPANDFORWARD_FIELD_NUMBER: _ClassVar[int]
    delete: bool
    label: int
    nexthop_group_msg: mpls_route_msg.forward_nexthop_group_msg
    nexthop_msg: nexthop_msg
    popAndForward: str
    def __init__(self, label: _Optional[int] = ..., delete: bool = ..., nexthop_msg: _Optional[_Union[nexthop_msg, _Mapping]] = ..., nexthop_group_msg: _Optional[_Union[mpls_route_msg.forward_nexthop_group_msg, _Mapping]] = ..., popAndForward: _Optional[str] = ...) -> None: ...

class nexthop_group_bulk_msg(_message.Message):
    __slots__ = ["bulk"]
    BULK_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[nexthop_group_msg]
    def __init__(self, bulk: _Optional[_Iterable[_Union[nexthop_group_msg, _Mapping]]] = ...) -> None: ...

class nexthop_group_msg(_message.Message):
    __slots__ = ["autosize", "backup_nexthops", "counters_unshared", "delete", "name", "nexthops", "type"]
    AUTOSIZE_FIELD_NUMBER: _ClassVar[int]
    BACKUP_NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    COUNTERS_UNSHARED_FIELD_NUMBER: _ClassVar[int]
    DELETE_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    TYPE_FIELD_NUMBER: _ClassVar[int]
    autosize: bool
    backup_nexthops: _containers.RepeatedCompositeFieldContainer[nexthop_msg]
    counters_unshared: bool
    delete: bool
    name: str
    nexthops: _containers.RepeatedCompositeFieldContainer[nexthop_msg]
    type: nexthop_group_type_enum
    def __init__(self, nexthops: _Optional[_Iterable[_Union[nexthop_msg, _Mapping]]] = ..., backup_nexthops: _Optional[_Iterable[_Union[nexthop_msg, _Mapping]]] = ..., name: _Optional[str] = ..., type: _Optional[_Union[nexthop_group_type_enum, str]] = ..., delete: bool = ..., counters_unshared: bool = ..., autosize: bool = ...) -> None: ...

class nexthop_group_tunnel_bulk_msg(_message.Message):
    __slots__ = ["bulk"]
    BULK_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[nexthop_group_tunnel_msg]
    def __init__(self, bulk: _Optional[_Iterable[_Union[nexthop_group_tunnel_msg, _Mapping]]] = ...) -> None: ...

class nexthop_group_tunnel_msg(_message.Message):
    __slots__ = ["igp_metric", "nexthop_group_name", "prefix"]
    IGP_METRIC_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    PREFIX_FIELD_NUMBER: _ClassVar[int]
    igp_metric: int
    nexthop_group_name: str
    prefix: ip_prefix_msg
    def __init__(self, nexthop_group_name: _Optional[str] = ..., prefix: _Optional[_Union[ip_prefix_msg, _Mapping]] = ..., igp_metric: _Optional[int] = ...) -> None: ...

class nexthop_msg(_message.Message):
    __slots__ = ["address", "intf", "mpls_labels", "mpls_operation", "sbfd_session", "weight"]
    ADDRESS_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    MPLS_LABELS_FIELD_NUMBER: _ClassVar[int]
    MPLS_OPERATION_FIELD_NUMBER: _ClassVar[int]
    SBFD_SESSION_FIELD_NUMBER: _ClassVar[int]
    WEIGHT_FIELD_NUMBER: _ClassVar[int]
    address: ip_address_msg
    intf: str
    mpls_labels: _containers.RepeatedScalarFieldContainer[int]
    mpls_operation: mpls_operation_enum
    sbfd_session: sbfd_echo_session_key_msg
    weight: int
    def __init__(self, mpls_labels: _Optional[_Iterable[int]] = ..., intf: _Optional[str] = ..., address: _Optional[_Union[ip_address_msg, _Mapping]] = ..., sbfd_session: _Optional[_Union[sbfd_echo_session_key_msg, _Mapping]] = ..., mpls_operation: _Optional[_Union[mpls_operation_enum, str]] = ..., weight: _Optional[int] = ...) -> None: ...

class rpc_server_alive_msg(_message.Message):
    __slots__ = []
    def __init__(self) -> None: ...

class rpc_server_config_msg(_message.Message):
    __slots__ = ["cbf_nexthop_group_redirect_policy_map_name", "ip_route_tag"]
    CBF_NEXTHOP_GROUP_REDIRECT_POLICY_MAP_NAME_FIELD_NUMBER: _ClassVar[int]
    IP_ROUTE_TAG_FIELD_NUMBER: _ClassVar[int]
    cbf_nexthop_group_redirect_policy_map_name: str
    ip_route_tag: int
    def __init__(self, cbf_nexthop_group_redirect_policy_map_name: _Optional[str] = ..., ip_route_tag: _Optional[int] = ...) -> None: ...

class rpc_server_init_status_msg(_message.Message):
    __slots__ = ["cbf_redirects_exist", "ip_routes_exist", "mpls_routes_exist", "nexthop_group_tunnels_exist", "nexthop_groups_exist", "status"]
    CBF_REDIRECTS_EXIST_FIELD_NUMBER: _ClassVar[int]
    IP_ROUTES_EXIST_FIELD_NUMBER: _ClassVar[int]
    MPLS_ROUTES_EXIST_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUPS_EXIST_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_TUNNELS_EXIST_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    cbf_redirects_exist: bool
    ip_routes_exist: bool
    mpls_routes_exist: bool
    nexthop_group_tunnels_exist: bool
    nexthop_groups_exist: bool
    status: rpc_status_msg
    def __init__(self, status: _Optional[_Union[rpc_status_msg, _Mapping]] = ..., ip_routes_exist: bool = ..., mpls_routes_exist: bool = ..., nexthop_groups_exist: bool = ..., nexthop_group_tunnels_exist: bool = ..., cbf_redirects_exist: bool = ...) -> None: ...

class rpc_server_key_value_pair_msg(_message.Message):
    __slots__ = ["key", "value"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    VALUE_FIELD_NUMBER: _ClassVar[int]
    key: str
    value: str
    def __init__(self, key: _Optional[str] = ..., value: _Optional[str] = ...) -> None: ...

class rpc_server_resync_msg(_message.Message):
    __slots__ = ["resync_phase"]
    class resync_phase_enum(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
        __slots__ = []
    RESYNC_END: rpc_server_resync_msg.resync_phase_enum
    RESYNC_PHASE_FIELD_NUMBER: _ClassVar[int]
    RESYNC_START: rpc_server_resync_msg.resync_phase_enum
    resync_phase: rpc_server_resync_msg.resync_phase_enum
    def __init__(self, resync_phase: _Optional[_Union[rpc_server_resync_msg.resync_phase_enum, str]] = ...) -> None: ...

class rpc_server_state_config_msg(_message.Message):
    __slots__ = ["deletes", "key_value_pairs"]
    DELETES_FIELD_NUMBER: _ClassVar[int]
    KEY_VALUE_PAIRS_FIELD_NUMBER: _ClassVar[int]
    deletes: _containers.RepeatedCompositeFieldContainer[rpc_server_key_value_pair_msg]
    key_value_pairs: _containers.RepeatedCompositeFieldContainer[rpc_server_key_value_pair_msg]
    def __init__(self, key_value_pairs: _Optional[_Iterable[_Union[rpc_server_key_value_pair_msg, _Mapping]]] = ..., deletes: _Optional[_Iterable[_Union[rpc_server_key_value_pair_msg, _Mapping]]] = ...) -> None: ...

class rpc_server_state_status_msg(_message.Message):
    __slots__ = ["key_value_pairs"]
    KEY_VALUE_PAIRS_FIELD_NUMBER: _ClassVar[int]
    key_value_pairs: _containers.RepeatedCompositeFieldContainer[rpc_server_key_value_pair_msg]
    def __init__(self, key_value_pairs: _Optional[_Iterable[_Union[rpc_server_key_value_pair_msg, _Mapping]]] = ...) -> None: ...

class rpc_status_bulk_msg(_message.Message):
    __slots__ = ["statuses"]
    STATUSES_FIELD_NUMBER: _ClassVar[int]
    statuses: _containers.RepeatedCompositeFieldContainer[rpc_status_msg]
    def __init__(self, statuses: _Optional[_Iterable[_Union[rpc_status_msg, _Mapping]]] = ...) -> None: ...

class rpc_status_msg(_message.Message):
    __slots__ = ["debug_string", "status"]
    DEBUG_STRING_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    debug_string: str
    status: rpc_status_value_enum
    def __init__(self, status: _Optional[_Union[rpc_status_value_enum, str]] = ..., debug_string: _Optional[str] = ...) -> None: ...

class sbfd_echo_session_bulk_msg(_message.Message):
    __slots__ = ["bulk"]
    BULK_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[sbfd_echo_session_msg]
    def __init__(self, bulk: _Optional[_Iterable[_Union[sbfd_echo_session_msg, _Mapping]]] = ...) -> None: ...

class sbfd_echo_session_key_msg(_message.Message):
    __slots__ = ["dscp", "label_stack", "mpls_exp", "nexthop", "nexthop_intf"]
    DSCP_FIELD_NUMBER: _ClassVar[int]
    LABEL_STACK_FIELD_NUMBER: _ClassVar[int]
    MPLS_EXP_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_INTF_FIELD_NUMBER: _ClassVar[int]
    dscp: int
    label_stack: _containers.RepeatedScalarFieldContainer[int]
    mpls_exp: int
    nexthop: ip_address_msg
    nexthop_intf: str
    def __init__(self, nexthop: _Optional[_Union[ip_address_msg, _Mapping]] = ..., nexthop_intf: _Optional[str] = ..., label_stack: _Optional[_Iterable[int]] = ..., dscp: _Optional[int] = ..., mpls_exp: _Optional[int] = ...) -> None: ...

class sbfd_echo_session_msg(_message.Message):
    __slots__ = ["delete", "detectionMultiplier", "key", "min_tx", "rtt_enabled", "track_intf_state"]
    DELETE_FIELD_NUMBER: _ClassVar[int]
    DETECTIONMULTIPLIER_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    MIN_TX_FIELD_NUMBER: _ClassVar[int]
    RTT_ENABLED_FIELD_NUMBER: _ClassVar[int]
    TRACK_INTF_STATE_FIELD_NUMBER: _ClassVar[int]
    delete: bool
    detectionMultiplier: int
    key: sbfd_echo_session_key_msg
    min_tx: int
    rtt_enabled: bool
    track_intf_state: bool
    def __init__(self, key: _Optional[_Union[sbfd_echo_session_key_msg, _Mapping]] = ..., delete: bool = ..., rtt_enabled: bool = ..., track_intf_state: bool = ..., min_tx: _Optional[int] = ..., detectionMultiplier: _Optional[int] = ...) -> None: ...

class sbfd_echo_session_oper_status_msg(_message.Message):
    __slots__ = ["status"]
    class oper_status_enum(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
        __slots__ = []
    SBFD_OPER_STATUS_ADMIN_DOWN: sbfd_echo_session_oper_status_msg.oper_status_enum
    SBFD_OPER_STATUS_DOWN: sbfd_echo_session_oper_status_msg.oper_status_enum
    SBFD_OPER_STATUS_INIT: sbfd_echo_session_oper_status_msg.oper_status_enum
    SBFD_OPER_STATUS_UNKNOWN: sbfd_echo_session_oper_status_msg.oper_status_enum
    SBFD_OPER_STATUS_UP: sbfd_echo_session_oper_status_msg.oper_status_enum
    STATUS_FIELD_NUMBER: _ClassVar[int]
    status: sbfd_echo_session_oper_status_msg.oper_status_enum
    def __init__(self, status: _Optional[_Union[sbfd_echo_session_oper_status_msg.oper_status_enum, str]] = ...) -> None: ...

class sbfd_echo_session_rtt_msg(_message.Message):
    __slots__ = ["avg_rtt", "last_rtt", "max_rtt", "min_rtt", "snapshot_avg_rtt", "snapshot_max_rtt", "snapshot_min_rtt"]
    AVG_RTT_FIELD_NUMBER: _ClassVar[int]
    LAST_RTT_FIELD_NUMBER: _ClassVar[int]
    MAX_RTT_FIELD_NUMBER: _ClassVar[int]
    MIN_RTT_FIELD_NUMBER: _ClassVar[int]
    SNAPSHOT_AVG_RTT_FIELD_NUMBER: _ClassVar[int]
    SNAPSHOT_MAX_RTT_FIELD_NUMBER: _ClassVar[int]
    SNAPSHOT_MIN_RTT_FIELD_NUMBER: _ClassVar[int]
    avg_rtt: int
    last_rtt: int
    max_rtt: int
    min_rtt: int
    snapshot_avg_rtt: int
    snapshot_max_rtt: int
    snapshot_min_rtt: int
    def __init__(self, last_rtt: _Optional[int] = ..., min_rtt: _Optional[int] = ..., avg_rtt: _Optional[int] = ..., max_rtt: _Optional[int] = ..., snapshot_min_rtt: _Optional[int] = ..., snapshot_avg_rtt: _Optional[int] = ..., snapshot_max_rtt: _Optional[int] = ...) -> None: ...

class watch_sbfd_echo_session_config_msg(_message.Message):
    __slots__ = ["send_current_status", "send_initial_message"]
    SEND_CURRENT_STATUS_FIELD_NUMBER: _ClassVar[int]
    SEND_INITIAL_MESSAGE_FIELD_NUMBER: _ClassVar[int]
    send_current_status: bool
    send_initial_message: bool
    def __init__(self, send_initial_message: bool = ..., send_current_status: bool = ...) -> None: ...

class watch_sbfd_echo_session_status_msg(_message.Message):
    __slots__ = ["bulk", "bulk_end", "initial", "key", "oper_status", "rtt"]
    BULK_END_FIELD_NUMBER: _ClassVar[int]
    BULK_FIELD_NUMBER: _ClassVar[int]
    INITIAL_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    OPER_STATUS_FIELD_NUMBER: _ClassVar[int]
    RTT_FIELD_NUMBER: _ClassVar[int]
    bulk: _containers.RepeatedCompositeFieldContainer[watch_sbfd_echo_session_status_msg]
    bulk_end: bool
    initial: bool
    key: sbfd_echo_session_key_msg
    oper_status: sbfd_echo_session_oper_status_msg
    rtt: sbfd_echo_session_rtt_msg
    def __init__(self, bulk: _Optional[_Iterable[_Union[watch_sbfd_echo_session_status_msg, _Mapping]]] = ..., oper_status: _Optional[_Union[sbfd_echo_session_oper_status_msg, _Mapping]] = ..., rtt: _Optional[_Union[sbfd_echo_session_rtt_msg, _Mapping]] = ..., bulk_end: bool = ..., key: _Optional[_Union[sbfd_echo_session_key_msg, _Mapping]] = ..., initial: bool = ...) -> None: ...

class rpc_status_value_enum(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class mpls_operation_enum(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class nexthop_group_type_enum(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
