#pragma once

#include <QList>

#include <bit>

namespace mesh {

/// A hash table of 32-bit indices whose keys stay where they are: the caller's functions compare
/// and hash what an index stands for. At four bytes a place, at most two thirds full, it costs 6 to
/// 12 bytes an entry.
///
/// Open addressing with linear probes. Hashes must be well mixed in their low bits: see mixed().
class FlatIndex
{
public:
    static constexpr quint32 none = 0xFFFFFFFF;

    explicit FlatIndex(qsizetype expected = 0)
        : m_places(qsizetype(std::bit_ceil(quint64(expected) * 3 / 2 + 16)), none)
        , m_mask(quint64(m_places.size()) - 1)
    {}

    /// The entry of this hash for which equals(index) holds, or `none`.
    template<typename Equals>
    quint32 find(quint64 hash, const Equals &equals) const
    {
        const quint32 *const places = m_places.constData();
        for (quint64 at = hash & m_mask;; at = (at + 1) & m_mask)
            if (places[at] == none || equals(places[at]))
                return places[at];
    }

    /// Enters an index that is not there yet. `hashOf(index)` answers the hash of any entry.
    template<typename HashOf>
    void insert(quint32 index, const HashOf &hashOf)
    {
        if (++m_size * 3 > m_places.size() * 2)
            rehash(hashOf);
        place(index, hashOf(index));
    }

    /// Spreads a key over all bits (the finaliser of Stafford's variant 13 of MurmurHash3).
    static constexpr quint64 mixed(quint64 key)
    {
        key = (key ^ (key >> 30)) * 0xBF58476D1CE4E5B9ull;
        key = (key ^ (key >> 27)) * 0x94D049BB133111EBull;
        return key ^ (key >> 31);
    }

private:
    void place(quint32 index, quint64 hash)
    {
        quint32 *const places = m_places.data();
        quint64 at = hash & m_mask;
        while (places[at] != none)
            at = (at + 1) & m_mask;
        places[at] = index;
    }

    template<typename HashOf>
    void rehash(const HashOf &hashOf)
    {
        const QList<quint32> old =
            std::exchange(m_places, QList<quint32>(m_places.size() * 2, none));
        m_mask = quint64(m_places.size()) - 1;
        for (const quint32 index : old)
            if (index != none)
                place(index, hashOf(index));
    }

    QList<quint32> m_places;
    quint64 m_mask = 0;
    qsizetype m_size = 0;
};

} // namespace mesh
