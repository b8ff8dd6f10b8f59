#!/bin/bash
# Installs the Debian packages that a target of the Makefile needs, and only those that are missing.
#     tools/install-deps.sh GROUP...        groups: build test fuzz bench reduce format all
# Nothing missing: no output, no network. Set NX_NO_INSTALL=1 to check without installing.
set -euo pipefail

declare -A packages=(
    # the library and the tools; ccache and mold only save time
    [build]="g++ cmake ninja-build make python3 libboost-dev libboost-graph-dev libgtest-dev libbenchmark-dev
             llvm-14-dev libclang-14-dev ccache mold"
    # lit and FileCheck; random programs; the 32-bit native build they are compared with; exact elementary functions
    [test]="llvm-14-tools csmith gcc-multilib graphviz util-linux libz3-dev libmpfr-dev"
    [fuzz]="clang-14 libclang-rt-14-dev"
    [bench]="clang-14 llvm-14"
    [reduce]="cvise clang-14 libclang-rt-14-dev gcc-multilib graphviz"
    [format]="clang-format-14"
)

groups=("$@")
if [ ${#groups[@]} -eq 0 ] || [ "${groups[0]}" = all ]; then
    groups=(build test fuzz bench reduce format)
fi

if ! command -v dpkg-query >/dev/null; then
    echo "install-deps: not a Debian system; the packages of tools/install-deps.sh must be there already" >&2
    exit 0
fi

installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

missing=()
for group in "${groups[@]}"; do
    if [ -z "${packages[$group]+known}" ]; then
        echo "install-deps: unknown group '$group' (known: ${!packages[*]} all)" >&2
        exit 2
    fi
    for package in ${packages[$group]}; do
        installed "$package" || missing+=("$package")
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "install-deps: missing: ${missing[*]}"
cannot() {
    echo "install-deps: cannot install (${1}). As root: apt-get install ${missing[*]}" >&2
    exit 1
}
[ -z "${NX_NO_INSTALL:-}" ] || cannot "NX_NO_INSTALL is set"
command -v apt-get >/dev/null || cannot "there is no apt-get"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || cannot "not root, and there is no sudo"
    as_root=(sudo)
fi

export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for step in "update -q" "install -q -y --no-install-recommends ${missing[*]}"; do
    # shellcheck disable=SC2086  # the step is a list of words
    if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get $step >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        cannot "apt-get ${step%% *} failed, see above"
    fi
done
echo "install-deps: done"
