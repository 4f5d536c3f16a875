#pragma once

#include <cstddef>

namespace mesh {

/// Asks for large pages behind memory that is about to be filled for the first time. Without them a
/// million triangles cost twenty thousand page faults, which take longer than filling them. Only a
/// hint: it changes nothing that a program sees, and small blocks are left alone.
void adviseHugePages(void *start, std::size_t bytes);

} // namespace mesh
