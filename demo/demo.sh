#!/usr/bin/env bash
# The demonstration: the reference controller programs a running switch, the switch is
# killed in the middle and comes back with everything that it had acknowledged.
#
# usage: demo.sh [BIN_DIR]      BIN_DIR holds orvsdkrpcd and orvctl; $ORV_BIN_DIR, or build/bin
#
# demo_controller does what the reference controller cannot: it generates a state, loads
# routes and records how many were acknowledged, and compares every item.
#
# Exits with 1 and a message at the first failure.
set -u -o pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bin=${1:-${ORV_BIN_DIR:-$here/../build/bin}}
bin=$(cd "$bin" && pwd) || exit 1
controller=$bin/demo_controller
[ -x "$controller" ] || controller=$bin/../demo/demo_controller
for program in "$bin/orvsdkrpcd" "$bin/orvctl" "$controller"; do
   [ -x "$program" ] || { echo "no program $program, expected it to be built" >&2; exit 1; }
done

# The system's own Python, which sees the system's gRPC and protobuf packages.
python=/usr/bin/python3
package=$here/../clients/python
[ -x "$python" ] || { echo "no $python" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/orv-demo-XXXXXX") || exit 1
socket=$work/rpc.sock
console=$work/console.sock
target=unix://$socket
log=$work/daemon.log
daemon=
loader=

cleanup() {
   [ -n "$loader" ] && kill -9 "$loader" 2>/dev/null
   [ -n "$daemon" ] && kill -9 "$daemon" 2>/dev/null
   wait 2>/dev/null
   rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

chapter=0
chapter() { chapter=$((chapter + 1)); printf '\n%d. %s\n' "$chapter" "$*"; }
say() { printf '   %s\n' "$*"; }
fail() {
   printf '\nNOT AS IT SHOULD BE: %s\n' "$*" >&2
   if [ -s "$log" ]; then
      printf 'The last lines of the daemon:\n' >&2
      tail -n 20 "$log" >&2
   fi
   exit 1
}

orvctl() { "$bin/orvctl" --target "$target" "$@"; }
# Prints the command as a user would type it, runs it and prints its output.
run() {
   printf '   $ orvctl %s\n' "$*"
   local out
   out=$(orvctl "$@" 2>&1) || fail "orvctl $* ended with $?: $out"
   [ -z "$out" ] || printf '%s\n' "$out" | sed 's/^/     /'
}
# controls CODE ARGUMENT...: runs the reference controller, prints its output and fails
# unless it exits with CODE.
controller_says=
controls() {
   local wanted=$1 code=0
   shift
   printf '   $ orv-controller %s\n' "$*"
   controller_says=$(PYTHONPATH=$package "$python" -B -m orv_controller --target "$target" \
      --state "$work/state.json" --show 2 "$@" 2>&1) || code=$?
   printf '%s\n' "$controller_says" | sed 's/^/     /'
   [ "$code" -eq "$wanted" ] || fail "orv-controller $* ended with $code, not with $wanted"
}
expect_says() {
   case $controller_says in
   *"$1"*) ;;
   *) fail "the controller should say '$1'" ;;
   esac
}
state() { "$controller" state "$@" >"$work/state.json" || fail "no state to want"; }
verify() {
   local out
   out=$("$controller" verify --console "$console" "$@" 2>&1) || fail "$out"
   say "$out"
}
start_daemon() {
   "$bin/orvsdkrpcd" --listen "$target" --state-dir "$work/state" --console "unix:$console" --bfd >>"$log" 2>&1 &
   daemon=$!
   local i
   for ((i = 0; i < 3000; i++)); do
      orvctl state get ready >/dev/null 2>&1 && return
      kill -0 "$daemon" 2>/dev/null || fail "the daemon ended instead of serving"
      sleep 0.01
   done
   fail "the daemon does not serve"
}
chapter "A switch starts with an empty state directory"
start_daemon
say "orvsdkrpcd runs as process $daemon, serves gRPC on a unix socket and a console on another."

chapter "A controller programs 1,000 nexthop groups, 100,000 routes and a few of everything else"
state --routes 100000
controls 0 once
expect_says "the switch is empty"
expect_says "in sync"

chapter "The console, which does not go through the API, sees the same"
run console show counters
verify --groups 1000 --routes 100000

chapter "kill -9 in the middle of a bulk"
"$controller" load --target "$target" --first 100000 --count 1000000 --acknowledged "$work/acknowledged" &
loader=$!
for ((i = 0; i < 3000; i++)); do
   [ -s "$work/acknowledged" ] && [ "$(tail -n 1 "$work/acknowledged")" -ge 20000 ] && break
   kill -0 "$loader" 2>/dev/null || break
   sleep 0.005
done
kill -9 "$daemon" || fail "the daemon was gone before it was killed"
{ wait "$daemon"; } 2>/dev/null
[ $? -eq 137 ] || fail "the daemon did not end by the kill"
daemon=
wait "$loader"
[ $? -eq 3 ] || fail "the controller did not notice that the switch went away"
loader=
acknowledged=$(tail -n 1 "$work/acknowledged")
say "Another $acknowledged routes, loaded beside it, were acknowledged when the process died; the bulk behind them was not."

chapter "It starts again on what is left"
start_daemon
verify --groups 1000 --routes 100000 --acknowledged "$work/acknowledged" --in-flight 1000

chapter "Half of the state is wanted from now on: the controller meets a new process and replays, the rest goes"
state --groups 500 --routes 50000
controls 0 once
expect_says "resync: replaying"
expect_says "in sync"
verify --groups 500 --routes 50000

chapter "One change more: the controller knows what the switch holds, and sends the difference"
state --groups 500 --routes 49999
controls 4 diff
expect_says "- route"
controls 0 once
expect_says "programming 1 changes"
verify --groups 500 --routes 49999
controls 0 diff
expect_says "no difference"

chapter "An orderly stop leaves no socket and no lock behind"
kill -TERM "$daemon"
wait "$daemon"
code=$?
daemon=
[ "$code" -eq 0 ] || fail "the daemon ended with $code"
for left in "$socket" "$socket.lock" "$console"; do
   [ ! -e "$left" ] || fail "$left is still there"
done
say "Exit code 0; the sockets and the lock file are gone."

printf '\nEverything was as it should be, in %d seconds.\n' "$SECONDS"
