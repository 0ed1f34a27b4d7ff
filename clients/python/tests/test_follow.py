"""Tests watches: the present state, changes, cut-offs, restarts, ends."""
import itertools
import random
import tempfile
import threading
import unittest

import grpc

from orv_controller.backoff import BackOff
from orv_controller.mirror import CaughtUp, Resynced, Retry, Switch, errors, values
from orv_controller.mirror.feed import Feed
from orv_controller.pb import (acl_pb2, agent_pb2, eth_phy_intf_pb2, fib_pb2, intf_counter_pb2, intf_pb2,
                               mpls_route_pb2, nexthop_group_pb2, policy_map_pb2)
from orv_controller.pb import types_pb2 as pb

from .fake_mirror import FakeMirror


def option(name, value=""):
    return agent_pb2.WatchAgentResponse(agent_option=agent_pb2.AgentOption(name=name, value=value))


def route(number, metric=0):
    return pb.FibRoute(route_key=pb.FibRouteKey(prefix=values.prefix(f"10.0.{number}.0/24")), metric=metric)


class FollowTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.server = FakeMirror(f"unix:{folder.name}/s")
        self.addCleanup(lambda: self.server.stop())
        self.delays = []
        self.on_pause = lambda: None
        self.switch = Switch(self.server.address, timeout=10, retry=Retry(self.back_off, self.pause))
        self.addCleanup(self.switch.close)

    @staticmethod
    def back_off():
        return BackOff(0.1, 1.0, random.Random(1))

    def pause(self, closed, seconds):
        self.delays.append(seconds)
        self.on_pause()
        # Enough for gRPC to connect again.
        closed.wait(0.005)

    def answer(self, request, *calls):
        """Answers the watch with one function after the other; the last one stays."""
        left = list(calls)
        self.server.answers[request] = lambda *both: (left.pop(0) if len(left) > 1 else left[0])(*both)

    def live(self, *messages):
        """A watch that delivers these messages and then nothing."""
        def watch(request, context):
            yield from messages
            self.server.held(context)

        return watch

    @staticmethod
    def cut_off(*messages, code=grpc.StatusCode.RESOURCE_EXHAUSTED):
        def watch(request, context):
            yield from messages
            context.abort(code, "too slow")

        return watch

    @staticmethod
    def take(follow, count):
        """The next events; fewer if they do not come."""
        timer = threading.Timer(10, follow.close)
        timer.start()
        try:
            return list(itertools.islice(follow, count))
        finally:
            timer.cancel()


class WatchTest(FollowTest):
    ACK = mpls_route_pb2.MplsRouteWatchResponse(ack=True)

    @staticmethod
    def label(number):
        return mpls_route_pb2.MplsRouteWatchResponse(
            on_mpls_route_set=mpls_route_pb2.OnMplsRouteSet(route_key=values.mpls_route_key(number)))

    def test_a_dump_of_the_server_ends_with_its_acknowledgement(self):
        self.answer(mpls_route_pb2.MplsRouteWatchRequest,
                    self.live(self.label(1), self.label(2), self.ACK, self.label(3)))
        with self.switch.mpls_routes.follow() as follow:
            self.assertEqual([Resynced(None), self.label(1), self.label(2), CaughtUp(), self.label(3)],
                             self.take(follow, 5))
        request, = self.server.requests
        self.assertEqual((True, [0]), (request.all, list(request.fields_control.fields)))

    def test_after_a_cut_off_everything_comes_again(self):
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.cut_off(self.label(1), self.ACK, self.label(2)),
                    self.live(self.label(3), self.ACK))
        with self.switch.mpls_routes.follow() as follow:
            events = self.take(follow, 7)
        self.assertEqual([Resynced(None), self.label(1), CaughtUp(), self.label(2)], events[:4])
        self.assertIsInstance(events[4].gap, errors.ResourceExhausted)
        self.assertEqual("too slow", events[4].gap.text)
        self.assertEqual([self.label(3), CaughtUp()], events[5:])
        self.assertEqual(1, len(self.delays))

    def test_each_gap_has_its_own_reason(self):
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.cut_off(self.ACK),
                    self.cut_off(self.ACK, code=grpc.StatusCode.CANCELLED), self.live(self.ACK))
        with self.switch.mpls_routes.follow() as follow:
            gaps = [type(each.gap) for each in self.take(follow, 6) if isinstance(each, Resynced)]
        self.assertEqual([type(None), errors.ResourceExhausted, errors.Cancelled], gaps)

    def test_a_dump_that_breaks_begins_again(self):
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.cut_off(self.label(1)),
                    self.live(self.label(2), self.ACK))
        with self.switch.mpls_routes.follow() as follow:
            events = self.take(follow, 5)
        self.assertEqual([Resynced, type(self.ACK), Resynced, type(self.ACK), CaughtUp],
                         [type(each) for each in events])

    def test_delays_grow_to_their_bound_and_start_over_once_caught_up(self):
        broken = self.cut_off()
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, *[broken] * 6, self.cut_off(self.ACK), self.live(self.ACK))
        with self.switch.mpls_routes.follow() as follow:
            events = self.take(follow, 4)
        # Attempts that deliver nothing are not told.
        self.assertEqual([Resynced, CaughtUp, Resynced, CaughtUp], [type(each) for each in events])
        self.assertIsNone(events[0].gap)
        expected = self.back_off()
        self.assertEqual([expected.delay() for _ in range(6)], self.delays[:6])
        expected.reset()
        self.assertEqual([expected.delay()], self.delays[6:])
        self.assertLessEqual(max(self.delays), 1.0)

    def test_outlives_a_restart_of_the_server(self):
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.live(self.label(1), self.ACK))
        self.on_pause = lambda: self.server.start() if len(self.delays) == 3 else None
        with self.switch.mpls_routes.follow() as follow:
            self.assertEqual([Resynced(None), self.label(1), CaughtUp()], self.take(follow, 3))
            self.server.stop()
            resynced, *rest = self.take(follow, 3)
        self.assertIsInstance(resynced.gap, errors.Disconnected)
        self.assertEqual([self.label(1), CaughtUp()], rest)
        self.assertGreaterEqual(len(self.delays), 3)

    def test_waits_for_a_server_that_is_not_there_yet(self):
        self.server.stop()
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.live(self.ACK))
        self.on_pause = lambda: self.server.start() if len(self.delays) == 2 else None
        with self.switch.mpls_routes.follow() as follow:
            self.assertEqual([Resynced(None), CaughtUp()], self.take(follow, 2))

    def test_a_watch_that_the_server_ends_begins_again(self):
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, lambda *_: iter([self.ACK]), self.live(self.ACK))
        with self.switch.mpls_routes.follow() as follow:
            resynced = self.take(follow, 3)[2]
        self.assertEqual("UNAVAILABLE: the server ended the watch", str(resynced.gap))

    def test_what_a_new_watch_would_meet_again_is_raised(self):
        for code, kind in ((grpc.StatusCode.UNIMPLEMENTED, errors.Unimplemented),
                           (grpc.StatusCode.INVALID_ARGUMENT, errors.InvalidArgument),
                           (grpc.StatusCode.FAILED_PRECONDITION, errors.FailedPrecondition),
                           (grpc.StatusCode.UNAUTHENTICATED, errors.Unauthenticated)):
            self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.cut_off(self.ACK, code=code))
            follow = self.switch.mpls_routes.follow()
            self.assertEqual([Resynced(None), CaughtUp()], self.take(follow, 2))
            with self.assertRaises(kind):
                next(follow)
            self.assertEqual([], list(follow))
        self.assertEqual([], self.delays)

    def test_close_ends_the_iteration_and_the_call(self):
        ended = []

        def watch(request, context):
            context.add_callback(lambda: self.server.told(lambda: ended.append(True)))
            yield self.ACK
            self.server.held(context)

        self.answer(mpls_route_pb2.MplsRouteWatchRequest, watch)
        for close in (lambda follow: follow.close(), lambda follow: self.switch.close()):
            follow, events = self.switch.mpls_routes.follow(), []
            caught_up = threading.Event()

            def consume():
                for event in follow:
                    events.append(event)
                    if event == CaughtUp():
                        caught_up.set()

            thread = threading.Thread(target=consume, daemon=True)
            thread.start()
            self.assertTrue(caught_up.wait(10))
            close(follow)
            thread.join(10)
            self.assertFalse(thread.is_alive())
            self.assertEqual([Resynced(None), CaughtUp()], events)
            self.assertTrue(self.server.wait(lambda: ended))
            ended.clear()
        self.assertEqual([], self.delays)

    def test_close_ends_a_delay_and_comes_before_the_first_call(self):
        follow = self.switch.mpls_routes.follow()
        self.on_pause = follow.close
        self.answer(mpls_route_pb2.MplsRouteWatchRequest, self.cut_off())
        self.assertEqual([], list(follow))
        self.assertEqual(1, len(self.delays))
        follow = self.switch.mpls_routes.follow()
        follow.close()
        self.assertEqual([], list(follow))
        self.assertEqual(1, len(self.server.requests))

    def test_the_default_pause_ends_with_close(self):
        closed = threading.Event()
        closed.set()
        Retry().pause(closed, 60)

    def test_every_watch_asks_for_its_acknowledgement(self):
        for follow, request, ack in (
                (self.switch.intfs.follow, intf_pb2.WatchIntfRequest, intf_pb2.WatchIntfResponse(ack=True)),
                (self.switch.nexthop_groups.follow, nexthop_group_pb2.WatchNexthopGroupRequest,
                 nexthop_group_pb2.WatchNexthopGroupResponse(ack=True)),
                (self.switch.mpls_routes.follow_acknowledgements, mpls_route_pb2.MplsIntegratedAckRequest,
                 mpls_route_pb2.MplsIntegratedAckResponse(ack=True)),
                (self.switch.fib.follow, fib_pb2.FibWatchRequest, fib_pb2.FibWatchResponse(ack=True)),
                (self.switch.ports.follow, eth_phy_intf_pb2.EthPhyIntfWatchRequest,
                 eth_phy_intf_pb2.EthPhyIntfWatchResponse(ack=True)),
                (self.switch.policy_maps.follow, policy_map_pb2.PolicyMapWatchRequest,
                 policy_map_pb2.PolicyMapWatchResponse(ack=True)),
                (self.switch.acls.follow, acl_pb2.AclWatchRequest, acl_pb2.AclWatchResponse(ack=True)),
                (self.switch.agent.follow, agent_pb2.WatchAgentRequest, agent_pb2.WatchAgentResponse(ack=True)),
                (self.switch.counters.follow_rates, intf_counter_pb2.IntfTrafficRatesStreamRequest,
                 intf_counter_pb2.IntfTrafficRatesStreamResponse())):
            self.answer(request, self.live(ack))
            with follow() as events:
                self.assertEqual([Resynced(None), CaughtUp()], self.take(events, 2))
            asked = next(each for each in self.server.requests if isinstance(each, request))
            self.assertTrue(getattr(asked, "ack", False) or getattr(asked, "first_message", False) or
                            asked.fields_control.fields, request)


class MergedDumpTest(FollowTest):
    ACK = agent_pb2.WatchAgentResponse(ack=True)

    def test_lists_only_after_the_acknowledgement_and_tells_changes_in_between(self):
        listing = threading.Event()
        listed = threading.Event()

        def watch(request, context):
            yield option("early", "1")
            self.server.told(lambda: order.append("ack"))
            yield self.ACK
            listing.wait(10)
            yield option("late", "2")
            listed.set()
            self.server.held(context)

        def options(request, context):
            self.server.told(lambda: order.append("list"))
            listing.set()
            listed.wait(10)
            yield agent_pb2.AgentOptionsResponse(name="a")

        order = []
        self.answer(agent_pb2.WatchAgentRequest, watch)
        self.answer(agent_pb2.AgentOptionsRequest, options)
        self.server.answers[agent_pb2.AgentOptionRequest] = lambda *_: agent_pb2.AgentOptionResponse(value="v")
        with self.switch.agent.follow() as follow:
            events = self.take(follow, 5)
        self.assertEqual(["ack", "list"], order)
        self.assertEqual([Resynced(None), option("early", "1"), option("a", "v")], events[:3])
        # The change may arrive before or after the end of the list. The client sees it once.
        self.assertCountEqual([option("late", "2"), CaughtUp()], events[3:])

    def test_a_list_that_breaks_begins_the_watch_again(self):
        self.answer(agent_pb2.WatchAgentRequest, self.live(self.ACK))
        self.answer(agent_pb2.AgentOptionsRequest, self.cut_off(code=grpc.StatusCode.UNAVAILABLE),
                    lambda *_: iter([agent_pb2.AgentOptionsResponse(name="a")]))
        with self.switch.agent.follow() as follow:
            events = self.take(follow, 4)
        self.assertEqual([Resynced, Resynced, agent_pb2.WatchAgentResponse, CaughtUp], [type(each) for each in events])
        self.assertEqual(2, sum(isinstance(each, agent_pb2.WatchAgentRequest) for each in self.server.requests))

    def test_a_list_that_is_refused_is_raised(self):
        self.answer(agent_pb2.WatchAgentRequest, self.live(self.ACK))
        self.answer(agent_pb2.AgentOptionsRequest, self.cut_off(code=grpc.StatusCode.INTERNAL))
        with self.switch.agent.follow() as follow:
            self.assertEqual([Resynced(None)], self.take(follow, 1))
            with self.assertRaises(errors.Internal):
                next(follow)

    def test_a_cut_off_during_the_list_is_told_after_it(self):
        self.answer(agent_pb2.WatchAgentRequest, self.cut_off(self.ACK), self.live(self.ACK))
        self.answer(agent_pb2.AgentOptionsRequest, lambda *_: iter([agent_pb2.AgentOptionsResponse(name="a")]))
        with self.switch.agent.follow() as follow:
            events = self.take(follow, 6)
        self.assertEqual([Resynced, agent_pb2.WatchAgentResponse, CaughtUp] * 2, [type(each) for each in events])
        self.assertIsInstance(events[3].gap, errors.ResourceExhausted)

    def test_the_fib_is_dumped_fecs_first(self):
        fec = pb.FibFec(fec_key=pb.FibFecKey(fec_id=7))
        self.answer(fib_pb2.FibWatchRequest, self.live(fib_pb2.FibWatchResponse(ack=True)))
        self.answer(fib_pb2.FibFecsRequest, lambda *_: iter([fib_pb2.FibFecsResponse(fib_fec=fec)]))
        self.answer(fib_pb2.FibRoutesRequest, lambda *_: iter([fib_pb2.FibRoutesResponse(fib_route=route(1))]))
        with self.switch.fib.follow() as follow:
            self.assertEqual([Resynced(None), fib_pb2.FibWatchResponse(on_fec_set=fec),
                              fib_pb2.FibWatchResponse(on_route_set=route(1)), CaughtUp()], self.take(follow, 4))

    def test_ports_are_dumped_with_their_state_and_without_those_that_vanish(self):
        self.answer(eth_phy_intf_pb2.EthPhyIntfWatchRequest,
                    self.live(eth_phy_intf_pb2.EthPhyIntfWatchResponse(ack=True)))
        self.answer(eth_phy_intf_pb2.EthPhyIntfsRequest, lambda *_: iter(
            [eth_phy_intf_pb2.EthPhyIntfsResponse(intf_id=values.intf(name)) for name in ("gone", "Ethernet1")]))

        def speed(request, context):
            if request.intf_id.name == "gone":
                context.abort(grpc.StatusCode.INVALID_ARGUMENT, "no such interface")
            return eth_phy_intf_pb2.EthPhyIntfLinkSpeedResponse(link_speed=pb.ETH_LINK_SPEED_100_GBPS)

        self.server.answers[eth_phy_intf_pb2.EthPhyIntfLinkSpeedRequest] = speed
        with self.switch.ports.follow() as follow:
            _, port, caught_up = self.take(follow, 3)
        self.assertEqual(("Ethernet1", True, pb.ETH_LINK_SPEED_100_GBPS, False, CaughtUp()),
                         (port.intf.name, port.HasField("on_eth_phy_intf_create"),
                          port.on_eth_phy_intf_link_speed.link_speed,
                          port.on_eth_phy_intf_transceiver_present.transceiver_present, caught_up))

    def test_policies_are_dumped_by_feature_and_without_traffic_policies_that_are_off(self):
        self.answer(policy_map_pb2.PolicyMapWatchRequest, self.live(policy_map_pb2.PolicyMapWatchResponse(ack=True)))
        self.server.answers[policy_map_pb2.PolicyMapsRequest] = lambda request, _: iter(
            [policy_map_pb2.PolicyMapsResponse(key=pb.PolicyMapKey(name="p", feature=request.feature))])
        self.answer(policy_map_pb2.TrafficPoliciesRequest,
                    lambda *_: iter([policy_map_pb2.TrafficPoliciesResponse(key=pb.PolicyMapKey(name="t"))]),
                    self.cut_off(code=grpc.StatusCode.UNIMPLEMENTED))
        for traffic in (["t"], []):
            with self.switch.policy_maps.follow() as follow:
                events = [each for each in self.take(follow, 6 + len(traffic)) if not isinstance(each, Resynced)]
            self.assertEqual(CaughtUp(), events.pop())
            self.assertEqual([1, 2, 3, 4], [each.key.feature for each in events if each.key.feature])
            self.assertEqual(traffic, [each.key.name for each in events if
                                       each.event == policy_map_pb2.POLICY_MAP_EVENT_TRAFFIC_POLICY_CONFIG_SET])

    def test_the_picture_is_the_switchs_whatever_happens_meanwhile(self):
        for seed in range(20):
            self.assert_converges(random.Random(seed))

    def assert_converges(self, source):
        """A table changes at random moments of the watch and of the list, and some watches are cut off."""
        table, lock, last = {}, threading.Lock(), route(255, 1 << 20)
        cuts = source.randrange(3)
        streams = []

        def change(count):
            with lock:
                for _ in range(count):
                    number = source.randrange(8)
                    if source.random() < 0.3:
                        table.pop(number, None)
                        event = fib_pb2.FibWatchResponse(on_route_del=route(number).route_key)
                    else:
                        table[number] = source.randrange(1000)
                        event = fib_pb2.FibWatchResponse(on_route_set=route(number, table[number]))
                    for stream in streams:
                        stream.append(event)

        def watch(request, context):
            nonlocal cuts
            mine = []
            with lock:
                streams.append(mine)
            change(source.randrange(4))
            yield fib_pb2.FibWatchResponse(ack=True)
            sent = 0
            while listed < len(streams) or cuts:
                change(source.randrange(3))
                while sent < len(mine):
                    yield mine[sent]
                    sent += 1
                    if cuts and source.random() < 0.2:
                        cuts -= 1
                        context.abort(grpc.StatusCode.RESOURCE_EXHAUSTED, "too slow")
            with lock:
                rest = mine[sent:]
            yield from rest
            yield fib_pb2.FibWatchResponse(on_route_set=last)
            self.server.held(context)

        listed = 0

        def routes(request, context):
            nonlocal listed
            for number in range(8):
                change(source.randrange(3))
                with lock:
                    found = route(number, table[number]) if number in table else None
                if found is not None:
                    yield fib_pb2.FibRoutesResponse(fib_route=found)
            listed = len(streams)

        change(10)
        self.server.answers[fib_pb2.FibWatchRequest] = watch
        self.server.answers[fib_pb2.FibRoutesRequest] = routes
        picture = {}
        with self.switch.fib.follow() as follow:
            while True:
                event, = self.take(follow, 1)
                if isinstance(event, Resynced):
                    picture.clear()
                elif isinstance(event, CaughtUp):
                    pass
                elif event.HasField("on_route_del"):
                    picture.pop(values.prefix_text(event.on_route_del.prefix), None)
                elif event.on_route_set == last:
                    break
                else:
                    picture[values.prefix_text(event.on_route_set.route_key.prefix)] = event.on_route_set.metric
        self.assertEqual({f"10.0.{number}.0/24": metric for number, metric in table.items()}, picture)


class FakeCall:
    """Delivers numbers without end until it is cancelled."""

    def __init__(self):
        self.delivered = 0
        self.cancelled = threading.Event()
        self.changed = threading.Condition()

    def __iter__(self):
        return self

    def __next__(self):
        if self.cancelled.is_set():
            raise StopIteration
        with self.changed:
            self.delivered += 1
            self.changed.notify_all()
            return self.delivered

    def cancel(self):
        self.cancelled.set()

    def wait_delivered(self, count):
        with self.changed:
            return self.changed.wait_for(lambda: self.delivered >= count, 10)


class FeedTest(unittest.TestCase):
    def test_reads_ahead_up_to_its_limit_and_loses_nothing(self):
        call = FakeCall()
        feed = Feed(call, 3)
        self.assertTrue(call.wait_delivered(4))
        # One more than the limit is in the reader's hands.
        self.assertEqual((4, 3), (call.delivered, feed.waiting()))
        self.assertEqual([1, 2, 3, 4, 5, 6], list(itertools.islice(feed, 6)))
        self.assertLessEqual(call.delivered, 10)
        feed.close()
        self.assertTrue(call.cancelled.is_set())
        self.assertEqual(([], 0), (list(feed), feed.waiting()))

    def test_the_error_comes_after_what_was_delivered(self):
        call = FakeCall()
        feed = Feed(call, 3)
        self.assertTrue(call.wait_delivered(4))
        call.cancel()
        seen = []
        with self.assertRaisesRegex(errors.Disconnected, "the server ended the watch"):
            for number in feed:
                seen.append(number)
        self.assertEqual(list(range(1, call.delivered + 1)), seen)


if __name__ == "__main__":
    unittest.main()
