#include "SignPyramid.h"

#include <bit>

namespace corvane::mesh {

namespace {

using Word = BitCube::Word;

bool isCancelled(const std::atomic_bool *cancel)
{
    return cancel && cancel->load(std::memory_order_relaxed);
}

// A cell is mixed when some, but not all, of its eight nodes are inside; 64 cells at a time.
void fillCellRow(const BitCube &inside, int j, int k, std::span<Word> out)
{
    const std::array rows{inside.row(j, k), inside.row(j + 1, k), inside.row(j, k + 1),
                          inside.row(j + 1, k + 1)};
    const auto any = [&](std::size_t w) {
        return rows[0][w] | rows[1][w] | rows[2][w] | rows[3][w];
    };
    const auto all = [&](std::size_t w) {
        return rows[0][w] & rows[1][w] & rows[2][w] & rows[3][w];
    };
    const auto withNext = [](Word here, Word next) { return here >> 1 | next << 63; };
    const std::size_t words = rows[0].size();
    for (std::size_t w = 0; w < out.size(); ++w) {
        const Word nextAny = w + 1 < words ? any(w + 1) : 0;
        const Word nextAll = w + 1 < words ? all(w + 1) : 0;
        out[w] = (any(w) | withNext(any(w), nextAny)) & ~(all(w) & withNext(all(w), nextAll));
    }
    // The last node begins no cell.
    const int cells = inside.side() - 1;
    if (cells % 64 != 0)
        out.back() &= (Word(1) << cells % 64) - 1;
}

BitCube cellLevel(const BitCube &inside, const std::atomic_bool *cancel)
{
    const int cells = inside.side() - 1;
    BitCube level(cells);
    for (int k = 0; k < cells && !isCancelled(cancel); ++k) {
        for (int j = 0; j < cells; ++j)
            fillCellRow(inside, j, k, level.row(j, k));
    }
    return level;
}

// Two neighbouring cubes share nodes, so a cube changes sign exactly when one of its eighths does.
BitCube nextLevel(const BitCube &below)
{
    BitCube level(below.side() / 2);
    for (int k = 0; k < below.side(); ++k) {
        for (int j = 0; j < below.side(); ++j) {
            const std::span<const Word> row = below.row(j, k);
            for (std::size_t w = 0; w < row.size(); ++w) {
                for (Word rest = row[w]; rest != 0; rest &= rest - 1)
                    level.set(int(w * 64 + std::size_t(std::countr_zero(rest))) / 2, j / 2, k / 2);
            }
        }
    }
    return level;
}

} // namespace

std::vector<BitCube> buildSignPyramid(const BitCube &inside, const std::atomic_bool *cancel)
{
    std::vector<BitCube> levels;
    levels.push_back(cellLevel(inside, cancel));
    while (levels.back().side() > 1 && !isCancelled(cancel))
        levels.push_back(nextLevel(levels.back()));
    if (isCancelled(cancel))
        levels.clear();
    return levels;
}

long long countSet(const BitCube &cube)
{
    long long count = 0;
    for (const Word word : cube.words())
        count += std::popcount(word);
    return count;
}

} // namespace corvane::mesh
