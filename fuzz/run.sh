#!/usr/bin/env bash
# Runs the JSON decoder fuzzer for a bounded time on a copy of the seed corpus.
# Usage: fuzz/run.sh BUILD_DIR SECONDS. Exits non-zero when the fuzzer finds a crash, a leak
# or a hang; the failing input is left in BUILD_DIR/fuzz-artifacts/.
set -euo pipefail

if [[ $# -ne 2 || ! $2 =~ ^[0-9]+$ ]]; then
    echo "usage: $0 BUILD_DIR SECONDS" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
seconds=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
fuzzer="$build/bin/fuzz-json-decoder"
if [[ ! -x $fuzzer ]]; then
    echo "$0: $fuzzer not built (configure with -DNBX_FUZZ=ON and clang)" >&2
    exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/corpus" "$build/fuzz-artifacts"
cp "$here"/corpus/json/* "$work/corpus/"

# The fuzzer's running commentary goes to a log; only its verdict reaches the terminal.
log="$build/fuzz-json-decoder.log"
if "$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=8192 \
    -print_final_stats=1 -artifact_prefix="$build/fuzz-artifacts/" "$work/corpus" > "$log" 2>&1; then
    echo "fuzz-json-decoder: $(grep -o 'Done [0-9]* runs in [0-9]* second(s)' "$log"), no failure"
else
    tail -n 60 "$log"
    echo "fuzz-json-decoder failed; input in $build/fuzz-artifacts/, log in $log" >&2
    exit 1
fi
