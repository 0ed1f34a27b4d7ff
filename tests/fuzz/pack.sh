#!/usr/bin/env bash
# Packs the folders of inputs below DIR, one for each fuzz target, into tests/fuzz/corpus. The same inputs always give
# the same archive.
#
# usage: pack.sh DIR
set -euo pipefail
[ $# -eq 1 ] && [ -d "$1" ] || { echo "usage: pack.sh DIR, a folder that holds one folder for each target" >&2; exit 2; }
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
for target in from_wire from_sdk; do
   [ -d "$1/$target" ] || { echo "no folder $1/$target" >&2; exit 1; }
   tar --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX -C "$1" -cf - "$target" |
      gzip -9n >"$here/corpus/$target.tar.gz"
   printf '%s: %d inputs\n' "$target" "$(find "$1/$target" -type f | wc -l)"
done
