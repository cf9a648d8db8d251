#!/bin/bash
# SPDX-License-Identifier: MIT
# The linker keeps one copy of each weak symbol. One that was compiled for AVX2 and is called on every processor would
# end the program on those without: the objects of a version must not define any.
#
#   weak_symbols_test.sh VERSION OBJECT...
set -euo pipefail

version=$1
shift
[ $# -gt 0 ] || { echo "no objects given" >&2; exit 1; }
symbols=$(nm --defined-only --extern-only --demangle "$@")
grep -q " $version::mbe_synthesize(" <<<"$symbols" || { echo "these are not the objects of $version" >&2; exit 1; }
if weak=$(grep -E ' [VvWwu] ' <<<"$symbols"); then
    printf 'weak symbols in the objects of %s:\n%s\n' "$version" "$weak" >&2
    exit 1
fi
