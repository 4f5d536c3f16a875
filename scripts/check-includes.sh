#!/usr/bin/env bash
# Fails when a source of the program does not compile without the precompiled header, that is, when it forgets an
# include. Give files to look at them alone; all of them take some ten minutes of one core. Nothing is written.
#
# The commands are those of a configured build (BUILD, build/release unless said otherwise). The preset "no-pch" builds
# the same for real, tests too.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build/release}

# The compile commands without the header, and without what they would write.
commands() {
    ninja -C "$build" -t commands corvane | grep -- " -c $PWD/src/" |
        sed -E 's/^.* (\/[^ ]*(c\+\+|clang\+\+|g\+\+)[^ ]*) -D/\1 -D/; s/ -Winvalid-pch -include [^ ]*cmake_pch\.hxx//;
                s/ -fpch-preprocess//; s/ -MD -MT [^ ]* -MF [^ ]*//; s/ -o [^ ]*\.o -c / -fsyntax-only /'
}

selected() {
    if [ $# -eq 0 ]; then cat; else grep -F -e "$(printf ' %s\n' "${@/#/$PWD/}")"; fi
}

commands | selected "$@" | (cd "$build" && tr '\n' '\0' | xargs -0 -r -P "$(nproc)" -I{} sh -c '{}')
