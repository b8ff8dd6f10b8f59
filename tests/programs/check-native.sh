#!/bin/sh
# Rebuild every program natively, twice, and compare its output and exit status with what is on record:
#   1. 64 bit, -O1, with the address and undefined-behaviour sanitizers: a program with undefined behaviour proves nothing;
#   2. 32 bit, -O2: the same sizes of int, long and pointers as the target, and an optimizer that uses aliasing rules.
# Programs below target/ show the 16-bit char, so no native build can tell what they print; they are skipped.
#
# usage: check-native.sh [--update] [NAME...]      (NAME without .c; default: all)
#   --update   write NAME.expected from the 64-bit sanitizer build where that run is clean and the 32-bit one agrees
# Prints a line per failure and "N passed, M failed"; exit status 1 if anything failed.
set -u
export TZ=UTC
cd "$(dirname "$0")" || exit 2
update=0
if [ "${1:-}" = "--update" ]; then
    update=1
    shift
fi
CC=${CC:-gcc}
# Programs use odd but correct forms on purpose; the warnings about those are off, all others are errors.
FLAGS="-std=c99 -Wall -Wextra -Wpedantic -Werror -Wno-implicit-fallthrough -Wno-override-init -Wno-missing-braces
       -Wno-missing-field-initializers -Wno-sign-compare -Wno-stringop-truncation -Wno-format-truncation -Wno-parentheses
       -Wno-unused-value -Wno-int-in-bool-context -Wno-infinite-recursion"
tmp=$(mktemp -d) || exit 2
trap 'rm -rf "$tmp"' EXIT
passed=0
failed=0

complain() {
    echo "FAIL $1: $2"
    [ -f "$3" ] && head -n 12 "$3" | sed 's/^/    /'
}

# check_build NAME KIND FLAGS...: build, run, leave the output in $tmp/NAME.KIND, compare status and standard error.
check_build() {
    name=$1
    kind=$2
    shift 2
    if ! timeout 120 "$CC" $FLAGS "$@" -o "$tmp/exe" "$name.c" -lm 2>"$tmp/log"; then
        complain "$name" "does not compile ($kind)" "$tmp/log"
        return 1
    fi
    want=0
    [ -f "$name.status" ] && want=$(cat "$name.status")
    args=
    [ -f "$name.args" ] && args=$(cat "$name.args")
    input=/dev/null
    [ -f "$name.in" ] && input=$name.in
    set -f
    timeout 60 "$tmp/exe" $args <"$input" >"$tmp/$name.$kind" 2>"$tmp/err"
    status=$?
    set +f
    if [ "$status" -ne "$want" ]; then
        complain "$name" "exit status $status, not $want ($kind)" "$tmp/err"
        return 1
    fi
    if grep -q -E 'runtime error|Sanitizer' "$tmp/err"; then
        complain "$name" "sanitizer report ($kind)" "$tmp/err"
        return 1
    fi
}

if [ $# -eq 0 ]; then
    set -- *.c
else
    set -- $(for n; do echo "$n.c"; done)
fi
for source; do
    name=${source%.c}
    ok=1
    check_build "$name" m64 -O1 -g -fsanitize=address,undefined -fno-sanitize-recover=undefined || ok=0
    if [ $ok = 1 ]; then
        check_build "$name" m32 -m32 -O2 || ok=0
    fi
    if [ $ok = 1 ] && [ $update = 1 ] && cmp -s "$tmp/$name.m64" "$tmp/$name.m32"; then
        cp "$tmp/$name.m64" "$name.expected"
    fi
    for kind in m64 m32; do
        if [ $ok = 1 ] && ! diff "$name.expected" "$tmp/$name.$kind" >"$tmp/log" 2>&1; then
            complain "$name" "output differs from $name.expected ($kind)" "$tmp/log"
            ok=0
        fi
    done
    if [ $ok = 1 ]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
    fi
done
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
