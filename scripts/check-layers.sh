#!/usr/bin/env bash
# Fails when folders of the domain library include each other in a circle. With --order it prints the folders, each
# after those that it includes. Reads sources only.
set -euo pipefail
cd "$(dirname "$0")/../src/libs/libcorvane/corvane"

# A pair "what is included, who includes it" for each include; a folder beside itself, so that each is named.
pairs() {
    grep -rEo --include='*.h' --include='*.cpp' '^#include <corvane/[a-z]+/' . |
        sed -E 's,^\./([a-z]+)/.*<corvane/([a-z]+)/,\2 \1,' | sort -u
}

circles=$(pairs | tsort 2>&1 >/dev/null | sed -n 's/^tsort: \([a-z]*\)$/\1/p' || true)
if [ -n "$circles" ]; then
    echo "check-layers.sh: these folders include each other:" $circles >&2
    exit 1
fi
[ "${1:-}" != --order ] || pairs | tsort
