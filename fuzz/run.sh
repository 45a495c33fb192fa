#!/usr/bin/env bash
# Runs each harness for a set time on its seeds and what it found before,
# and fails when one of them fails.
#   fuzz/run.sh BUILD_DIR SECONDS [harness ...]
# The working corpus and any crash input stay in BUILD_DIR; fuzz/corpus/ is
# only read.
set -euo pipefail
build=$(cd "$1" && pwd)
seconds=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
    names=(fuzz_datafile fuzz_projectfile fuzz_settingsfile fuzz_recorderlog fuzz_dbc fuzz_canlogs
        fuzz_driverconfig)
fi

mkdir -p "$build/tmp"
export TMPDIR="$build/tmp"
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:allocator_may_return_null=0}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}"

failed=()
for name in "${names[@]}"; do
    seeds="$here/corpus/${name#fuzz_}"
    work="$build/corpus/${name#fuzz_}"
    artifacts="$build/artifacts/${name#fuzz_}"
    mkdir -p "$work" "$artifacts"
    options=(-max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=128 -max_len=65536
        -timeout=10 -print_final_stats=1 -artifact_prefix="$artifacts/")
    # The driver reports every bad line of a configuration on stderr.
    [ "$name" = fuzz_driverconfig ] && options+=(-close_fd_mask=2)
    echo "== $name: $seconds s"
    if ! "$build/$name" "${options[@]}" "$work" "$seeds"; then
        failed+=("$name")
    fi
done

if [ ${#failed[@]} -gt 0 ]; then
    echo "fuzz: failed: ${failed[*]} (inputs in $build/artifacts/)" >&2
    exit 1
fi
echo "fuzz: ${#names[@]} harnesses ran $seconds s each without a finding"
