#!/bin/bash
# One C program through every tool:  examples/demo.sh [BUILD] [PROGRAM.c]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build/release}")
program=$(realpath "${2:-examples/fir.c}")
export PATH="$build:$build/tools/nxparse:$build/tools/nxrun:$build/tools/nxdis:$PATH"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
name=$(basename "$program" .c)
cp "$program" "$work/$name.c"
cd "$work"

say() { printf '\n\033[1m%s\033[0m\n' "$*"; }
[ -t 1 ] || say() { printf '\n%s\n' "$*"; }
try() {
    say "\$ $*"
    "$@"
}
# The value of a key of nxrun's counts.
count_of() { sed -n "s/.*\"$2\" *: *\([0-9]*\).*/\1/p" "$1" | head -n 1; }

try nxparse -o "$name.ic" "$name.c"
try nxrun --count=before.json "$name.ic"
try nxopt --opt_level=2 "$name.ic" "$name.opt"
try nxrun --count=after.json "$name.opt"
say "\$ nxdis $name.opt    (the last lines of its functions)"
nxdis "$name.opt" >"$name.txt"
tail -n 40 "$name.txt"

say "what ran            before      after"
for key in total loads stores ialu imul idiv fop cmp conv br_total br_taken calls returns cost; do
    printf '%-12s %13s %10s\n' "$key" "$(count_of before.json "$key")" "$(count_of after.json "$key")"
done
