#pragma once

#include <corvane/mesh/BitCube.h>

#include <atomic>
#include <vector>

namespace corvane::mesh {

/// By level, which cubes of 2^level cells change sign: from the cells up to the one cube of all. So
/// the empty part of a grid is never visited.
/// @param inside  by node; its side is a power of two plus one
/// @param cancel  read once a slice; when it turns true the result is empty
std::vector<BitCube> buildSignPyramid(const BitCube &inside, const std::atomic_bool *cancel);

/// How many flags of a cube are set.
long long countSet(const BitCube &cube);

} // namespace corvane::mesh
