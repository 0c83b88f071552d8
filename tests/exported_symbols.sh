#!/usr/bin/env bash
# Compares what the shared library exports with the committed list: a symbol that leaves breaks users, one that
# enters is a promise.
#
#   exported_symbols.sh LIBRARY                 QL_ACCEPT=1 rewrites the committed list
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
list=$(mktemp)
trap 'rm -f "$list"' EXIT
nm -D --defined-only --format=posix "$1" | cut -d' ' -f1 | c++filt | LC_ALL=C sort -u >"$list"
[ -z "${QL_ACCEPT-}" ] || cp "$list" "$here/exported_symbols.txt"
diff -u "$here/exported_symbols.txt" "$list"
echo "$(wc -l <"$list") symbols, as committed"
