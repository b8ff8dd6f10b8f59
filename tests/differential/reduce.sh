#!/bin/bash
# Reduces a failing csmith program with cvise.
#     tests/differential/reduce.sh [-b BUILD] [-s SEED | FILE.c] [-l LEVEL] [-o FOLDER] [-- NXOPT-OPTION...]
# LEVEL: off, 0 to 4, or "none" when nxrun on the front end's own file is already wrong. The result is FOLDER/p.c.
# A variant counts only if the native program is free of undefined behaviour (sanitizers) and ends in time, if it prints
# the same when built by two compilers, and if nxrun prints something else.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=build/release
seed=
level=2
folder=
while getopts "b:s:l:o:h" option; do
    case $option in
    b) build=$OPTARG ;;
    s) seed=$OPTARG ;;
    l) level=$OPTARG ;;
    o) folder=$OPTARG ;;
    *) sed -n '2,6s/^# \{0,1\}//p' "$0"; exit 2 ;;
    esac
done
shift $((OPTIND - 1))
source_file=
if [ $# -gt 0 ] && [ "$1" != -- ]; then
    source_file=$1
    shift
fi
[ "${1:-}" != -- ] || shift
command -v cvise >/dev/null || { echo "reduce: cvise is missing; tools/install-deps.sh reduce installs it" >&2; exit 2; }
build=$(cd "$build" && pwd)

folder=${folder:-reduce-$(date +%H%M%S)}
mkdir -p "$folder"
if [ -n "$seed" ]; then
    features=$(cd "$here" && python3 -c 'import csmith, sys
print("\n".join(csmith.COMMON + csmith.features_of(int(sys.argv[1]))[1]))' "$seed")
    # shellcheck disable=SC2086  # one option a line, none with blanks
    (cd "$folder" && csmith --seed "$seed" $features --output p.c)
else
    [ -n "$source_file" ] || { echo "reduce: give -s SEED or a C file" >&2; exit 2; }
    cp "$source_file" "$folder/p.c"
fi

{
    printf '#!/bin/bash\n'
    printf 'build=%q level=%q runtime=%q\n' "$build" "$level" "$here/runtime"
    printf 'nxopt_options=('
    [ $# -eq 0 ] || printf '%q ' "$@"
    printf ')\n'
    cat <<'TEST'
# Succeeds if p.c is still a correct program that comes out wrong.
native=(-m32 -std=gnu99 -malign-double -msse2 -mfpmath=sse -I "$runtime")
limit=(timeout -k 1 5)
sanitize=(-O0 -fsanitize=undefined,address -fno-sanitize-recover=all)
clang-14 "${native[@]}" -w "${sanitize[@]}" p.c -o checked -lm 2>/dev/null || exit 1
"${limit[@]}" ./checked >want 2>/dev/null || exit 1
clang-14 "${native[@]}" -fsyntax-only -Wuninitialized -Werror=uninitialized -Werror=return-type \
    -Werror=implicit-function-declaration -Werror=int-conversion p.c 2>/dev/null || exit 1
gcc "${native[@]}" -w -O2 p.c -o fast -lm 2>/dev/null || exit 1
"${limit[@]}" ./fast >again 2>/dev/null || exit 1
cmp -s want again || exit 1
grep -q '^checksum = ' want || exit 1
"$build/tools/nxparse/nxparse" -w -I "$runtime" -o p.ic p.c 2>/dev/null || exit 1
file=p.ic
run=("${limit[@]}" "$build/tools/nxrun/nxrun" --max-steps=100000000)
if [ "$level" != none ]; then
    "${run[@]}" p.ic >plain 2>/dev/null || exit 1
    cmp -s want plain || exit 1
    # An optimizer that fails is what is looked for, too.
    "${limit[@]}" "$build/nxopt" "--opt_level=$level" "${nxopt_options[@]}" p.ic p.opt >/dev/null 2>&1 || exit 0
    file=p.opt
fi
"${run[@]}" "$file" >got 2>/dev/null || exit 0
! cmp -s want got
TEST
} >"$folder/interesting.sh"
chmod +x "$folder/interesting.sh"

cd "$folder"
if ! ./interesting.sh; then
    echo "reduce: $folder/p.c does not fail as asked; try interesting.sh there by hand" >&2
    exit 1
fi
cvise --n 2 ./interesting.sh p.c
echo "reduced: $folder/p.c"
