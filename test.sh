#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs every test.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
bash "$here/scripts/deps.sh"
cmake -S "$here" -B "$here/build" >/dev/null
cmake --build "$here/build" -j2
# Without GoogleTest the build leaves the tests out, and ctest would find none and pass.
[ -x "$here/build/tolmtests" ] || { echo "test.sh: GoogleTest was not found, so no test was built" >&2; exit 1; }
ctest --test-dir "$here/build" --output-on-failure -j2
