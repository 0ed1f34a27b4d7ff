"""Tests the client of the mirror services against an in-process server: calls, lists, bulks, errors."""
import tempfile
import unittest
from contextlib import closing

import grpc

from orv_controller import channel
from orv_controller.mirror import ALL_VRFS, NotProgrammed, Switch, errors, ip_routes, mpls_routes, values
from orv_controller.mirror.calls import METHODS
from orv_controller.pb import (acl_pb2, agent_pb2, class_map_pb2, eth_phy_intf_pb2, fib_pb2, intf_counter_pb2, intf_pb2,
                               ip_route_pb2, mpls_route_pb2, mpls_vrf_label_pb2, nexthop_group_pb2, policy_map_pb2,
                               status_pb2)
from orv_controller.pb import types_pb2 as pb

from .fake_mirror import FakeMirror


class MirrorTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.server = FakeMirror(f"unix:{folder.name}/s")
        self.addCleanup(lambda: self.server.stop())
        self.switch = Switch(self.server.address, timeout=10)
        self.addCleanup(self.switch.close)


class CallsTest(MirrorTest):
    def test_a_request_names_its_method(self):
        self.assertEqual(len(METHODS), len({method.path for method in METHODS.values()}))
        items = [request.DESCRIPTOR.fields_by_name["requests"].message_type.full_name
                 for request in METHODS if "requests" in request.DESCRIPTOR.fields_by_name]
        self.assertEqual(len(items), len(set(items)))
        self.assertEqual("/orv.remote.FibMgrService/watch", METHODS[fib_pb2.FibWatchRequest].path)
        self.assertTrue(METHODS[fib_pb2.FibWatchRequest].streams)
        self.assertFalse(METHODS[fib_pb2.FibRouteRequest].streams)

    def test_every_bulk_replies_with_a_status_and_a_count(self):
        for method in METHODS.values():
            if "requests" in method.request.DESCRIPTOR.fields_by_name:
                fields = method.response.DESCRIPTOR.fields_by_name
                self.assertEqual({"status", "count"}, set(fields), method.path)
                self.assertIs(status_pb2.RpcResponseStatus.DESCRIPTOR, fields["status"].message_type)

    def test_a_refused_call_raises_the_class_of_its_status(self):
        for code, kind in ((grpc.StatusCode.INVALID_ARGUMENT, errors.InvalidArgument),
                           (grpc.StatusCode.OUT_OF_RANGE, errors.OutOfRange),
                           (grpc.StatusCode.FAILED_PRECONDITION, errors.FailedPrecondition),
                           (grpc.StatusCode.UNIMPLEMENTED, errors.Unimplemented),
                           (grpc.StatusCode.UNAUTHENTICATED, errors.Unauthenticated),
                           (grpc.StatusCode.INTERNAL, errors.Internal),
                           (grpc.StatusCode.UNKNOWN, errors.SwitchError)):
            self.server.answers[agent_pb2.AgentPingRequest] = lambda request, context: context.abort(code, "no")
            with self.assertRaises(errors.SwitchError) as caught:
                self.switch.agent.ping("x")
            self.assertIs(kind, type(caught.exception))
            self.assertEqual((code, "no", "x", f"{code.name}: no"),
                             (caught.exception.code, caught.exception.text, caught.exception.request.payload,
                              str(caught.exception)))

    def test_no_server_and_no_answer(self):
        self.server.answers[agent_pb2.AgentPingRequest] = lambda request, context: self.server.held(context)
        with self.assertRaises(errors.DeadlineExceeded):
            self.switch.call(agent_pb2.AgentPingRequest(), 0.05)
        self.server.stop()
        with self.assertRaises(errors.Disconnected):
            self.switch.agent.uptime()
        with self.assertRaisesRegex(errors.DeadlineExceeded, "no connection in 0.05 s"):
            self.switch.wait_ready(0.05)

    def test_a_closed_switch_calls_nothing(self):
        self.switch.agent.uptime()
        self.switch.close()
        for call in (self.switch.agent.uptime, self.switch.agent.ping, lambda: next(self.switch.intfs.list()),
                     lambda: next(self.switch.fib.follow())):
            with self.assertRaisesRegex(errors.Cancelled, "the switch is closed"):
                call()
        self.assertEqual(1, len(self.server.requests))

    def test_calls_reach_their_methods(self):
        key, route_key = values.mpls_route_key([100, 200], 7), values.ip_route_key("10.0.0.0/8")
        policy = pb.PolicyMapKey(name="p", feature=pb.POLICY_FEATURE_PBR)
        acl = pb.AclKey(acl_name="a", acl_type=pb.ACL_TYPE_IPV4)
        label, intf = values.mpls_label(5), values.intf("Ethernet1")
        s = self.switch
        for call, expected in (
                (lambda: s.ip_routes.get(route_key, "red"), ip_route_pb2.IpRouteRequest(vrf_name="red", key=route_key)),
                (lambda: s.ip_routes.exists(route_key), ip_route_pb2.IpRouteExistsRequest(key=route_key)),
                (lambda: s.ip_routes.delete(route_key, "red"),
                 ip_route_pb2.IpRouteDelRequest(vrf_name="red", key=route_key)),
                (lambda: s.ip_routes.set(pb.IpRoute(key=route_key), [pb.IpRouteVia(metric=1)], vrf="red",
                                         replace_vias=True),
                 ip_route_pb2.IpRouteSetRequest(ip_route=pb.IpRoute(key=route_key), vias=[pb.IpRouteVia(metric=1)],
                                                vias_action=1, vrf_name="red")),
                (lambda: list(s.ip_routes.list(ALL_VRFS, vni=7, vtep="192.0.2.1", vxlan_intf="Vxlan1")),
                 ip_route_pb2.IpRoutesRequest(vrf_name="all", vni=7, vtep_addr=bytes([192, 0, 2, 1]), embed_vias=True,
                                              vxlan_intf_id=values.intf("Vxlan1"))),
                (lambda: list(s.ip_routes.list()), ip_route_pb2.IpRoutesRequest(embed_vias=True)),
                (lambda: list(s.ip_routes.vias(route_key)), ip_route_pb2.IpRouteViasRequest(key=route_key)),
                (lambda: s.ip_routes.set_tag(7), ip_route_pb2.TagIsRequest(tag=7)),
                (lambda: s.mpls_routes.exists(key), mpls_route_pb2.MplsRouteExistsRequest(route_key=key)),
                (lambda: s.mpls_routes.set(pb.MplsRoute(key=key, version_id=3), replace_vias=True),
                 mpls_route_pb2.MplsRouteSetRequest(route=pb.MplsRoute(key=key, version_id=3), vias_action=1)),
                (lambda: s.mpls_routes.delete(key), mpls_route_pb2.MplsRouteDelRequest(route_key=key)),
                (lambda: list(s.mpls_routes.statuses()), mpls_route_pb2.MplsRouteStatusesRequest()),
                (lambda: list(s.mpls_routes.via_statuses(key)),
                 mpls_route_pb2.MplsRouteViaStatusesRequest(route_key=key)),
                (lambda: s.vrf_labels.set(5, "red"), mpls_vrf_label_pb2.MplsVrfLabelSetRequest(
                    mpls_vrf_label=pb.MplsVrfLabel(vrf_name="red", label=label))),
                (lambda: s.vrf_labels.vrf(5), mpls_vrf_label_pb2.MplsVrfLabelRequest(label=label)),
                (lambda: s.vrf_labels.delete(5), mpls_vrf_label_pb2.MplsVrfLabelDelRequest(label=label)),
                (lambda: s.fib.route("10.0.0.0/8"),
                 fib_pb2.FibRouteRequest(key=pb.FibRouteKey(prefix=route_key.prefix))),
                (lambda: s.fib.fec(9), fib_pb2.FibFecRequest(key=pb.FibFecKey(fec_id=9))),
                (lambda: s.nexthop_groups.set(pb.NexthopGroup(name="g"), 3), nexthop_group_pb2.NexthopGroupSetRequest(
                    nexthop_group=pb.NexthopGroup(name="g"), version_id=3)),
                (lambda: s.nexthop_groups.set(pb.NexthopGroup(name="g")), nexthop_group_pb2.NexthopGroupSetRequest(
                    nexthop_group=pb.NexthopGroup(name="g"))),
                (lambda: list(s.nexthop_groups.counters("a.*")),
                 nexthop_group_pb2.NexthopGroupCountersRequest(regex="a.*")),
                (lambda: list(s.nexthop_groups.counters()), nexthop_group_pb2.NexthopGroupCountersRequest(all=True)),
                (lambda: s.class_maps.set(pb.ClassMap(key=policy)),
                 class_map_pb2.ClassMapIsRequest(class_map=pb.ClassMap(key=policy))),
                (lambda: list(s.class_maps.list(pb.POLICY_FEATURE_QOS)),
                 class_map_pb2.ClassMapsRequest(feature=pb.POLICY_FEATURE_QOS)),
                (lambda: s.policy_maps.apply(policy, "Ethernet1", pb.ACL_DIRECTION_OUT),
                 policy_map_pb2.PolicyMapApplyRequest(key=policy, intf_id=intf, direction=pb.ACL_DIRECTION_OUT,
                                                      apply=True)),
                (lambda: s.policy_maps.hw_status(policy), policy_map_pb2.PolicyMapHwStatusRequest(key=policy)),
                (lambda: s.traffic_policies.apply("t", "Ethernet1", pb.TRAFFIC_POLICY_DIRECTION_OUT, apply=False),
                 policy_map_pb2.TrafficPolicyApplyRequest(name="t", intf_id=intf,
                                                          direction=pb.TRAFFIC_POLICY_DIRECTION_OUT)),
                (lambda: s.traffic_policies.delete("t"), policy_map_pb2.TrafficPolicyDelRequest(name="t")),
                (lambda: s.intfs.kernel_name("Ethernet1"), intf_pb2.KernelIntfNameRequest(intf_id=intf)),
                (lambda: s.ports.link_speed("Ethernet1"), eth_phy_intf_pb2.EthPhyIntfLinkSpeedRequest(intf_id=intf)),
                (lambda: s.counters.rates("Ethernet1"), intf_counter_pb2.IntfTrafficRatesRequest(intf_id=intf)),
                (lambda: list(s.acls.list(committed=True)), acl_pb2.AclsAllRequest()),
                (lambda: list(s.acls.ip_rules(acl)), acl_pb2.AclRuleIpsRequest(key=acl)),
                (lambda: list(s.acls.eth_rules(acl, committed=True)), acl_pb2.AclAllRuleEthsRequest(key=acl)),
                (lambda: s.acls.apply(acl, "Ethernet1", pb.ACL_DIRECTION_IN, apply=False),
                 acl_pb2.AclApplyRequest(key=acl, intf=intf, direction=pb.ACL_DIRECTION_IN)),
                (lambda: s.agent.option("o"), agent_pb2.AgentOptionRequest(name="o"))):
            call()
            # As text, because Equals does not compare types.
            self.assertEqual((type(expected), str(expected)),
                             (type(self.server.requests[-1]), str(self.server.requests[-1])))

    def test_what_does_not_exist_is_none(self):
        self.assertIsNone(self.switch.ip_routes.get(values.ip_route_key("0.0.0.0/0")))
        self.assertIsNone(self.switch.nexthop_groups.programmed("g"))
        self.assertIsNone(self.switch.fib.fec(3))
        default = pb.IpRoute(key=values.ip_route_key("0.0.0.0/0"))
        self.server.answers[ip_route_pb2.IpRouteRequest] = lambda *_: ip_route_pb2.IpRouteResponse(ip_route=default)
        self.assertEqual(default, self.switch.ip_routes.get(default.key))

    def test_the_version_of_a_group_is_the_callers_or_the_switchs(self):
        group = pb.NexthopGroup(name="g")
        self.assertEqual(3, self.switch.nexthop_groups.set(group, 3))
        self.server.answers[nexthop_group_pb2.NexthopGroupSetRequest] = \
            lambda *_: nexthop_group_pb2.NexthopGroupSetResponse(version_id=9)
        self.assertEqual(9, self.switch.nexthop_groups.set(group))


class ListsTest(MirrorTest):
    def test_a_list_is_streamed_and_close_cancels_it(self):
        ended = []

        def endless(request, context):
            context.add_callback(lambda: self.server.told(lambda: ended.append(True)))
            yield ip_route_pb2.IpRoutesResponse(route=pb.IpRoute(tag=1), vias=[pb.IpRouteVia(metric=4)])
            self.server.held(context)

        self.server.answers[ip_route_pb2.IpRoutesRequest] = endless
        routes = self.switch.ip_routes.list()
        # The first element arrives although the list has no end.
        route, vias = next(routes)
        self.assertEqual((1, [4]), (route.tag, [via.metric for via in vias]))
        self.assertEqual([], ended)
        routes.close()
        self.assertTrue(self.server.wait(lambda: ended))

    def test_a_list_that_is_not_read_calls_nothing(self):
        self.switch.intfs.list().close()
        self.assertEqual([], self.server.requests)

    def test_a_list_that_breaks_raises(self):
        def broken(request, context):
            yield policy_map_pb2.TrafficPoliciesResponse(key=pb.PolicyMapKey(name="a"))
            context.abort(grpc.StatusCode.UNIMPLEMENTED, "switched off")

        self.server.answers[policy_map_pb2.TrafficPoliciesRequest] = broken
        with closing(self.switch.traffic_policies.list()) as policies:
            self.assertEqual("a", next(policies))
            with self.assertRaisesRegex(errors.Unimplemented, "switched off"):
                next(policies)


class BulkTest(MirrorTest):
    def refuse(self, bad, code):
        """Applies labels up to `bad`, as a switch does."""
        def bulk(request, context):
            labels = [each.mpls_vrf_label.label.label for each in request.requests]
            if bad not in labels:
                return mpls_vrf_label_pb2.BulkMplsVrfLabelSetResponse(
                    status=status_pb2.RpcResponseStatus(), count=len(labels))
            return mpls_vrf_label_pb2.BulkMplsVrfLabelSetResponse(
                status=status_pb2.RpcResponseStatus(code=code, message="no"), count=labels.index(bad))

        self.server.answers[mpls_vrf_label_pb2.BulkMplsVrfLabelSetRequest] = bulk

    def labels(self, count):
        return self.switch.vrf_labels.set_all((label, "red") for label in range(count))

    def test_many_items_go_in_bulks(self):
        self.refuse(None, 0)
        self.assertEqual(2500, self.labels(2500))
        self.assertEqual([1000, 1000, 500], [len(request.requests) for request in self.server.requests])
        self.assertEqual(0, self.labels(0))
        self.assertEqual(3, len(self.server.requests))

    def test_large_items_go_in_smaller_bulks(self):
        large = [agent_pb2.AgentStatusSetRequest(name=str(i), value="x" * (channel.BULK_BYTES // 2)) for i in range(3)]
        self.assertEqual([["0"], ["1"], ["2"]], [[each.name for each in piece] for piece in channel.pieces(large)])
        small = [agent_pb2.AgentStatusSetRequest(name="a")] * 3
        self.assertEqual([small], list(channel.pieces(small)))

    def test_a_refused_item_is_raised_with_what_was_applied_and_nothing_is_sent_after_it(self):
        for code, kind in ((status_pb2.RPC_RESPONSE_STATUS_CODE_INVALID_ARGUMENT, errors.InvalidArgument),
                           (status_pb2.RPC_RESPONSE_STATUS_CODE_UNAUTHENTICATED, errors.Unauthenticated),
                           (status_pb2.RPC_RESPONSE_STATUS_CODE_CONFIGURATION, errors.FailedPrecondition),
                           (status_pb2.RPC_RESPONSE_STATUS_CODE_INVALID_RANGE, errors.OutOfRange),
                           (status_pb2.RPC_RESPONSE_STATUS_CODE_UNSUPPORTED, errors.Unimplemented),
                           (status_pb2.RPC_RESPONSE_STATUS_CODE_INTERNAL, errors.Internal),
                           (status_pb2.RPC_RESPONSE_STATUS_CODE_UNKNOWN, errors.SwitchError),
                           (99, errors.SwitchError)):
            self.refuse(1003, code)
            self.server.requests.clear()
            with self.assertRaises(errors.SwitchError) as caught:
                self.labels(2500)
            self.assertIs(kind, type(caught.exception))
            self.assertEqual((1003, "no", 1003, 2),
                             (caught.exception.applied, caught.exception.text,
                              caught.exception.request.mpls_vrf_label.label.label, len(self.server.requests)))

    def test_a_bulk_that_applied_less_without_an_error_is_a_failure(self):
        self.server.answers[mpls_vrf_label_pb2.BulkMplsVrfLabelSetRequest] = \
            lambda *_: mpls_vrf_label_pb2.BulkMplsVrfLabelSetResponse(count=1)
        with self.assertRaises(errors.SwitchError) as caught:
            self.labels(3)
        self.assertEqual((1, 1), (caught.exception.applied, caught.exception.request.mpls_vrf_label.label.label))

    def test_a_connection_that_breaks_in_the_second_bulk(self):
        def bulk(request, context):
            if len(self.server.requests) == 2:
                context.abort(grpc.StatusCode.UNAVAILABLE, "gone")
            return mpls_vrf_label_pb2.BulkMplsVrfLabelSetResponse(count=len(request.requests))

        self.server.answers[mpls_vrf_label_pb2.BulkMplsVrfLabelSetRequest] = bulk
        with self.assertRaises(errors.Disconnected) as caught:
            self.labels(2500)
        self.assertEqual((1000, None), (caught.exception.applied, caught.exception.request))

    def test_requests_from_their_makers(self):
        self.server.answers[ip_route_pb2.BulkIpRouteSetRequest] = \
            lambda request, _: ip_route_pb2.BulkIpRouteSetResponse(count=len(request.requests))
        self.server.answers[mpls_route_pb2.BulkMplsRouteSetRequest] = \
            lambda request, _: mpls_route_pb2.BulkMplsRouteSetResponse(count=len(request.requests))
        self.assertEqual(1, self.switch.ip_routes.set_all([ip_routes.set_request(pb.IpRoute(tag=1), vrf="red")]))
        self.assertEqual(1, self.switch.mpls_routes.set_all([mpls_routes.set_request(pb.MplsRoute(version_id=1))]))
        self.assertEqual(("red", 1), (self.server.requests[0].requests[0].vrf_name,
                                      self.server.requests[1].requests[0].route.version_id))


class ReplayTest(MirrorTest):
    def test_a_replay_is_completed_after_its_block(self):
        with self.switch.ip_routes.replay():
            self.switch.ip_routes.set(pb.IpRoute(tag=1))
        self.assertEqual([ip_route_pb2.IpRouteResyncInitRequest, ip_route_pb2.IpRouteSetRequest,
                          ip_route_pb2.IpRouteResyncCompleteRequest], [type(each) for each in self.server.requests])

    def test_a_replay_that_fails_removes_nothing(self):
        with self.assertRaises(ValueError):
            with self.switch.policy_maps.replay():
                raise ValueError
        self.assertEqual([policy_map_pb2.PolicyMapResyncInitRequest], [type(each) for each in self.server.requests])


class AcknowledgementTest(MirrorTest):
    ROUTE = pb.MplsRoute(key=values.mpls_route_key(100), version_id=5)

    def reports(self, *reports):
        def watch(request, context):
            yield mpls_route_pb2.MplsIntegratedAckResponse(ack=True)
            for key, version, group_version, state in reports:
                yield mpls_route_pb2.MplsIntegratedAckResponse(
                    mpls_route_via_set_version_info=mpls_route_pb2.MplsRouteViaSetVersionInfo(
                        route_key=values.mpls_route_key(key), version_id=version, hw_state=state,
                        nexthop_group_version_info=mpls_route_pb2.NexthopGroupVersionInfo(
                            name="g", version_id=group_version)))
            self.server.held(context)

        self.server.answers[mpls_route_pb2.MplsIntegratedAckRequest] = watch

    def test_waits_for_the_version_of_route_and_group(self):
        good, bad = pb.FEC_HW_PROGRAMMING_STATE_SUCCESS, pb.FEC_HW_PROGRAMMING_STATE_FAILURE
        self.reports((100, 4, 3, bad), (100, 4, 3, good), (101, 5, 3, good), (100, 5, 2, good), (100, 5, 3, good))
        self.assertEqual(3, self.switch.mpls_routes.wait_programmed(
            self.ROUTE, 3).nexthop_group_version_info.version_id)
        # Without a version of the group, any will do.
        self.assertEqual(2, self.switch.mpls_routes.wait_programmed(
            self.ROUTE).nexthop_group_version_info.version_id)

    def test_a_refusal_by_hardware_is_raised(self):
        self.reports((100, 5, 3, pb.FEC_HW_PROGRAMMING_STATE_FAILURE))
        with self.assertRaises(NotProgrammed) as caught:
            self.switch.mpls_routes.wait_programmed(self.ROUTE)
        self.assertEqual(5, caught.exception.request.version_id)

    def test_a_route_without_a_version_is_not_waited_for(self):
        with self.assertRaises(ValueError):
            self.switch.mpls_routes.wait_programmed(pb.MplsRoute(key=values.mpls_route_key(100)))

    def test_no_report_in_time(self):
        self.reports((100, 4, 3, pb.FEC_HW_PROGRAMMING_STATE_SUCCESS))
        with self.assertRaises(errors.DeadlineExceeded):
            self.switch.mpls_routes.wait_programmed(self.ROUTE, timeout=0.05)


class ValuesTest(unittest.TestCase):
    def test_texts_and_messages(self):
        for text in ("10.0.0.0/8", "2001:db8::/32", "0.0.0.0/0"):
            self.assertEqual(text, values.prefix_text(values.prefix(text)))
        self.assertEqual("", values.prefix_text(pb.Prefix()))
        self.assertEqual(b"", values.address(""))
        self.assertEqual("::1", values.address_text(values.address("::1")))
        for bad in ("10.0.0.1/8", "10.0.0.0/33", "core"):
            with self.assertRaises(ValueError):
                values.prefix(bad)
        self.assertEqual((100, 200), values.labels_of(values.mpls_route_key((100, 200))))
        self.assertEqual(values.mpls_route_key([0]), values.mpls_route_key(0))
        self.assertFalse(values.ip_route_key("10.0.0.0/8").HasField("preference"))
        self.assertTrue(values.ip_route_key("10.0.0.0/8", 0).HasField("preference"))


if __name__ == "__main__":
    unittest.main()
