#!/usr/bin/env bash
# Builds the cell benchmark a second time with every cell on the general heap, then runs the
# chosen allocator and the general heap in turn so that both see the same machine.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
cmake -S "$here" -B "$here/build" -G Ninja >/dev/null
cmake -S "$here" -B "$here/build-heap" -G Ninja -DCMAKE_CXX_FLAGS=-DTOLM_PLAINHEAP >/dev/null
ninja -C "$here/build" -j2 bench_cells >/dev/null
ninja -C "$here/build-heap" -j2 bench_cells >/dev/null
for round in 1 2; do
  echo "== chosen allocator (round $round)"
  "$here/build/bench_cells"
  echo "== general heap (round $round)"
  "$here/build-heap/bench_cells"
done
