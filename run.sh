#!/usr/bin/env bash
# Builds the editor and starts it on the files given, or on the scratch document.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
cmake -S "$here" -B "$here/build" >/dev/null
cmake --build "$here/build" -j2 --target tolm >/dev/null
exec "$here/build/tolm" "$@"
