#!/usr/bin/env bash
# Fails when a source is not formatted as .clang-format says; "--fix" formats it.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(--dry-run --Werror)
[ "${1:-}" = "--fix" ] && mode=(-i)
git ls-files '*.cpp' '*.h' | xargs -r -P "$(nproc)" -n 32 clang-format "${mode[@]}"
