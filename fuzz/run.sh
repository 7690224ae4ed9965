#!/usr/bin/env bash
# Builds one fuzz target and runs it for the given seconds on its kept corpus, under both
# sanitizers; fails on any finding. Usage: fuzz/run.sh TARGET SECONDS [more libFuzzer flags]
# Targets: program, numbers, editor. New inputs that reach new code go to build-fuzz/corpus/TARGET, and a
# finding is written to build-fuzz/findings/ as the input that caused it.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
target="${1:?target: program, numbers or editor}"
seconds="${2:?seconds to run}"
shift 2
bash "$here/scripts/deps.sh" fuzz
CXX=clang++ cmake -S "$here" -B "$here/build-fuzz" -DTOLM_FUZZ=ON >/dev/null
cmake --build "$here/build-fuzz" -j2 --target "fuzz_$target" >/dev/null
work="$here/build-fuzz/corpus/$target"
findings="$here/build-fuzz/findings"
mkdir -p "$work" "$findings"
export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=0:${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:${UBSAN_OPTIONS:-}"
# Inputs kept for the time they take rather than for the code they reach run once each, each
# within the time an input is allowed; among the seeds they would take most of the run's time.
slow=("$here/fuzz/slow/$target"/*)
if [ -e "${slow[0]}" ]; then
  "$here/build-fuzz/fuzz/fuzz_$target" -timeout=10 -rss_limit_mb=3072 -detect_leaks=0 -close_fd_mask=1 \
    -artifact_prefix="$findings/$target-" "${slow[@]}"
fi
# A quiet input takes milliseconds; a hang beyond the step bound takes more than ten seconds. The
# tables and caches that live across inputs would make libFuzzer search for leaks after every
# input, so leaks are looked for once, when the process ends.
exec "$here/build-fuzz/fuzz/fuzz_$target" "$work" "$here/fuzz/corpus/$target" \
  -max_total_time="$seconds" -timeout=10 -rss_limit_mb=3072 -max_len=4096 -detect_leaks=0 \
  -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$findings/$target-" "$@"
