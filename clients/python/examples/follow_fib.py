"""Follows the FIB through cut-offs and restarts of the server, until it is interrupted. Needs a daemon with --fib.

usage: follow_fib.py ADDRESS
"""
import sys

from orv_controller.mirror import CaughtUp, Resynced, Switch, values


def main(target: str) -> None:
    routes: dict[str, int] = {}
    with Switch(target) as switch, switch.fib.follow() as events:
        for event in events:
            match event:
                case Resynced(gap=gap):
                    # Routes may have come and gone unseen. All that exist are reported again.
                    routes.clear()
                    print(f"again after {gap}" if gap else "following", flush=True)
                    continue
                case CaughtUp():
                    print(f"complete: {len(routes)} routes", flush=True)
                    continue
            if event.HasField("on_route_set"):
                route = event.on_route_set
                prefix = values.prefix_text(route.route_key.prefix)
                routes[prefix] = route.fec_id
                print(f"+ {prefix} FEC {route.fec_id}", flush=True)
            elif event.HasField("on_route_del"):
                prefix = values.prefix_text(event.on_route_del.prefix)
                routes.pop(prefix, None)
                print(f"- {prefix}", flush=True)


if __name__ == "__main__":
    try:
        main(sys.argv[1])
    except KeyboardInterrupt:
        pass
