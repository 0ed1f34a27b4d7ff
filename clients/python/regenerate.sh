#!/usr/bin/env bash
# Regenerates the stubs in orv_controller/pb from the wire contract.
#
# usage: regenerate.sh [--check]      --check changes nothing and exits with 1 if the stubs are out of date
#
# Needs protoc and grpc_python_plugin (protobuf-compiler, protobuf-compiler-grpc).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
protos=$here/../../OrvSdkRpcProtos
out=$here
case ${1:-} in
'') ;;
--check) out=$(mktemp -d); trap 'rm -rf "$out"' EXIT ;;
*) echo "regenerate.sh: '$1', expected --check or nothing" >&2; exit 2 ;;
esac
# The contract is mapped into the package, so that the generated modules import each other from there.
protoc "-Iorv_controller/pb=$protos" --plugin=protoc-gen-grpc_python="$(command -v grpc_python_plugin)" \
   --python_out="$out" --pyi_out="$out" --grpc_python_out="$out" orv_controller/pb/orvsdk.proto
[ "$out" = "$here" ] && exit 0
for file in orvsdk_pb2.py orvsdk_pb2.pyi orvsdk_pb2_grpc.py; do
   cmp "$out/orv_controller/pb/$file" "$here/orv_controller/pb/$file" ||
      { echo "orv_controller/pb/$file is not what orvsdk.proto says; regenerate.sh mends it" >&2; exit 1; }
done
