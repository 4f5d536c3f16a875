#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace corvane::mesh {

/// A cube of flags, one bit each: 32 times smaller than the samples that they are made of.
class BitCube
{
public:
    using Word = std::uint64_t;

    BitCube() = default;
    explicit BitCube(int side)
        : m_side(side)
        , m_wordsPerRow((std::size_t(side) + 63) / 64)
        , m_words(m_wordsPerRow * std::size_t(side) * std::size_t(side))
    {}

    /// What a cube of this side takes, as a number that may be beyond what an integer holds.
    static double bytesFor(double side) { return (side / 64.0 + 1.0) * side * side * sizeof(Word); }

    int side() const { return m_side; }
    bool at(int i, int j, int k) const
    {
        return row(j, k)[std::size_t(i) / 64] >> (std::size_t(i) % 64) & 1;
    }
    void set(int i, int j, int k)
    {
        row(j, k)[std::size_t(i) / 64] |= Word(1) << (std::size_t(i) % 64);
    }

    /// The flags along X, from the lowest bit of the first word on. Bits past the end are 0.
    std::span<Word> row(int j, int k) { return {m_words.data() + rowStart(j, k), m_wordsPerRow}; }
    std::span<const Word> row(int j, int k) const
    {
        return {m_words.data() + rowStart(j, k), m_wordsPerRow};
    }
    std::span<const Word> words() const { return m_words; }

private:
    std::size_t rowStart(int j, int k) const
    {
        return (std::size_t(j) + std::size_t(k) * std::size_t(m_side)) * m_wordsPerRow;
    }

    int m_side = 0;
    std::size_t m_wordsPerRow = 0;
    std::vector<Word> m_words;
};

} // namespace corvane::mesh
