#!/usr/bin/env bash
# Runs every fuzzer for a share of a bounded time, each on a copy of its seed corpus
# (fuzz/corpus/<name> for fuzz-<name>), and prints one verdict line per fuzzer.
# Usage: fuzz/run.sh BUILD_DIR SECONDS. Exits non-zero when any fuzzer finds a crash, a leak
# or a hang; the failing input is left in BUILD_DIR/fuzz-artifacts/, named after the fuzzer.
set -euo pipefail

if [[ $# -ne 2 || ! $2 =~ ^[0-9]+$ ]]; then
    echo "usage: $0 BUILD_DIR SECONDS" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
seconds=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

names=()
for corpus in "$here"/corpus/*/; do
    names+=("$(basename "$corpus")")
done
for name in "${names[@]}"; do
    if [[ ! -x $build/bin/fuzz-$name ]]; then
        echo "$0: $build/bin/fuzz-$name not built (configure with -DNBX_FUZZ=ON and clang)" >&2
        exit 2
    fi
done
# Each fuzzer gets an equal share, but never less than a few seconds.
share=$((seconds / ${#names[@]}))
((share >= 5)) || share=5

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$build/fuzz-artifacts"
failed=0
for name in "${names[@]}"; do
    fuzzer="fuzz-$name"
    mkdir -p "$work/$name"
    cp "$here/corpus/$name"/* "$work/$name/"
    # The fuzzer's running commentary goes to a log; only its verdict reaches the terminal.
    log="$build/$fuzzer.log"
    if "$build/bin/$fuzzer" -max_total_time="$share" -timeout=10 -rss_limit_mb=2048 \
        -max_len=8192 -print_final_stats=1 -artifact_prefix="$build/fuzz-artifacts/$fuzzer-" \
        "$work/$name" > "$log" 2>&1; then
        echo "$fuzzer: $(grep -o 'Done [0-9]* runs in [0-9]* second(s)' "$log"), no failure"
    else
        # From the sanitizer's or the fuzzer's report on, else the log's end.
        report=$(sed -n '/^==[0-9]*==\|runtime error:/,$p' "$log" | head -n 60)
        echo "${report:-$(tail -n 30 "$log")}" >&2
        echo "$fuzzer: FAILED; input in $build/fuzz-artifacts/, log in $log" >&2
        failed=1
    fi
done
exit "$failed"
