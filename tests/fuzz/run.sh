#!/bin/bash
# Runs each fuzz target for a bounded time.
#     tests/fuzz/run.sh [--bin BUILD] [--fuzz BUILD] [--jobs N] [--only TARGET] [--keep FOLDER] SECONDS
# BUILD of --bin makes the seeds (it needs nxparse and nxopt), BUILD of --fuzz holds the targets. The corpus grows in
# FOLDER (default build/fuzz-corpus), findings go to FOLDER/findings. Status 1 if there is one.
set -euo pipefail
bin=build/release
fuzz=build/fuzz
jobs=2
folder=build/fuzz-corpus
targets=(fuzz_reader fuzz_nxopt)
while [ $# -gt 1 ]; do
    case $1 in
    --bin) bin=$2 ;;
    --fuzz) fuzz=$2 ;;
    --jobs) jobs=$2 ;;
    --only) targets=("$2") ;;
    --keep) folder=$2 ;;
    *) sed -n '2,6s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
    esac
    shift 2
done
seconds=${1:?number of seconds}
here=$(cd "$(dirname "$0")" && pwd)

"$here/make-corpus.sh" "$bin" "$folder/seeds"
findings=$folder/findings
NX_FUZZ_FOLDER=$(mktemp -d /dev/shm/nxfuzz-XXXXXX)
export NX_FUZZ_FOLDER
trap 'rm -rf "$NX_FUZZ_FOLDER"' EXIT
mkdir -p "$findings"
# Memory that an interrupted run leaves behind is no finding: the process ends there outside the fuzzer. Jobs are
# restarted when they have grown, and an input that is too much on its own is found by the check below.
export ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=0:detect_stack_use_after_return=0
export UBSAN_OPTIONS=print_stacktrace=1
status=0
for target in "${targets[@]}"; do
    # The whole optimizer takes its time for a large file; small ones reach the same code.
    limit=65536
    if [ "$target" = fuzz_nxopt ]; then limit=6000; fi
    find "$folder/seeds/${target#fuzz_}" -type f -size +"$limit"c -delete
    grown=$folder/$target
    mkdir -p "$grown"
    echo "== $target: $seconds s"
    log=$folder/$target.log
    "$fuzz/tests/fuzz/$target" -fork="$jobs" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3000 \
        -malloc_limit_mb=1000 -max_len="$limit" -ignore_ooms=1 -ignore_timeouts=0 -ignore_crashes=0 -close_fd_mask=3 \
        -artifact_prefix="$findings/$target-" "$grown" "$folder/seeds/${target#fuzz_}" >"$log" 2>&1 ||
        { echo "$target: ended with a finding"; status=1; }
    grep -E '^#[0-9]+: cov' "$log" | tail -n 1 || true
    # Inputs on which a job ran out of memory: alone, each must stay within its limit.
    for input in "$findings/$target"-oom-*; do
        [ -e "$input" ] || continue
        if "$fuzz/tests/fuzz/$target" -rss_limit_mb=2000 -malloc_limit_mb=1000 -timeout=20 -close_fd_mask=3 "$input" \
            >/dev/null 2>&1; then
            rm "$input"
        else
            status=1
        fi
    done
done
find "$findings" -type f -printf 'finding: %p\n'
exit $status
