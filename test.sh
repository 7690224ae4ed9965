#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs every test.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
bash "$here/scripts/deps.sh"
cmake -S "$here" -B "$here/build" >/dev/null
cmake --build "$here/build" -j2
ctest --test-dir "$here/build" --output-on-failure -j2
