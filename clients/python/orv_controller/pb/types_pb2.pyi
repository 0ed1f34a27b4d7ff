from google.protobuf.internal import containers as _containers
from google.protobuf.internal import enum_type_wrapper as _enum_type_wrapper
from google.protobuf import descriptor as _descriptor
from google.protobuf import message as _message
from typing import ClassVar as _ClassVar, Iterable as _Iterable, Mapping as _Mapping, Optional as _Optional, Union as _Union

ACL_ACTION_DENY: AclAction
ACL_ACTION_NONE: AclAction
ACL_ACTION_PERMIT: AclAction
ACL_DIRECTION_IN: AclDirection
ACL_DIRECTION_NONE: AclDirection
ACL_DIRECTION_OUT: AclDirection
ACL_IP_TYPE_ANY: AclIpType
ACL_IP_TYPE_IPV4: AclIpType
ACL_IP_TYPE_IPV6: AclIpType
ACL_IP_TYPE_UNSPECIFIED: AclIpType
ACL_RANGE_OPERATOR_ANY: AclRangeOperator
ACL_RANGE_OPERATOR_EQ: AclRangeOperator
ACL_RANGE_OPERATOR_GT: AclRangeOperator
ACL_RANGE_OPERATOR_LT: AclRangeOperator
ACL_RANGE_OPERATOR_NEQ: AclRangeOperator
ACL_RANGE_OPERATOR_NULL: AclRangeOperator
ACL_RANGE_OPERATOR_RANGE: AclRangeOperator
ACL_TYPE_ETH: AclType
ACL_TYPE_IPV4: AclType
ACL_TYPE_IPV6: AclType
ACL_TYPE_MPLS: AclType
ACL_TYPE_NONE: AclType
BGP_PEER_STATE_ACTIVE: BgpPeerState
BGP_PEER_STATE_CONNECT: BgpPeerState
BGP_PEER_STATE_ESTABLISHED: BgpPeerState
BGP_PEER_STATE_IDLE: BgpPeerState
BGP_PEER_STATE_OPEN_CONFIRM: BgpPeerState
BGP_PEER_STATE_OPEN_SENT: BgpPeerState
BGP_PEER_STATE_UNKNOWN: BgpPeerState
DESCRIPTOR: _descriptor.FileDescriptor
ETH_LAG_INTF_FALLBACK_TYPE_INDIVIDUAL: EthLagIntfFallbackType
ETH_LAG_INTF_FALLBACK_TYPE_NONE: EthLagIntfFallbackType
ETH_LAG_INTF_FALLBACK_TYPE_STATIC: EthLagIntfFallbackType
ETH_LAG_INTF_FALLBACK_TYPE_UNDEFINED: EthLagIntfFallbackType
ETH_LAG_INTF_MEMBER_LACP_MODE_ACTIVE: EthLagIntfMemberLacpMode
ETH_LAG_INTF_MEMBER_LACP_MODE_ON: EthLagIntfMemberLacpMode
ETH_LAG_INTF_MEMBER_LACP_MODE_PASSIVE: EthLagIntfMemberLacpMode
ETH_LAG_INTF_MEMBER_LACP_MODE_UNDEFINED: EthLagIntfMemberLacpMode
ETH_LAG_INTF_MEMBER_LACP_TIMEOUT_LONG: EthLagIntfMemberLacpTimeout
ETH_LAG_INTF_MEMBER_LACP_TIMEOUT_SHORT: EthLagIntfMemberLacpTimeout
ETH_LAG_INTF_MEMBER_LACP_TIMEOUT_UNDEFINED: EthLagIntfMemberLacpTimeout
ETH_LINK_SPEED_100_GBPS: EthLinkSpeed
ETH_LINK_SPEED_100_MBPS: EthLinkSpeed
ETH_LINK_SPEED_10_GBPS: EthLinkSpeed
ETH_LINK_SPEED_10_MBPS: EthLinkSpeed
ETH_LINK_SPEED_1600_GBPS: EthLinkSpeed
ETH_LINK_SPEED_1_GBPS: EthLinkSpeed
ETH_LINK_SPEED_200_GBPS: EthLinkSpeed
ETH_LINK_SPEED_2500_MBPS: EthLinkSpeed
ETH_LINK_SPEED_25_GBPS: EthLinkSpeed
ETH_LINK_SPEED_400_GBPS: EthLinkSpeed
ETH_LINK_SPEED_40_GBPS: EthLinkSpeed
ETH_LINK_SPEED_50_GBPS: EthLinkSpeed
ETH_LINK_SPEED_5_GBPS: EthLinkSpeed
ETH_LINK_SPEED_800_GBPS: EthLinkSpeed
ETH_LINK_SPEED_UNKNOWN: EthLinkSpeed
FEC_HW_PROGRAMMING_STATE_FAILURE: FecHwProgrammingState
FEC_HW_PROGRAMMING_STATE_PENDING: FecHwProgrammingState
FEC_HW_PROGRAMMING_STATE_SUCCESS: FecHwProgrammingState
FEC_HW_PROGRAMMING_STATE_UNSPECIFIED: FecHwProgrammingState
FIB_FEC_TYPE_DROP: FibFecType
FIB_FEC_TYPE_FORWARD: FibFecType
FIB_FEC_TYPE_MPLS: FibFecType
FIB_FEC_TYPE_NEXTHOP_GROUP: FibFecType
FIB_FEC_TYPE_PUNT: FibFecType
FIB_FEC_TYPE_UNDEFINED: FibFecType
FIB_FEC_TYPE_VRF_LEAK: FibFecType
FIB_FEC_TYPE_VXLAN: FibFecType
FIB_ROUTE_TYPE_ATTACHED: FibRouteType
FIB_ROUTE_TYPE_ATTACHED_HOST: FibRouteType
FIB_ROUTE_TYPE_BGP_AGGREGATE: FibRouteType
FIB_ROUTE_TYPE_BGP_EXTERNAL: FibRouteType
FIB_ROUTE_TYPE_BGP_INTERNAL: FibRouteType
FIB_ROUTE_TYPE_CONNECTED: FibRouteType
FIB_ROUTE_TYPE_DHCP: FibRouteType
FIB_ROUTE_TYPE_DROP: FibRouteType
FIB_ROUTE_TYPE_ISIS_LEVEL_1: FibRouteType
FIB_ROUTE_TYPE_ISIS_LEVEL_2: FibRouteType
FIB_ROUTE_TYPE_MARTIAN: FibRouteType
FIB_ROUTE_TYPE_NEXTHOP_GROUP: FibRouteType
FIB_ROUTE_TYPE_OSPF_EXTERNAL_1: FibRouteType
FIB_ROUTE_TYPE_OSPF_EXTERNAL_2: FibRouteType
FIB_ROUTE_TYPE_OSPF_INTER_AREA: FibRouteType
FIB_ROUTE_TYPE_OSPF_INTRA_AREA: FibRouteType
FIB_ROUTE_TYPE_OSPF_NSSA_1: FibRouteType
FIB_ROUTE_TYPE_OSPF_NSSA_2: FibRouteType
FIB_ROUTE_TYPE_POLICY: FibRouteType
FIB_ROUTE_TYPE_RECEIVE: FibRouteType
FIB_ROUTE_TYPE_RECEIVE_BROADCAST: FibRouteType
FIB_ROUTE_TYPE_RIP: FibRouteType
FIB_ROUTE_TYPE_SDK_AGENT: FibRouteType
FIB_ROUTE_TYPE_STATIC: FibRouteType
FIB_ROUTE_TYPE_UNDEFINED: FibRouteType
FIB_ROUTE_TYPE_VRF_LEAK: FibRouteType
FIB_ROUTE_TYPE_VXLAN_CONTROL: FibRouteType
IP_ROUTE_ACTIONS_DROP: IpRouteActions
IP_ROUTE_ACTIONS_FORWARD: IpRouteActions
IP_ROUTE_ACTIONS_NEXTHOP_GROUP: IpRouteActions
IP_ROUTE_ACTIONS_PUNT: IpRouteActions
MACSEC_BYPASS_ALWAYS: MacsecBypass
MACSEC_BYPASS_NONE: MacsecBypass
MACSEC_BYPASS_UNTIL_SECURED: MacsecBypass
MACSEC_CIPHER_SUITE_GCM_AES_128: MacsecCipherSuite
MACSEC_CIPHER_SUITE_GCM_AES_256: MacsecCipherSuite
MACSEC_CIPHER_SUITE_GCM_AES_XPN_128: MacsecCipherSuite
MACSEC_CIPHER_SUITE_GCM_AES_XPN_256: MacsecCipherSuite
MACSEC_CIPHER_SUITE_UNDEFINED: MacsecCipherSuite
MACSEC_INTF_KEY_STATUS_FAILED: MacsecIntfKeyStatus
MACSEC_INTF_KEY_STATUS_FALLBACK: MacsecIntfKeyStatus
MACSEC_INTF_KEY_STATUS_IN_PROGRESS: MacsecIntfKeyStatus
MACSEC_INTF_KEY_STATUS_NONE: MacsecIntfKeyStatus
MACSEC_INTF_KEY_STATUS_NO_PEER: MacsecIntfKeyStatus
MACSEC_INTF_KEY_STATUS_PRIMARY: MacsecIntfKeyStatus
MACSEC_INTF_KEY_STATUS_UNSPECIFIED: MacsecIntfKeyStatus
MACSEC_INTF_TRAFFIC_STATUS_BLOCKED: MacsecIntfTrafficStatus
MACSEC_INTF_TRAFFIC_STATUS_ENCRYPTED: MacsecIntfTrafficStatus
MACSEC_INTF_TRAFFIC_STATUS_UNPROTECTED: MacsecIntfTrafficStatus
MACSEC_INTF_TRAFFIC_STATUS_UNSPECIFIED: MacsecIntfTrafficStatus
MACSEC_PROFILE_TRAFFIC_POLICY_ACTIVE_KEY: MacsecProfileTrafficPolicy
MACSEC_PROFILE_TRAFFIC_POLICY_BLOCKED: MacsecProfileTrafficPolicy
MACSEC_PROFILE_TRAFFIC_POLICY_UNDEFINED: MacsecProfileTrafficPolicy
MACSEC_PROFILE_TRAFFIC_POLICY_UNPROTECTED: MacsecProfileTrafficPolicy
MPLS_ACTIONS_FORWARD: MplsActions
MPLS_ACTIONS_NONE: MplsActions
MPLS_ACTIONS_POP: MplsActions
MPLS_ACTIONS_PUSH: MplsActions
MPLS_ACTIONS_SWAP: MplsActions
MPLS_PAYLOAD_TYPE_AUTODECIDE: MplsPayloadType
MPLS_PAYLOAD_TYPE_IPV4: MplsPayloadType
MPLS_PAYLOAD_TYPE_IPV6: MplsPayloadType
MPLS_PAYLOAD_TYPE_MPLS: MplsPayloadType
MPLS_PAYLOAD_TYPE_UNDEFINED: MplsPayloadType
MPLS_TTL_MODE_PIPE: MplsTtlMode
MPLS_TTL_MODE_UNDEFINED: MplsTtlMode
MPLS_TTL_MODE_UNIFORM: MplsTtlMode
NEXTHOP_GROUP_COUNTER_STATE_FAILURE: NexthopGroupCounterState
NEXTHOP_GROUP_COUNTER_STATE_SUCCESS: NexthopGroupCounterState
NEXTHOP_GROUP_COUNTER_STATE_UNKNOWN: NexthopGroupCounterState
NEXTHOP_GROUP_ENCAP_TYPES_GRE: NexthopGroupEncapTypes
NEXTHOP_GROUP_ENCAP_TYPES_IP: NexthopGroupEncapTypes
NEXTHOP_GROUP_ENCAP_TYPES_IP_IN_IP: NexthopGroupEncapTypes
NEXTHOP_GROUP_ENCAP_TYPES_MPLS: NexthopGroupEncapTypes
NEXTHOP_GROUP_ENCAP_TYPES_MPLS_OVER_GRE: NexthopGroupEncapTypes
NEXTHOP_GROUP_ENCAP_TYPES_UNDEFINED: NexthopGroupEncapTypes
NEXTHOP_GROUP_GRE_KEY_TYPES_INGRESS_INTF: NexthopGroupGreKeyTypes
NEXTHOP_GROUP_GRE_KEY_TYPES_NONE: NexthopGroupGreKeyTypes
NEXTHOP_GROUP_PROGRAMMED_HW_STATE_FAILURE: NexthopGroupProgrammedHwState
NEXTHOP_GROUP_PROGRAMMED_HW_STATE_SUCCESS: NexthopGroupProgrammedHwState
NEXTHOP_GROUP_PROGRAMMED_HW_STATE_UNKNOWN: NexthopGroupProgrammedHwState
OPER_STATUS_DOWN: OperStatus
OPER_STATUS_UNKNOWN: OperStatus
OPER_STATUS_UP: OperStatus
POLICE_BURST_UNIT_BYTES: PoliceBurstUnit
POLICE_BURST_UNIT_KBYTES: PoliceBurstUnit
POLICE_BURST_UNIT_MBYTES: PoliceBurstUnit
POLICE_BURST_UNIT_UNSPECIFIED: PoliceBurstUnit
POLICE_RATE_UNIT_BPS: PoliceRateUnit
POLICE_RATE_UNIT_KBPS: PoliceRateUnit
POLICE_RATE_UNIT_MBPS: PoliceRateUnit
POLICE_RATE_UNIT_PPS: PoliceRateUnit
POLICE_RATE_UNIT_UNSPECIFIED: PoliceRateUnit
POLICY_ACTION_TYPE_DROP: PolicyActionType
POLICY_ACTION_TYPE_DSCP: PolicyActionType
POLICY_ACTION_TYPE_NEXTHOP: PolicyActionType
POLICY_ACTION_TYPE_NEXTHOP_GROUP: PolicyActionType
POLICY_ACTION_TYPE_NONE: PolicyActionType
POLICY_ACTION_TYPE_TRAFFIC_CLASS: PolicyActionType
POLICY_ACTION_TYPE_VRF: PolicyActionType
POLICY_FEATURE_CONTROL_PLANE: PolicyFeature
POLICY_FEATURE_NONE: PolicyFeature
POLICY_FEATURE_PBR: PolicyFeature
POLICY_FEATURE_QOS: PolicyFeature
POLICY_FEATURE_TAP_AGGREGATION: PolicyFeature
POLICY_MAP_RULE_TYPE_CLASS_DEFAULT: PolicyMapRuleType
POLICY_MAP_RULE_TYPE_CLASS_MAP: PolicyMapRuleType
POLICY_MAP_RULE_TYPE_RAW: PolicyMapRuleType
POLICY_MAP_RULE_TYPE_UNSPECIFIED: PolicyMapRuleType
POLICY_MAP_STATUS_FAILURE: PolicyMapStatus
POLICY_MAP_STATUS_IN_PROGRESS: PolicyMapStatus
POLICY_MAP_STATUS_SUCCESS: PolicyMapStatus
POLICY_MAP_STATUS_UNKNOWN: PolicyMapStatus
POLICY_MAP_STATUS_UNSPECIFIED: PolicyMapStatus
TRAFFIC_POLICY_ACTION_TYPE_COUNT: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_DROP: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_DSCP: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_GOTO: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_LOG: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_MIRROR: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_NEXTHOP_GROUP: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_NONE: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_PERMIT: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_POLICE: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_PUNT: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_TRAFFIC_CLASS: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_UNSPECIFIED: TrafficPolicyActionType
TRAFFIC_POLICY_ACTION_TYPE_VRF: TrafficPolicyActionType
TRAFFIC_POLICY_DIRECTION_IN: TrafficPolicyDirection
TRAFFIC_POLICY_DIRECTION_OUT: TrafficPolicyDirection
TRAFFIC_POLICY_RULE_TYPE_IPV4: TrafficPolicyRuleType
TRAFFIC_POLICY_RULE_TYPE_IPV6: TrafficPolicyRuleType
TRAFFIC_POLICY_RULE_TYPE_NONE: TrafficPolicyRuleType

class AclKey(_message.Message):
    __slots__ = ["acl_name", "acl_type"]
    ACL_NAME_FIELD_NUMBER: _ClassVar[int]
    ACL_TYPE_FIELD_NUMBER: _ClassVar[int]
    acl_name: str
    acl_type: AclType
    def __init__(self, acl_name: _Optional[str] = ..., acl_type: _Optional[_Union[AclType, str]] = ...) -> None: ...

class AclPortSpec(_message.Message):
    __slots__ = ["oper", "ports"]
    OPER_FIELD_NUMBER: _ClassVar[int]
    PORTS_FIELD_NUMBER: _ClassVar[int]
    oper: AclRangeOperator
    ports: _containers.RepeatedScalarFieldContainer[int]
    def __init__(self, oper: _Optional[_Union[AclRangeOperator, str]] = ..., ports: _Optional[_Iterable[int]] = ...) -> None: ...

class AclRuleBase(_message.Message):
    __slots__ = ["action", "log"]
    ACTION_FIELD_NUMBER: _ClassVar[int]
    LOG_FIELD_NUMBER: _ClassVar[int]
    action: AclAction
    log: bool
    def __init__(self, action: _Optional[_Union[AclAction, str]] = ..., log: bool = ...) -> None: ...

class AclRuleEth(_message.Message):
    __slots__ = ["base", "destination_addr", "destination_mask", "eth_protocol", "inner_vlan", "inner_vlan_mask", "source_addr", "source_mask", "vlan", "vlan_mask"]
    BASE_FIELD_NUMBER: _ClassVar[int]
    DESTINATION_ADDR_FIELD_NUMBER: _ClassVar[int]
    DESTINATION_MASK_FIELD_NUMBER: _ClassVar[int]
    ETH_PROTOCOL_FIELD_NUMBER: _ClassVar[int]
    INNER_VLAN_FIELD_NUMBER: _ClassVar[int]
    INNER_VLAN_MASK_FIELD_NUMBER: _ClassVar[int]
    SOURCE_ADDR_FIELD_NUMBER: _ClassVar[int]
    SOURCE_MASK_FIELD_NUMBER: _ClassVar[int]
    VLAN_FIELD_NUMBER: _ClassVar[int]
    VLAN_MASK_FIELD_NUMBER: _ClassVar[int]
    base: AclRuleBase
    destination_addr: bytes
    destination_mask: bytes
    eth_protocol: int
    inner_vlan: int
    inner_vlan_mask: int
    source_addr: bytes
    source_mask: bytes
    vlan: int
    vlan_mask: int
    def __init__(self, base: _Optional[_Union[AclRuleBase, _Mapping]] = ..., vlan: _Optional[int] = ..., vlan_mask: _Optional[int] = ..., inner_vlan: _Optional[int] = ..., inner_vlan_mask: _Optional[int] = ..., source_addr: _Optional[bytes] = ..., destination_addr: _Optional[bytes] = ..., source_mask: _Optional[bytes] = ..., destination_mask: _Optional[bytes] = ..., eth_protocol: _Optional[int] = ...) -> None: ...

class AclRuleIp(_message.Message):
    __slots__ = ["base", "destination_addr", "destination_port", "established", "icmp_code", "icmp_type", "inner_vlan", "inner_vlan_mask", "ip_protocol", "ip_type", "match_fragments", "match_ip_priority", "nexthop_group", "priority_mask", "priority_value", "source_addr", "source_port", "tcp_flags", "ttl", "vlan", "vlan_mask"]
    BASE_FIELD_NUMBER: _ClassVar[int]
    DESTINATION_ADDR_FIELD_NUMBER: _ClassVar[int]
    DESTINATION_PORT_FIELD_NUMBER: _ClassVar[int]
    ESTABLISHED_FIELD_NUMBER: _ClassVar[int]
    ICMP_CODE_FIELD_NUMBER: _ClassVar[int]
    ICMP_TYPE_FIELD_NUMBER: _ClassVar[int]
    INNER_VLAN_FIELD_NUMBER: _ClassVar[int]
    INNER_VLAN_MASK_FIELD_NUMBER: _ClassVar[int]
    IP_PROTOCOL_FIELD_NUMBER: _ClassVar[int]
    IP_TYPE_FIELD_NUMBER: _ClassVar[int]
    MATCH_FRAGMENTS_FIELD_NUMBER: _ClassVar[int]
    MATCH_IP_PRIORITY_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    PRIORITY_MASK_FIELD_NUMBER: _ClassVar[int]
    PRIORITY_VALUE_FIELD_NUMBER: _ClassVar[int]
    SOURCE_ADDR_FIELD_NUMBER: _ClassVar[int]
    SOURCE_PORT_FIELD_NUMBER: _ClassVar[int]
    TCP_FLAGS_FIELD_NUMBER: _ClassVar[int]
    TTL_FIELD_NUMBER: _ClassVar[int]
    VLAN_FIELD_NUMBER: _ClassVar[int]
    VLAN_MASK_FIELD_NUMBER: _ClassVar[int]
    base: AclRuleBase
    destination_addr: IpAddrMask
    destination_port: AclPortSpec
    established: bool
    icmp_code: int
    icmp_type: int
    inner_vlan: int
    inner_vlan_mask: int
    ip_protocol: int
    ip_type: AclIpType
    match_fragments: bool
    match_ip_priority: bool
    nexthop_group: str
    priority_mask: int
    priority_value: int
    source_addr: IpAddrMask
    source_port: AclPortSpec
    tcp_flags: int
    ttl: AclTtlSpec
    vlan: int
    vlan_mask: int
    def __init__(self, base: _Optional[_Union[AclRuleBase, _Mapping]] = ..., vlan: _Optional[int] = ..., vlan_mask: _Optional[int] = ..., inner_vlan: _Optional[int] = ..., inner_vlan_mask: _Optional[int] = ..., ip_protocol: _Optional[int] = ..., ttl: _Optional[_Union[AclTtlSpec, _Mapping]] = ..., source_addr: _Optional[_Union[IpAddrMask, _Mapping]] = ..., destination_addr: _Optional[_Union[IpAddrMask, _Mapping]] = ..., source_port: _Optional[_Union[AclPortSpec, _Mapping]] = ..., destination_port: _Optional[_Union[AclPortSpec, _Mapping]] = ..., nexthop_group: _Optional[str] = ..., tcp_flags: _Optional[int] = ..., ip_type: _Optional[_Union[AclIpType, str]] = ..., established: bool = ..., icmp_type: _Optional[int] = ..., icmp_code: _Optional[int] = ..., priority_value: _Optional[int] = ..., priority_mask: _Optional[int] = ..., match_fragments: bool = ..., match_ip_priority: bool = ...) -> None: ...

class AclTtlSpec(_message.Message):
    __slots__ = ["oper", "ttl"]
    OPER_FIELD_NUMBER: _ClassVar[int]
    TTL_FIELD_NUMBER: _ClassVar[int]
    oper: AclRangeOperator
    ttl: int
    def __init__(self, oper: _Optional[_Union[AclRangeOperator, str]] = ..., ttl: _Optional[int] = ...) -> None: ...

class BgpPath(_message.Message):
    __slots__ = ["path_attr", "path_key"]
    PATH_ATTR_FIELD_NUMBER: _ClassVar[int]
    PATH_KEY_FIELD_NUMBER: _ClassVar[int]
    path_attr: BgpPathAttrs
    path_key: BgpPathKey
    def __init__(self, path_key: _Optional[_Union[BgpPathKey, _Mapping]] = ..., path_attr: _Optional[_Union[BgpPathAttrs, _Mapping]] = ...) -> None: ...

class BgpPathAttrFields(_message.Message):
    __slots__ = ["community_list", "next_hop"]
    COMMUNITY_LIST_FIELD_NUMBER: _ClassVar[int]
    NEXT_HOP_FIELD_NUMBER: _ClassVar[int]
    community_list: bool
    next_hop: bool
    def __init__(self, next_hop: bool = ..., community_list: bool = ...) -> None: ...

class BgpPathAttrs(_message.Message):
    __slots__ = ["community_list", "local_pref", "med", "next_hop", "origin"]
    COMMUNITY_LIST_FIELD_NUMBER: _ClassVar[int]
    LOCAL_PREF_FIELD_NUMBER: _ClassVar[int]
    MED_FIELD_NUMBER: _ClassVar[int]
    NEXT_HOP_FIELD_NUMBER: _ClassVar[int]
    ORIGIN_FIELD_NUMBER: _ClassVar[int]
    community_list: _containers.RepeatedScalarFieldContainer[int]
    local_pref: int
    med: int
    next_hop: bytes
    origin: int
    def __init__(self, next_hop: _Optional[bytes] = ..., origin: _Optional[int] = ..., med: _Optional[int] = ..., local_pref: _Optional[int] = ..., community_list: _Optional[_Iterable[int]] = ...) -> None: ...

class BgpPathKey(_message.Message):
    __slots__ = ["peer_addr", "prefix", "vrf_name"]
    PEER_ADDR_FIELD_NUMBER: _ClassVar[int]
    PREFIX_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    peer_addr: bytes
    prefix: Prefix
    vrf_name: str
    def __init__(self, peer_addr: _Optional[bytes] = ..., vrf_name: _Optional[str] = ..., prefix: _Optional[_Union[Prefix, _Mapping]] = ...) -> None: ...

class BgpPathOptions(_message.Message):
    __slots__ = ["path_attr_fields", "receive_route_stage"]
    PATH_ATTR_FIELDS_FIELD_NUMBER: _ClassVar[int]
    RECEIVE_ROUTE_STAGE_FIELD_NUMBER: _ClassVar[int]
    path_attr_fields: BgpPathAttrFields
    receive_route_stage: int
    def __init__(self, receive_route_stage: _Optional[int] = ..., path_attr_fields: _Optional[_Union[BgpPathAttrFields, _Mapping]] = ...) -> None: ...

class BgpPeerKey(_message.Message):
    __slots__ = ["peer_addr", "vrf_name"]
    PEER_ADDR_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    peer_addr: bytes
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., peer_addr: _Optional[bytes] = ...) -> None: ...

class ClassMap(_message.Message):
    __slots__ = ["key", "rules"]
    class RulesEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: ClassMapRule
        def __init__(self, key: _Optional[int] = ..., value: _Optional[_Union[ClassMapRule, _Mapping]] = ...) -> None: ...
    KEY_FIELD_NUMBER: _ClassVar[int]
    RULES_FIELD_NUMBER: _ClassVar[int]
    key: PolicyMapKey
    rules: _containers.MessageMap[int, ClassMapRule]
    def __init__(self, key: _Optional[_Union[PolicyMapKey, _Mapping]] = ..., rules: _Optional[_Mapping[int, ClassMapRule]] = ...) -> None: ...

class ClassMapRule(_message.Message):
    __slots__ = ["acl_key"]
    ACL_KEY_FIELD_NUMBER: _ClassVar[int]
    acl_key: AclKey
    def __init__(self, acl_key: _Optional[_Union[AclKey, _Mapping]] = ...) -> None: ...

class CmdapiResponse(_message.Message):
    __slots__ = ["error_code", "error_message", "raw_response", "responses", "success"]
    ERROR_CODE_FIELD_NUMBER: _ClassVar[int]
    ERROR_MESSAGE_FIELD_NUMBER: _ClassVar[int]
    RAW_RESPONSE_FIELD_NUMBER: _ClassVar[int]
    RESPONSES_FIELD_NUMBER: _ClassVar[int]
    SUCCESS_FIELD_NUMBER: _ClassVar[int]
    error_code: int
    error_message: str
    raw_response: str
    responses: _containers.RepeatedScalarFieldContainer[str]
    success: bool
    def __init__(self, success: bool = ..., error_code: _Optional[int] = ..., error_message: _Optional[str] = ..., responses: _Optional[_Iterable[str]] = ..., raw_response: _Optional[str] = ...) -> None: ...

class EthLagIntf(_message.Message):
    __slots__ = ["fallback_timeout", "fallback_timeout_default", "fallback_type", "intf", "min_links", "min_speed", "speed"]
    FALLBACK_TIMEOUT_DEFAULT_FIELD_NUMBER: _ClassVar[int]
    FALLBACK_TIMEOUT_FIELD_NUMBER: _ClassVar[int]
    FALLBACK_TYPE_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    MIN_LINKS_FIELD_NUMBER: _ClassVar[int]
    MIN_SPEED_FIELD_NUMBER: _ClassVar[int]
    SPEED_FIELD_NUMBER: _ClassVar[int]
    fallback_timeout: int
    fallback_timeout_default: int
    fallback_type: EthLagIntfFallbackType
    intf: IntfId
    min_links: int
    min_speed: int
    speed: int
    def __init__(self, intf: _Optional[_Union[IntfId, _Mapping]] = ..., speed: _Optional[int] = ..., min_links: _Optional[int] = ..., fallback_type: _Optional[_Union[EthLagIntfFallbackType, str]] = ..., fallback_timeout: _Optional[int] = ..., fallback_timeout_default: _Optional[int] = ..., min_speed: _Optional[int] = ...) -> None: ...

class EthLagIntfMembership(_message.Message):
    __slots__ = ["active", "eth_lag_intf_id", "member_time", "mode", "reason"]
    ACTIVE_FIELD_NUMBER: _ClassVar[int]
    ETH_LAG_INTF_ID_FIELD_NUMBER: _ClassVar[int]
    MEMBER_TIME_FIELD_NUMBER: _ClassVar[int]
    MODE_FIELD_NUMBER: _ClassVar[int]
    REASON_FIELD_NUMBER: _ClassVar[int]
    active: bool
    eth_lag_intf_id: IntfId
    member_time: float
    mode: EthLagIntfMemberLacpMode
    reason: str
    def __init__(self, eth_lag_intf_id: _Optional[_Union[IntfId, _Mapping]] = ..., active: bool = ..., reason: _Optional[str] = ..., member_time: _Optional[float] = ..., mode: _Optional[_Union[EthLagIntfMemberLacpMode, str]] = ...) -> None: ...

class EthPhyIntfBinCounters(_message.Message):
    __slots__ = ["in_1024_to_1522_octet_frames", "in_128_to_255_octet_frames", "in_1523_to_max_octet_frames", "in_256_to_511_octet_frames", "in_512_to_1023_octet_frames", "in_64_octet_frames", "in_65_to_127_octet_frames", "out_1024_to_1522_octet_frames", "out_128_to_255_octet_frames", "out_1523_to_max_octet_frames", "out_256_to_511_octet_frames", "out_512_to_1023_octet_frames", "out_64_octet_frames", "out_65_to_127_octet_frames"]
    IN_1024_TO_1522_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_128_TO_255_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_1523_TO_MAX_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_256_TO_511_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_512_TO_1023_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_64_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_65_TO_127_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_1024_TO_1522_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_128_TO_255_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_1523_TO_MAX_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_256_TO_511_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_512_TO_1023_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_64_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_65_TO_127_OCTET_FRAMES_FIELD_NUMBER: _ClassVar[int]
    in_1024_to_1522_octet_frames: int
    in_128_to_255_octet_frames: int
    in_1523_to_max_octet_frames: int
    in_256_to_511_octet_frames: int
    in_512_to_1023_octet_frames: int
    in_64_octet_frames: int
    in_65_to_127_octet_frames: int
    out_1024_to_1522_octet_frames: int
    out_128_to_255_octet_frames: int
    out_1523_to_max_octet_frames: int
    out_256_to_511_octet_frames: int
    out_512_to_1023_octet_frames: int
    out_64_octet_frames: int
    out_65_to_127_octet_frames: int
    def __init__(self, in_64_octet_frames: _Optional[int] = ..., in_65_to_127_octet_frames: _Optional[int] = ..., in_128_to_255_octet_frames: _Optional[int] = ..., in_256_to_511_octet_frames: _Optional[int] = ..., in_512_to_1023_octet_frames: _Optional[int] = ..., in_1024_to_1522_octet_frames: _Optional[int] = ..., in_1523_to_max_octet_frames: _Optional[int] = ..., out_64_octet_frames: _Optional[int] = ..., out_65_to_127_octet_frames: _Optional[int] = ..., out_128_to_255_octet_frames: _Optional[int] = ..., out_256_to_511_octet_frames: _Optional[int] = ..., out_512_to_1023_octet_frames: _Optional[int] = ..., out_1024_to_1522_octet_frames: _Optional[int] = ..., out_1523_to_max_octet_frames: _Optional[int] = ...) -> None: ...

class EthPhyIntfCounters(_message.Message):
    __slots__ = ["alignment_errors", "carrier_sense_errors", "deferred_transmissions", "excessive_collisions", "fcs_errors", "fragments", "frame_too_longs", "frame_too_shorts", "in_pause_frames", "in_unknown_opcodes", "internal_mac_receive_errors", "internal_mac_transmit_errors", "jabbers", "late_collisions", "multiple_collision_frames", "out_pause_frames", "single_collision_frames", "sqe_test_errors", "symbol_errors"]
    ALIGNMENT_ERRORS_FIELD_NUMBER: _ClassVar[int]
    CARRIER_SENSE_ERRORS_FIELD_NUMBER: _ClassVar[int]
    DEFERRED_TRANSMISSIONS_FIELD_NUMBER: _ClassVar[int]
    EXCESSIVE_COLLISIONS_FIELD_NUMBER: _ClassVar[int]
    FCS_ERRORS_FIELD_NUMBER: _ClassVar[int]
    FRAGMENTS_FIELD_NUMBER: _ClassVar[int]
    FRAME_TOO_LONGS_FIELD_NUMBER: _ClassVar[int]
    FRAME_TOO_SHORTS_FIELD_NUMBER: _ClassVar[int]
    INTERNAL_MAC_RECEIVE_ERRORS_FIELD_NUMBER: _ClassVar[int]
    INTERNAL_MAC_TRANSMIT_ERRORS_FIELD_NUMBER: _ClassVar[int]
    IN_PAUSE_FRAMES_FIELD_NUMBER: _ClassVar[int]
    IN_UNKNOWN_OPCODES_FIELD_NUMBER: _ClassVar[int]
    JABBERS_FIELD_NUMBER: _ClassVar[int]
    LATE_COLLISIONS_FIELD_NUMBER: _ClassVar[int]
    MULTIPLE_COLLISION_FRAMES_FIELD_NUMBER: _ClassVar[int]
    OUT_PAUSE_FRAMES_FIELD_NUMBER: _ClassVar[int]
    SINGLE_COLLISION_FRAMES_FIELD_NUMBER: _ClassVar[int]
    SQE_TEST_ERRORS_FIELD_NUMBER: _ClassVar[int]
    SYMBOL_ERRORS_FIELD_NUMBER: _ClassVar[int]
    alignment_errors: int
    carrier_sense_errors: int
    deferred_transmissions: int
    excessive_collisions: int
    fcs_errors: int
    fragments: int
    frame_too_longs: int
    frame_too_shorts: int
    in_pause_frames: int
    in_unknown_opcodes: int
    internal_mac_receive_errors: int
    internal_mac_transmit_errors: int
    jabbers: int
    late_collisions: int
    multiple_collision_frames: int
    out_pause_frames: int
    single_collision_frames: int
    sqe_test_errors: int
    symbol_errors: int
    def __init__(self, single_collision_frames: _Optional[int] = ..., multiple_collision_frames: _Optional[int] = ..., fcs_errors: _Optional[int] = ..., alignment_errors: _Optional[int] = ..., deferred_transmissions: _Optional[int] = ..., late_collisions: _Optional[int] = ..., excessive_collisions: _Optional[int] = ..., internal_mac_transmit_errors: _Optional[int] = ..., carrier_sense_errors: _Optional[int] = ..., internal_mac_receive_errors: _Optional[int] = ..., frame_too_shorts: _Optional[int] = ..., frame_too_longs: _Optional[int] = ..., sqe_test_errors: _Optional[int] = ..., symbol_errors: _Optional[int] = ..., in_unknown_opcodes: _Optional[int] = ..., out_pause_frames: _Optional[int] = ..., in_pause_frames: _Optional[int] = ..., fragments: _Optional[int] = ..., jabbers: _Optional[int] = ...) -> None: ...

class FibFec(_message.Message):
    __slots__ = ["fec_key", "fec_type", "nexthop_group_name", "via"]
    FEC_KEY_FIELD_NUMBER: _ClassVar[int]
    FEC_TYPE_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    VIA_FIELD_NUMBER: _ClassVar[int]
    fec_key: FibFecKey
    fec_type: FibFecType
    nexthop_group_name: str
    via: _containers.RepeatedCompositeFieldContainer[FibFecVia]
    def __init__(self, fec_key: _Optional[_Union[FibFecKey, _Mapping]] = ..., fec_type: _Optional[_Union[FibFecType, str]] = ..., nexthop_group_name: _Optional[str] = ..., via: _Optional[_Iterable[_Union[FibFecVia, _Mapping]]] = ...) -> None: ...

class FibFecKey(_message.Message):
    __slots__ = ["fec_id"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    fec_id: int
    def __init__(self, fec_id: _Optional[int] = ...) -> None: ...

class FibFecVia(_message.Message):
    __slots__ = ["hop", "intf", "mpls_label"]
    HOP_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    MPLS_LABEL_FIELD_NUMBER: _ClassVar[int]
    hop: bytes
    intf: IntfId
    mpls_label: MplsLabel
    def __init__(self, hop: _Optional[bytes] = ..., intf: _Optional[_Union[IntfId, _Mapping]] = ..., mpls_label: _Optional[_Union[MplsLabel, _Mapping]] = ...) -> None: ...

class FibRoute(_message.Message):
    __slots__ = ["fec_id", "metric", "preference", "route_key", "route_type"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    METRIC_FIELD_NUMBER: _ClassVar[int]
    PREFERENCE_FIELD_NUMBER: _ClassVar[int]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    ROUTE_TYPE_FIELD_NUMBER: _ClassVar[int]
    fec_id: int
    metric: int
    preference: int
    route_key: FibRouteKey
    route_type: FibRouteType
    def __init__(self, route_key: _Optional[_Union[FibRouteKey, _Mapping]] = ..., preference: _Optional[int] = ..., metric: _Optional[int] = ..., route_type: _Optional[_Union[FibRouteType, str]] = ..., fec_id: _Optional[int] = ...) -> None: ...

class FibRouteKey(_message.Message):
    __slots__ = ["prefix"]
    PREFIX_FIELD_NUMBER: _ClassVar[int]
    prefix: Prefix
    def __init__(self, prefix: _Optional[_Union[Prefix, _Mapping]] = ...) -> None: ...

class IntfCounters(_message.Message):
    __slots__ = ["in_broadcast_pkts", "in_discards", "in_errors", "in_multicast_pkts", "in_octets", "in_ucast_pkts", "out_broadcast_pkts", "out_discards", "out_errors", "out_multicast_pkts", "out_octets", "out_ucast_pkts", "sample_time"]
    IN_BROADCAST_PKTS_FIELD_NUMBER: _ClassVar[int]
    IN_DISCARDS_FIELD_NUMBER: _ClassVar[int]
    IN_ERRORS_FIELD_NUMBER: _ClassVar[int]
    IN_MULTICAST_PKTS_FIELD_NUMBER: _ClassVar[int]
    IN_OCTETS_FIELD_NUMBER: _ClassVar[int]
    IN_UCAST_PKTS_FIELD_NUMBER: _ClassVar[int]
    OUT_BROADCAST_PKTS_FIELD_NUMBER: _ClassVar[int]
    OUT_DISCARDS_FIELD_NUMBER: _ClassVar[int]
    OUT_ERRORS_FIELD_NUMBER: _ClassVar[int]
    OUT_MULTICAST_PKTS_FIELD_NUMBER: _ClassVar[int]
    OUT_OCTETS_FIELD_NUMBER: _ClassVar[int]
    OUT_UCAST_PKTS_FIELD_NUMBER: _ClassVar[int]
    SAMPLE_TIME_FIELD_NUMBER: _ClassVar[int]
    in_broadcast_pkts: int
    in_discards: int
    in_errors: int
    in_multicast_pkts: int
    in_octets: int
    in_ucast_pkts: int
    out_broadcast_pkts: int
    out_discards: int
    out_errors: int
    out_multicast_pkts: int
    out_octets: int
    out_ucast_pkts: int
    sample_time: float
    def __init__(self, out_ucast_pkts: _Optional[int] = ..., out_multicast_pkts: _Optional[int] = ..., out_broadcast_pkts: _Optional[int] = ..., in_ucast_pkts: _Optional[int] = ..., in_multicast_pkts: _Optional[int] = ..., in_broadcast_pkts: _Optional[int] = ..., out_octets: _Optional[int] = ..., in_octets: _Optional[int] = ..., out_discards: _Optional[int] = ..., out_errors: _Optional[int] = ..., in_discards: _Optional[int] = ..., in_errors: _Optional[int] = ..., sample_time: _Optional[float] = ...) -> None: ...

class IntfId(_message.Message):
    __slots__ = ["name"]
    NAME_FIELD_NUMBER: _ClassVar[int]
    name: str
    def __init__(self, name: _Optional[str] = ...) -> None: ...

class IntfTrafficRates(_message.Message):
    __slots__ = ["in_bits_rate", "in_pkts_rate", "out_bits_rate", "out_pkts_rate", "sample_time"]
    IN_BITS_RATE_FIELD_NUMBER: _ClassVar[int]
    IN_PKTS_RATE_FIELD_NUMBER: _ClassVar[int]
    OUT_BITS_RATE_FIELD_NUMBER: _ClassVar[int]
    OUT_PKTS_RATE_FIELD_NUMBER: _ClassVar[int]
    SAMPLE_TIME_FIELD_NUMBER: _ClassVar[int]
    in_bits_rate: float
    in_pkts_rate: float
    out_bits_rate: float
    out_pkts_rate: float
    sample_time: float
    def __init__(self, out_pkts_rate: _Optional[float] = ..., in_pkts_rate: _Optional[float] = ..., out_bits_rate: _Optional[float] = ..., in_bits_rate: _Optional[float] = ..., sample_time: _Optional[float] = ...) -> None: ...

class IpAddrMask(_message.Message):
    __slots__ = ["addr", "mask_length"]
    ADDR_FIELD_NUMBER: _ClassVar[int]
    MASK_LENGTH_FIELD_NUMBER: _ClassVar[int]
    addr: bytes
    mask_length: int
    def __init__(self, addr: _Optional[bytes] = ..., mask_length: _Optional[int] = ...) -> None: ...

class IpRoute(_message.Message):
    __slots__ = ["command_tag", "key", "rib_bypass", "tag"]
    COMMAND_TAG_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    RIB_BYPASS_FIELD_NUMBER: _ClassVar[int]
    TAG_FIELD_NUMBER: _ClassVar[int]
    command_tag: str
    key: IpRouteKey
    rib_bypass: bool
    tag: int
    def __init__(self, key: _Optional[_Union[IpRouteKey, _Mapping]] = ..., tag: _Optional[int] = ..., rib_bypass: bool = ..., command_tag: _Optional[str] = ...) -> None: ...

class IpRouteKey(_message.Message):
    __slots__ = ["preference", "prefix"]
    PREFERENCE_FIELD_NUMBER: _ClassVar[int]
    PREFIX_FIELD_NUMBER: _ClassVar[int]
    preference: int
    prefix: Prefix
    def __init__(self, prefix: _Optional[_Union[Prefix, _Mapping]] = ..., preference: _Optional[int] = ...) -> None: ...

class IpRouteVia(_message.Message):
    __slots__ = ["egress_vrf", "hop", "intf", "metric", "mpls_label", "nexthop_group", "route_key", "router_mac", "vni", "vtep_addr", "vtep_sip_validation", "vxlan_intf", "weight"]
    EGRESS_VRF_FIELD_NUMBER: _ClassVar[int]
    HOP_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    METRIC_FIELD_NUMBER: _ClassVar[int]
    MPLS_LABEL_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    ROUTER_MAC_FIELD_NUMBER: _ClassVar[int]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    VNI_FIELD_NUMBER: _ClassVar[int]
    VTEP_ADDR_FIELD_NUMBER: _ClassVar[int]
    VTEP_SIP_VALIDATION_FIELD_NUMBER: _ClassVar[int]
    VXLAN_INTF_FIELD_NUMBER: _ClassVar[int]
    WEIGHT_FIELD_NUMBER: _ClassVar[int]
    egress_vrf: str
    hop: bytes
    intf: IntfId
    metric: int
    mpls_label: int
    nexthop_group: str
    route_key: IpRouteKey
    router_mac: bytes
    vni: int
    vtep_addr: bytes
    vtep_sip_validation: bool
    vxlan_intf: IntfId
    weight: int
    def __init__(self, route_key: _Optional[_Union[IpRouteKey, _Mapping]] = ..., hop: _Optional[bytes] = ..., intf: _Optional[_Union[IntfId, _Mapping]] = ..., nexthop_group: _Optional[str] = ..., mpls_label: _Optional[int] = ..., vni: _Optional[int] = ..., vtep_addr: _Optional[bytes] = ..., router_mac: _Optional[bytes] = ..., egress_vrf: _Optional[str] = ..., metric: _Optional[int] = ..., vxlan_intf: _Optional[_Union[IntfId, _Mapping]] = ..., vtep_sip_validation: bool = ..., weight: _Optional[int] = ...) -> None: ...

class MacsecIntfCounters(_message.Message):
    __slots__ = ["in_octets_decrypted", "in_pkts_decrypted", "in_pkts_not_valid", "out_octets_encrypted", "out_pkts_encrypted"]
    IN_OCTETS_DECRYPTED_FIELD_NUMBER: _ClassVar[int]
    IN_PKTS_DECRYPTED_FIELD_NUMBER: _ClassVar[int]
    IN_PKTS_NOT_VALID_FIELD_NUMBER: _ClassVar[int]
    OUT_OCTETS_ENCRYPTED_FIELD_NUMBER: _ClassVar[int]
    OUT_PKTS_ENCRYPTED_FIELD_NUMBER: _ClassVar[int]
    in_octets_decrypted: int
    in_pkts_decrypted: int
    in_pkts_not_valid: int
    out_octets_encrypted: int
    out_pkts_encrypted: int
    def __init__(self, in_octets_decrypted: _Optional[int] = ..., in_pkts_decrypted: _Optional[int] = ..., in_pkts_not_valid: _Optional[int] = ..., out_octets_encrypted: _Optional[int] = ..., out_pkts_encrypted: _Optional[int] = ...) -> None: ...

class MacsecIntfStatus(_message.Message):
    __slots__ = ["key_status", "traffic_status"]
    KEY_STATUS_FIELD_NUMBER: _ClassVar[int]
    TRAFFIC_STATUS_FIELD_NUMBER: _ClassVar[int]
    key_status: MacsecIntfKeyStatus
    traffic_status: MacsecIntfTrafficStatus
    def __init__(self, key_status: _Optional[_Union[MacsecIntfKeyStatus, str]] = ..., traffic_status: _Optional[_Union[MacsecIntfTrafficStatus, str]] = ...) -> None: ...

class MacsecKey(_message.Message):
    __slots__ = ["cak", "ckn", "encoded"]
    CAK_FIELD_NUMBER: _ClassVar[int]
    CKN_FIELD_NUMBER: _ClassVar[int]
    ENCODED_FIELD_NUMBER: _ClassVar[int]
    cak: str
    ckn: str
    encoded: bool
    def __init__(self, cak: _Optional[str] = ..., ckn: _Optional[str] = ..., encoded: bool = ...) -> None: ...

class MacsecProfile(_message.Message):
    __slots__ = ["allow_unprotected", "bypass_lldp", "cipher", "dot1x", "fallback_key", "include_sci", "intfs", "key_retirement_immediate", "key_server_priority", "lldp_bypass_level", "mka_life_time", "name", "primary_key", "rekey_period", "replay_protection", "replay_protection_window", "traffic_policy"]
    ALLOW_UNPROTECTED_FIELD_NUMBER: _ClassVar[int]
    BYPASS_LLDP_FIELD_NUMBER: _ClassVar[int]
    CIPHER_FIELD_NUMBER: _ClassVar[int]
    DOT1X_FIELD_NUMBER: _ClassVar[int]
    FALLBACK_KEY_FIELD_NUMBER: _ClassVar[int]
    INCLUDE_SCI_FIELD_NUMBER: _ClassVar[int]
    INTFS_FIELD_NUMBER: _ClassVar[int]
    KEY_RETIREMENT_IMMEDIATE_FIELD_NUMBER: _ClassVar[int]
    KEY_SERVER_PRIORITY_FIELD_NUMBER: _ClassVar[int]
    LLDP_BYPASS_LEVEL_FIELD_NUMBER: _ClassVar[int]
    MKA_LIFE_TIME_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    PRIMARY_KEY_FIELD_NUMBER: _ClassVar[int]
    REKEY_PERIOD_FIELD_NUMBER: _ClassVar[int]
    REPLAY_PROTECTION_FIELD_NUMBER: _ClassVar[int]
    REPLAY_PROTECTION_WINDOW_FIELD_NUMBER: _ClassVar[int]
    TRAFFIC_POLICY_FIELD_NUMBER: _ClassVar[int]
    allow_unprotected: bool
    bypass_lldp: bool
    cipher: MacsecCipherSuite
    dot1x: bool
    fallback_key: MacsecKey
    include_sci: bool
    intfs: _containers.RepeatedCompositeFieldContainer[IntfId]
    key_retirement_immediate: bool
    key_server_priority: int
    lldp_bypass_level: MacsecBypass
    mka_life_time: int
    name: str
    primary_key: MacsecKey
    rekey_period: int
    replay_protection: bool
    replay_protection_window: int
    traffic_policy: MacsecProfileTrafficPolicy
    def __init__(self, key_server_priority: _Optional[int] = ..., name: _Optional[str] = ..., primary_key: _Optional[_Union[MacsecKey, _Mapping]] = ..., fallback_key: _Optional[_Union[MacsecKey, _Mapping]] = ..., rekey_period: _Optional[int] = ..., mka_life_time: _Optional[int] = ..., cipher: _Optional[_Union[MacsecCipherSuite, str]] = ..., dot1x: bool = ..., include_sci: bool = ..., lldp_bypass_level: _Optional[_Union[MacsecBypass, str]] = ..., traffic_policy: _Optional[_Union[MacsecProfileTrafficPolicy, str]] = ..., allow_unprotected: bool = ..., replay_protection: bool = ..., replay_protection_window: _Optional[int] = ..., key_retirement_immediate: bool = ..., bypass_lldp: bool = ..., intfs: _Optional[_Iterable[_Union[IntfId, _Mapping]]] = ...) -> None: ...

class MplsFecId(_message.Message):
    __slots__ = ["id"]
    ID_FIELD_NUMBER: _ClassVar[int]
    id: int
    def __init__(self, id: _Optional[int] = ...) -> None: ...

class MplsLabel(_message.Message):
    __slots__ = ["label"]
    LABEL_FIELD_NUMBER: _ClassVar[int]
    label: int
    def __init__(self, label: _Optional[int] = ...) -> None: ...

class MplsRoute(_message.Message):
    __slots__ = ["key", "version_id"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    key: MplsRouteKey
    version_id: int
    def __init__(self, key: _Optional[_Union[MplsRouteKey, _Mapping]] = ..., version_id: _Optional[int] = ...) -> None: ...

class MplsRouteKey(_message.Message):
    __slots__ = ["labels", "metric"]
    LABELS_FIELD_NUMBER: _ClassVar[int]
    METRIC_FIELD_NUMBER: _ClassVar[int]
    labels: _containers.RepeatedCompositeFieldContainer[MplsLabel]
    metric: int
    def __init__(self, labels: _Optional[_Iterable[_Union[MplsLabel, _Mapping]]] = ..., metric: _Optional[int] = ...) -> None: ...

class MplsRouteStatus(_message.Message):
    __slots__ = ["fec_id", "hw_version_id", "key"]
    FEC_ID_FIELD_NUMBER: _ClassVar[int]
    HW_VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    KEY_FIELD_NUMBER: _ClassVar[int]
    fec_id: MplsFecId
    hw_version_id: int
    key: MplsRouteKey
    def __init__(self, key: _Optional[_Union[MplsRouteKey, _Mapping]] = ..., fec_id: _Optional[_Union[MplsFecId, _Mapping]] = ..., hw_version_id: _Optional[int] = ...) -> None: ...

class MplsRouteVia(_message.Message):
    __slots__ = ["hop", "intf", "label_action", "nexthop_group", "payload_type", "pushswap_label", "route_key", "skip_egress_acl", "ttl_mode"]
    HOP_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    LABEL_ACTION_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    PAYLOAD_TYPE_FIELD_NUMBER: _ClassVar[int]
    PUSHSWAP_LABEL_FIELD_NUMBER: _ClassVar[int]
    ROUTE_KEY_FIELD_NUMBER: _ClassVar[int]
    SKIP_EGRESS_ACL_FIELD_NUMBER: _ClassVar[int]
    TTL_MODE_FIELD_NUMBER: _ClassVar[int]
    hop: bytes
    intf: IntfId
    label_action: MplsActions
    nexthop_group: str
    payload_type: MplsPayloadType
    pushswap_label: MplsLabel
    route_key: MplsRouteKey
    skip_egress_acl: bool
    ttl_mode: MplsTtlMode
    def __init__(self, label_action: _Optional[_Union[MplsActions, str]] = ..., route_key: _Optional[_Union[MplsRouteKey, _Mapping]] = ..., hop: _Optional[bytes] = ..., intf: _Optional[_Union[IntfId, _Mapping]] = ..., pushswap_label: _Optional[_Union[MplsLabel, _Mapping]] = ..., ttl_mode: _Optional[_Union[MplsTtlMode, str]] = ..., payload_type: _Optional[_Union[MplsPayloadType, str]] = ..., skip_egress_acl: bool = ..., nexthop_group: _Optional[str] = ...) -> None: ...

class MplsVrfLabel(_message.Message):
    __slots__ = ["label", "vrf_name"]
    LABEL_FIELD_NUMBER: _ClassVar[int]
    VRF_NAME_FIELD_NUMBER: _ClassVar[int]
    label: MplsLabel
    vrf_name: str
    def __init__(self, vrf_name: _Optional[str] = ..., label: _Optional[_Union[MplsLabel, _Mapping]] = ...) -> None: ...

class NexthopGroup(_message.Message):
    __slots__ = ["autosize", "backup_nexthops", "counters_persistent", "counters_unshared", "destination_ips", "gre_key_type", "hierarchical_fecs_enabled", "name", "nexthops", "source_intf", "source_ip", "ttl", "type", "version_id"]
    class BackupNexthopsEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: NexthopGroupEntry
        def __init__(self, key: _Optional[int] = ..., value: _Optional[_Union[NexthopGroupEntry, _Mapping]] = ...) -> None: ...
    class DestinationIpsEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: bytes
        def __init__(self, key: _Optional[int] = ..., value: _Optional[bytes] = ...) -> None: ...
    class NexthopsEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: NexthopGroupEntry
        def __init__(self, key: _Optional[int] = ..., value: _Optional[_Union[NexthopGroupEntry, _Mapping]] = ...) -> None: ...
    AUTOSIZE_FIELD_NUMBER: _ClassVar[int]
    BACKUP_NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    COUNTERS_PERSISTENT_FIELD_NUMBER: _ClassVar[int]
    COUNTERS_UNSHARED_FIELD_NUMBER: _ClassVar[int]
    DESTINATION_IPS_FIELD_NUMBER: _ClassVar[int]
    GRE_KEY_TYPE_FIELD_NUMBER: _ClassVar[int]
    HIERARCHICAL_FECS_ENABLED_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    SOURCE_INTF_FIELD_NUMBER: _ClassVar[int]
    SOURCE_IP_FIELD_NUMBER: _ClassVar[int]
    TTL_FIELD_NUMBER: _ClassVar[int]
    TYPE_FIELD_NUMBER: _ClassVar[int]
    VERSION_ID_FIELD_NUMBER: _ClassVar[int]
    autosize: bool
    backup_nexthops: _containers.MessageMap[int, NexthopGroupEntry]
    counters_persistent: bool
    counters_unshared: bool
    destination_ips: _containers.ScalarMap[int, bytes]
    gre_key_type: NexthopGroupGreKeyTypes
    hierarchical_fecs_enabled: bool
    name: str
    nexthops: _containers.MessageMap[int, NexthopGroupEntry]
    source_intf: IntfId
    source_ip: bytes
    ttl: int
    type: NexthopGroupEncapTypes
    version_id: int
    def __init__(self, gre_key_type: _Optional[_Union[NexthopGroupGreKeyTypes, str]] = ..., type: _Optional[_Union[NexthopGroupEncapTypes, str]] = ..., name: _Optional[str] = ..., ttl: _Optional[int] = ..., source_ip: _Optional[bytes] = ..., source_intf: _Optional[_Union[IntfId, _Mapping]] = ..., autosize: bool = ..., nexthops: _Optional[_Mapping[int, NexthopGroupEntry]] = ..., backup_nexthops: _Optional[_Mapping[int, NexthopGroupEntry]] = ..., destination_ips: _Optional[_Mapping[int, bytes]] = ..., counters_unshared: bool = ..., counters_persistent: bool = ..., hierarchical_fecs_enabled: bool = ..., version_id: _Optional[int] = ...) -> None: ...

class NexthopGroupCounter(_message.Message):
    __slots__ = ["bytes", "entry", "packets", "valid"]
    BYTES_FIELD_NUMBER: _ClassVar[int]
    ENTRY_FIELD_NUMBER: _ClassVar[int]
    PACKETS_FIELD_NUMBER: _ClassVar[int]
    VALID_FIELD_NUMBER: _ClassVar[int]
    bytes: int
    entry: int
    packets: int
    valid: bool
    def __init__(self, packets: _Optional[int] = ..., bytes: _Optional[int] = ..., valid: bool = ..., entry: _Optional[int] = ...) -> None: ...

class NexthopGroupEntry(_message.Message):
    __slots__ = ["child_nexthop_group", "intf", "mpls_action", "nexthop"]
    CHILD_NEXTHOP_GROUP_FIELD_NUMBER: _ClassVar[int]
    INTF_FIELD_NUMBER: _ClassVar[int]
    MPLS_ACTION_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_FIELD_NUMBER: _ClassVar[int]
    child_nexthop_group: str
    intf: IntfId
    mpls_action: NexthopGroupMplsAction
    nexthop: bytes
    def __init__(self, nexthop: _Optional[bytes] = ..., mpls_action: _Optional[_Union[NexthopGroupMplsAction, _Mapping]] = ..., intf: _Optional[_Union[IntfId, _Mapping]] = ..., child_nexthop_group: _Optional[str] = ...) -> None: ...

class NexthopGroupMplsAction(_message.Message):
    __slots__ = ["action_type", "label_stack"]
    ACTION_TYPE_FIELD_NUMBER: _ClassVar[int]
    LABEL_STACK_FIELD_NUMBER: _ClassVar[int]
    action_type: MplsActions
    label_stack: _containers.RepeatedScalarFieldContainer[int]
    def __init__(self, action_type: _Optional[_Union[MplsActions, str]] = ..., label_stack: _Optional[_Iterable[int]] = ...) -> None: ...

class PolicyMap(_message.Message):
    __slots__ = ["key", "rules"]
    class RulesEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: PolicyMapRule
        def __init__(self, key: _Optional[int] = ..., value: _Optional[_Union[PolicyMapRule, _Mapping]] = ...) -> None: ...
    KEY_FIELD_NUMBER: _ClassVar[int]
    RULES_FIELD_NUMBER: _ClassVar[int]
    key: PolicyMapKey
    rules: _containers.MessageMap[int, PolicyMapRule]
    def __init__(self, key: _Optional[_Union[PolicyMapKey, _Mapping]] = ..., rules: _Optional[_Mapping[int, PolicyMapRule]] = ...) -> None: ...

class PolicyMapAction(_message.Message):
    __slots__ = ["action_type", "dscp", "nexthop_group_name", "nexthops", "traffic_class", "vrf"]
    ACTION_TYPE_FIELD_NUMBER: _ClassVar[int]
    DSCP_FIELD_NUMBER: _ClassVar[int]
    NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUP_NAME_FIELD_NUMBER: _ClassVar[int]
    TRAFFIC_CLASS_FIELD_NUMBER: _ClassVar[int]
    VRF_FIELD_NUMBER: _ClassVar[int]
    action_type: PolicyActionType
    dscp: int
    nexthop_group_name: str
    nexthops: _containers.RepeatedScalarFieldContainer[bytes]
    traffic_class: int
    vrf: str
    def __init__(self, action_type: _Optional[_Union[PolicyActionType, str]] = ..., nexthop_group_name: _Optional[str] = ..., nexthops: _Optional[_Iterable[bytes]] = ..., vrf: _Optional[str] = ..., dscp: _Optional[int] = ..., traffic_class: _Optional[int] = ...) -> None: ...

class PolicyMapHwStatusKey(_message.Message):
    __slots__ = ["direction", "intf_id"]
    DIRECTION_FIELD_NUMBER: _ClassVar[int]
    INTF_ID_FIELD_NUMBER: _ClassVar[int]
    direction: AclDirection
    intf_id: IntfId
    def __init__(self, intf_id: _Optional[_Union[IntfId, _Mapping]] = ..., direction: _Optional[_Union[AclDirection, str]] = ...) -> None: ...

class PolicyMapHwStatuses(_message.Message):
    __slots__ = ["intf_statuses"]
    INTF_STATUSES_FIELD_NUMBER: _ClassVar[int]
    intf_statuses: _containers.RepeatedCompositeFieldContainer[PolicyMapStatusValue]
    def __init__(self, intf_statuses: _Optional[_Iterable[_Union[PolicyMapStatusValue, _Mapping]]] = ...) -> None: ...

class PolicyMapKey(_message.Message):
    __slots__ = ["feature", "name"]
    FEATURE_FIELD_NUMBER: _ClassVar[int]
    NAME_FIELD_NUMBER: _ClassVar[int]
    feature: PolicyFeature
    name: str
    def __init__(self, name: _Optional[str] = ..., feature: _Optional[_Union[PolicyFeature, str]] = ...) -> None: ...

class PolicyMapRule(_message.Message):
    __slots__ = ["actions", "class_map_key", "policy_map_rule_type", "raw_rule"]
    ACTIONS_FIELD_NUMBER: _ClassVar[int]
    CLASS_MAP_KEY_FIELD_NUMBER: _ClassVar[int]
    POLICY_MAP_RULE_TYPE_FIELD_NUMBER: _ClassVar[int]
    RAW_RULE_FIELD_NUMBER: _ClassVar[int]
    actions: _containers.RepeatedCompositeFieldContainer[PolicyMapAction]
    class_map_key: PolicyMapKey
    policy_map_rule_type: PolicyMapRuleType
    raw_rule: AclRuleIp
    def __init__(self, class_map_key: _Optional[_Union[PolicyMapKey, _Mapping]] = ..., policy_map_rule_type: _Optional[_Union[PolicyMapRuleType, str]] = ..., raw_rule: _Optional[_Union[AclRuleIp, _Mapping]] = ..., actions: _Optional[_Iterable[_Union[PolicyMapAction, _Mapping]]] = ...) -> None: ...

class PolicyMapStatusValue(_message.Message):
    __slots__ = ["key", "status"]
    KEY_FIELD_NUMBER: _ClassVar[int]
    STATUS_FIELD_NUMBER: _ClassVar[int]
    key: PolicyMapHwStatusKey
    status: PolicyMapStatus
    def __init__(self, key: _Optional[_Union[PolicyMapHwStatusKey, _Mapping]] = ..., status: _Optional[_Union[PolicyMapStatus, str]] = ...) -> None: ...

class PortField(_message.Message):
    __slots__ = ["dst_port_field_sets", "dst_ports", "src_port_field_sets", "src_ports"]
    DST_PORTS_FIELD_NUMBER: _ClassVar[int]
    DST_PORT_FIELD_SETS_FIELD_NUMBER: _ClassVar[int]
    SRC_PORTS_FIELD_NUMBER: _ClassVar[int]
    SRC_PORT_FIELD_SETS_FIELD_NUMBER: _ClassVar[int]
    dst_port_field_sets: _containers.RepeatedScalarFieldContainer[str]
    dst_ports: _containers.RepeatedCompositeFieldContainer[Range]
    src_port_field_sets: _containers.RepeatedScalarFieldContainer[str]
    src_ports: _containers.RepeatedCompositeFieldContainer[Range]
    def __init__(self, src_ports: _Optional[_Iterable[_Union[Range, _Mapping]]] = ..., dst_ports: _Optional[_Iterable[_Union[Range, _Mapping]]] = ..., src_port_field_sets: _Optional[_Iterable[str]] = ..., dst_port_field_sets: _Optional[_Iterable[str]] = ...) -> None: ...

class Prefix(_message.Message):
    __slots__ = ["network", "prefix_length"]
    NETWORK_FIELD_NUMBER: _ClassVar[int]
    PREFIX_LENGTH_FIELD_NUMBER: _ClassVar[int]
    network: bytes
    prefix_length: int
    def __init__(self, network: _Optional[bytes] = ..., prefix_length: _Optional[int] = ...) -> None: ...

class ProtocolField(_message.Message):
    __slots__ = ["ports"]
    class PortsEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: PortField
        def __init__(self, key: _Optional[int] = ..., value: _Optional[_Union[PortField, _Mapping]] = ...) -> None: ...
    PORTS_FIELD_NUMBER: _ClassVar[int]
    ports: _containers.MessageMap[int, PortField]
    def __init__(self, ports: _Optional[_Mapping[int, PortField]] = ...) -> None: ...

class Range(_message.Message):
    __slots__ = ["range_end", "range_start"]
    RANGE_END_FIELD_NUMBER: _ClassVar[int]
    RANGE_START_FIELD_NUMBER: _ClassVar[int]
    range_end: int
    range_start: int
    def __init__(self, range_start: _Optional[int] = ..., range_end: _Optional[int] = ...) -> None: ...

class TpRuleFilter(_message.Message):
    __slots__ = ["dst_addr_field_sets", "dst_addrs", "filter_type", "protocols", "src_addr_field_sets", "src_addrs"]
    class ProtocolValue(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: Range
        value: ProtocolField
        def __init__(self, key: _Optional[_Union[Range, _Mapping]] = ..., value: _Optional[_Union[ProtocolField, _Mapping]] = ...) -> None: ...
    DST_ADDRS_FIELD_NUMBER: _ClassVar[int]
    DST_ADDR_FIELD_SETS_FIELD_NUMBER: _ClassVar[int]
    FILTER_TYPE_FIELD_NUMBER: _ClassVar[int]
    PROTOCOLS_FIELD_NUMBER: _ClassVar[int]
    SRC_ADDRS_FIELD_NUMBER: _ClassVar[int]
    SRC_ADDR_FIELD_SETS_FIELD_NUMBER: _ClassVar[int]
    dst_addr_field_sets: _containers.RepeatedScalarFieldContainer[str]
    dst_addrs: _containers.RepeatedCompositeFieldContainer[IpAddrMask]
    filter_type: TrafficPolicyRuleType
    protocols: _containers.RepeatedCompositeFieldContainer[TpRuleFilter.ProtocolValue]
    src_addr_field_sets: _containers.RepeatedScalarFieldContainer[str]
    src_addrs: _containers.RepeatedCompositeFieldContainer[IpAddrMask]
    def __init__(self, filter_type: _Optional[_Union[TrafficPolicyRuleType, str]] = ..., src_addrs: _Optional[_Iterable[_Union[IpAddrMask, _Mapping]]] = ..., src_addr_field_sets: _Optional[_Iterable[str]] = ..., dst_addrs: _Optional[_Iterable[_Union[IpAddrMask, _Mapping]]] = ..., dst_addr_field_sets: _Optional[_Iterable[str]] = ..., protocols: _Optional[_Iterable[_Union[TpRuleFilter.ProtocolValue, _Mapping]]] = ...) -> None: ...

class TrafficPolicy(_message.Message):
    __slots__ = ["key", "named_counters", "rules"]
    class RulesEntry(_message.Message):
        __slots__ = ["key", "value"]
        KEY_FIELD_NUMBER: _ClassVar[int]
        VALUE_FIELD_NUMBER: _ClassVar[int]
        key: int
        value: TrafficPolicyRule
        def __init__(self, key: _Optional[int] = ..., value: _Optional[_Union[TrafficPolicyRule, _Mapping]] = ...) -> None: ...
    KEY_FIELD_NUMBER: _ClassVar[int]
    NAMED_COUNTERS_FIELD_NUMBER: _ClassVar[int]
    RULES_FIELD_NUMBER: _ClassVar[int]
    key: str
    named_counters: _containers.RepeatedScalarFieldContainer[str]
    rules: _containers.MessageMap[int, TrafficPolicyRule]
    def __init__(self, key: _Optional[str] = ..., named_counters: _Optional[_Iterable[str]] = ..., rules: _Optional[_Mapping[int, TrafficPolicyRule]] = ...) -> None: ...

class TrafficPolicyAction(_message.Message):
    __slots__ = ["action_type", "counter_name", "dscp", "goto_class_name", "goto_next", "mirror_session", "nexthop_groups", "nexthops", "police_burst_size", "police_burst_unit", "police_rate", "police_rate_unit", "traffic_class", "vrf"]
    ACTION_TYPE_FIELD_NUMBER: _ClassVar[int]
    COUNTER_NAME_FIELD_NUMBER: _ClassVar[int]
    DSCP_FIELD_NUMBER: _ClassVar[int]
    GOTO_CLASS_NAME_FIELD_NUMBER: _ClassVar[int]
    GOTO_NEXT_FIELD_NUMBER: _ClassVar[int]
    MIRROR_SESSION_FIELD_NUMBER: _ClassVar[int]
    NEXTHOPS_FIELD_NUMBER: _ClassVar[int]
    NEXTHOP_GROUPS_FIELD_NUMBER: _ClassVar[int]
    POLICE_BURST_SIZE_FIELD_NUMBER: _ClassVar[int]
    POLICE_BURST_UNIT_FIELD_NUMBER: _ClassVar[int]
    POLICE_RATE_FIELD_NUMBER: _ClassVar[int]
    POLICE_RATE_UNIT_FIELD_NUMBER: _ClassVar[int]
    TRAFFIC_CLASS_FIELD_NUMBER: _ClassVar[int]
    VRF_FIELD_NUMBER: _ClassVar[int]
    action_type: TrafficPolicyActionType
    counter_name: str
    dscp: int
    goto_class_name: str
    goto_next: bool
    mirror_session: str
    nexthop_groups: _containers.RepeatedScalarFieldContainer[str]
    nexthops: _containers.RepeatedScalarFieldContainer[bytes]
    police_burst_size: int
    police_burst_unit: PoliceBurstUnit
    police_rate: int
    police_rate_unit: PoliceRateUnit
    traffic_class: int
    vrf: str
    def __init__(self, action_type: _Optional[_Union[TrafficPolicyActionType, str]] = ..., counter_name: _Optional[str] = ..., goto_class_name: _Optional[str] = ..., goto_next: bool = ..., dscp: _Optional[int] = ..., traffic_class: _Optional[int] = ..., vrf: _Optional[str] = ..., mirror_session: _Optional[str] = ..., police_rate: _Optional[int] = ..., police_burst_size: _Optional[int] = ..., police_rate_unit: _Optional[_Union[PoliceRateUnit, str]] = ..., police_burst_unit: _Optional[_Union[PoliceBurstUnit, str]] = ..., nexthop_groups: _Optional[_Iterable[str]] = ..., nexthops: _Optional[_Iterable[bytes]] = ...) -> None: ...

class TrafficPolicyRule(_message.Message):
    __slots__ = ["actions", "match_rule_name", "raw_rule", "traffic_policy_rule_type"]
    ACTIONS_FIELD_NUMBER: _ClassVar[int]
    MATCH_RULE_NAME_FIELD_NUMBER: _ClassVar[int]
    RAW_RULE_FIELD_NUMBER: _ClassVar[int]
    TRAFFIC_POLICY_RULE_TYPE_FIELD_NUMBER: _ClassVar[int]
    actions: _containers.RepeatedCompositeFieldContainer[TrafficPolicyAction]
    match_rule_name: str
    raw_rule: TpRuleFilter
    traffic_policy_rule_type: TrafficPolicyRuleType
    def __init__(self, traffic_policy_rule_type: _Optional[_Union[TrafficPolicyRuleType, str]] = ..., match_rule_name: _Optional[str] = ..., raw_rule: _Optional[_Union[TpRuleFilter, _Mapping]] = ..., actions: _Optional[_Iterable[_Union[TrafficPolicyAction, _Mapping]]] = ...) -> None: ...

class AclType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class PolicyFeature(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class AclAction(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class AclDirection(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class AclIpType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class AclRangeOperator(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MplsActions(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class NexthopGroupEncapTypes(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class NexthopGroupGreKeyTypes(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class NexthopGroupCounterState(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class NexthopGroupProgrammedHwState(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class IpRouteActions(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MplsPayloadType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MplsTtlMode(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class FecHwProgrammingState(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class FibFecType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class FibRouteType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class PolicyActionType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class PolicyMapRuleType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class PolicyMapStatus(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class TrafficPolicyRuleType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class TrafficPolicyActionType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class TrafficPolicyDirection(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class PoliceRateUnit(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class PoliceBurstUnit(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MacsecBypass(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MacsecCipherSuite(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MacsecProfileTrafficPolicy(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MacsecIntfKeyStatus(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class MacsecIntfTrafficStatus(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class BgpPeerState(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class EthLinkSpeed(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class OperStatus(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class EthLagIntfFallbackType(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class EthLagIntfMemberLacpMode(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []

class EthLagIntfMemberLacpTimeout(int, metaclass=_enum_type_wrapper.EnumTypeWrapper):
    __slots__ = []
