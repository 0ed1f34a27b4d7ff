#!/usr/bin/env bash
# Regenerates the modules in orv_controller/pb from the wire contract: the messages of every .proto file, and the
# stub of the programming service. `mirror` calls the other services by their descriptors, without stubs.
#
# usage: regenerate.sh [--check]      --check changes nothing and exits with 1 if the modules are out of date
#
# Needs protoc and grpc_python_plugin (protobuf-compiler, protobuf-compiler-grpc).
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
protos=$here/../../OrvSdkRpcProtos
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
out=$here
case ${1:-} in
'') ;;
--check) out=$work/made; mkdir "$out" ;;
*) echo "regenerate.sh: '$1', expected --check or nothing" >&2; exit 2 ;;
esac
# The contract is moved into the package, so that the generated modules import each other from there.
package=orv_controller/pb
mkdir -p "$work/$package"
for proto in "$protos"/*.proto; do
   sed "s|^import \"OrvSdkRpcProtos/|import \"$package/|" "$proto" >"$work/$package/${proto##*/}"
done
cd "$work"
protoc -I. --python_out="$out" --pyi_out="$out" "$package"/*.proto
protoc -I. --plugin=protoc-gen-grpc_python="$(command -v grpc_python_plugin)" --grpc_python_out="$out" \
   "$package/orvsdk.proto"
[ "$out" = "$here" ] && exit 0
diff -rq --exclude=__pycache__ --exclude=__init__.py "$out/$package" "$here/$package" ||
   { echo "$package is not what the .proto files say; regenerate.sh mends it" >&2; exit 1; }
