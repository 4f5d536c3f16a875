#pragma once

#include <mesh/process/CoplanarRegions.h>

namespace mesh::process {

/// A run of border edges between two vertices where more than two regions meet, with the same two
/// regions on its sides all along. A closed run is two chains.
struct BorderChain
{
    std::vector<int> vertices; ///< two at least; first and last stay in any case
    int regions[2] = {-1, -1}; ///< -1 on an open side
    bool isFixed = false;      ///< keeps all its vertices
};

/// Cuts the borders between regions into chains. Vertices where that would not be safe (several
/// sheets, edges of three faces) end chains.
template<typename T>
std::vector<BorderChain> borderChains(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                                      const CoplanarRegions<T> &regions);

/// The vertices of a chain that a polyline within `tolerance` of all of them needs, first and last
/// among them, as places in the chain. Goes as far as it can at each step; n log n.
template<typename T>
std::vector<size_t> straightened(const Mesh<T> &mesh, const std::vector<int> &chain,
                                 double tolerance);

} // namespace mesh::process
