#!/bin/sh
# Installs a build tree to a directory of its own, builds a foreign project against it and runs that.
# usage: run.sh BUILD_DIR SOURCE_DIR [CMAKE ARGUMENTS...]
set -eu
build=$1
source=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" "$@" >/dev/null
cmake --build "$work/build"
"$work/build/consumer" "$work"
test -x "$work/prefix/bin/orvsdkrpcd"
test -x "$work/prefix/bin/orvctl"
test -f "$work/prefix/share/orvsdkrpc/OrvSdkRpcProtos/orvsdk.proto"
