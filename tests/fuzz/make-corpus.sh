#!/bin/bash
# Makes the seed corpus of the fuzz targets from real files:  tests/fuzz/make-corpus.sh BUILD FOLDER
# FOLDER/reader and FOLDER/nxopt get the icode of the programs of the net, each for nxopt with a level behind it.
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: $0 BUILD FOLDER" >&2; exit 2; }
build=$(realpath "$1")
mkdir -p "$2/reader" "$2/nxopt"
folder=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Small programs first: a mutation that matters is found sooner in a short file.
sources=("$here"/../cli/sample.c "$here"/seeds/*.c "$here"/../../examples/*.c)
mapfile -t programs < <(find "$here/../programs" -name '*.c' -size -4k | sort)
made=0
for source in "${sources[@]}" "${programs[@]}"; do
    [ -e "$source" ] || continue
    name=$(basename "$source" .c)
    "$build/tools/nxparse/nxparse" -w -o "$work/$name.ic" "$source" 2>/dev/null || continue
    cp "$work/$name.ic" "$folder/reader/$name"
    # The optimizer's own output has shapes that no front end makes.
    "$build/nxopt" --opt_level=2 "$work/$name.ic" "$work/$name.opt" 2>/dev/null &&
        cp "$work/$name.opt" "$folder/reader/$name.opt"
    # The last byte, modulo 6, is the level's place in: off 0 1 2 3 4; below 128 the validators run, which takes time.
    for choice in 03 81 83 85; do
        { cat "$work/$name.ic"; printf '%b' "\\x$choice"; } >"$folder/nxopt/$name.$choice"
    done
    made=$((made + 1))
done
for kept in "$here"/kept/*; do
    [ -f "$kept" ] || continue
    cp "$kept" "$folder/reader/kept-$(basename "$kept")"
    { cat "$kept"; printf '\x03'; } >"$folder/nxopt/kept-$(basename "$kept")"
done
echo "corpus: $made programs in $folder"
[ "$made" -gt 0 ]
