#!/usr/bin/env bash
# Builds Corvane, meshes a shipped sample, and says where the mesh is and how big.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh
install_missing_packages

# The settings of the tests, so that running those later builds nothing twice.
cmake --preset ci >build-release.log 2>&1 || { cat build-release.log >&2; exit 1; }
rm -f build-release.log
cmake --build --preset ci --target corvane

sample=resources/samples/bracket.corvane
mesh=build/bracket.stl
echo "Meshing $sample ..."
summary=$(build/release/bin/corvane export "$sample" -o "$mesh" 2>&1 | tail -n 1)
case "$summary" in
    '{"success":true'*) ;;
    *) echo "The export failed: $summary" >&2; exit 1 ;;
esac
triangles=$(sed -n 's/.*"triangles":\([0-9]*\).*/\1/p' <<<"$summary")
echo "The mesh is $PWD/$mesh: $triangles triangles, $(stat -c %s "$mesh") bytes."
echo "More: build/release/bin/corvane --help, and the scenes in resources/samples/."
