#!/usr/bin/env bash
# Builds everything with warnings as errors and runs all tests.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
install_missing_packages

cmake --preset ci
cmake --build --preset ci
ctest --preset ci -j "$(nproc)"
