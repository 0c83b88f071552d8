#!/usr/bin/env bash
# Installs a build into a scratch prefix, compares the installed files with the committed list, and builds and
# runs a stranger's host against the prefix, once through CMake's package and once through pkg-config, and a
# stranger's plug-in with its host.
#
#   install_consumer.sh BUILD_FOLDER CXX        QL_ACCEPT=1 rewrites the committed list
set -euo pipefail
build=$1 cxx=$2
export CMAKE_GENERATOR=Ninja  # the one build tool that the scripts install
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
(cd "$scratch/prefix" && find . -type f -o -type l | sed 's,/lib/[^/]*-linux-gnu/,/lib/,' | LC_ALL=C sort) >"$scratch/files"
[ -z "${QL_ACCEPT-}" ] || cp "$scratch/files" "$here/installed_files.txt"
diff -u "$here/installed_files.txt" "$scratch/files"

libdir=$(dirname "$(find "$scratch/prefix" -name libqlfoundation.so)")
export LD_LIBRARY_PATH=$libdir

cmake -S "$here/consumer" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/prefix" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$scratch/build" >/dev/null
"$scratch/build/host"
[ "$("$scratch/prefix/bin/zdict" lookup "$scratch/build/fr.zdct" /Host/Hello)" = Bonjour ]
echo "through find_package: runs"

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
"$cxx" -std=c++20 -Wall -Wextra -Werror "$here/consumer/host.cpp" $(pkg-config --define-variable=prefix="$scratch/prefix" --cflags --libs qlfoundation) -o "$scratch/host"
"$scratch/host"
echo "through pkg-config: runs"

cmake -S "$here/consumer/plugin" -B "$scratch/plugin" -DCMAKE_PREFIX_PATH="$scratch/prefix" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$scratch/plugin" >/dev/null
[ "$("$scratch/plugin/try_wobble" "$scratch/plugin/plug-ins")" = $'by message: 10.0\nby suite: -10.0' ]
echo "a plug-in: runs"

# The README and the guide quote these files; a reader must get what was compiled.
for file in "$here"/consumer/plugin/*; do
    diff -u "$file" <(awk -v name="$(basename "$file")" '/^```/ {on = $2 == name; next} on' "$here/../docs/guides/plugins.md")
done
echo "the guide quotes the same plug-in"
diff -u "$here/consumer/host.cpp" <(awk '/^```cpp$/ {on = 1; next} /^```$/ {if (on) exit} on' "$here/../README.md")
echo "the README quotes the same host"
