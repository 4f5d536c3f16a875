#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/bv/BoundsDetector.h>

#include <array>
#include <optional>
#include <vector>

namespace corvane::bv {

class FieldIntervals;

/// Shrinks a box for as long as what is cut off can be proved to hold nothing of the solid.
///
/// Slabs are shaved off the six sides in turn ("3B consistency", Lhomme 1993). A slab is empty when
/// the field is above zero all over it, which interval evaluation tells of a box at once or of its
/// halves; the first piece that is too small to be halved again leaves the slab where it is. One
/// that is gone makes the next one on that side thicker, one that stays makes it thinner, so that
/// a box of the whole search range comes down in some tens of slabs. What the box has left is no
/// more than a slab of the tolerance away from something that could not be told from the solid.
///
/// The cost is counted in instructions, never in time: the same box comes out on every machine,
/// however busy.
class BoundsProof
{
public:
    struct Config
    {
        BoundingVolume region;  ///< what is to be shrunk
        BoundingVolume known;   ///< holds points of the solid and is left alone; may be empty
        float tolerance = 0.0f; ///< thinnest slab that is worth it, scene units
        long long budget = 14'000'000; ///< instructions; about half a second
    };
    struct Result
    {
        /// The solid within the region lies in it. Empty when there is none.
        BoundingVolume box;
        bool isFinished = false; ///< no side can be shaved further; else the budget was used up
        /// Sides that the solid is near to, as far as points tell: what stopped the slab there is
        /// no farther from the solid than it is wide. Of any other side the field may just be too
        /// hard to tell.
        std::array<bool, faceCount> isTight{};
    };

    BoundsProof(FieldIntervals &field, const Config &config)
        : m_field(field)
        , m_config(config)
        , m_box(config.region)
    {}

    Result run();

    /// The thinnest slab, as a share of the longest side of the box.
    static constexpr float shareOfExtent = 1.0f / 100.0f;

private:
    struct Halves
    {
        std::array<BoundingVolume, 2> boxes;
        std::array<float, 2> lowest{}; ///< of the field in them
    };
    enum class Shave { Gone, Stays, NothingLeft };

    bool shaveRound();
    Shave shave(int face);
    float thinnest() const;
    float room(int face) const;
    BoundingVolume slab(int face, float thickness) const;
    bool isEmpty(const BoundingVolume &slab, long long limit);
    bool isNearSolid(const BoundingVolume &piece);
    std::vector<int> axesToHalve(const BoundingVolume &piece) const;
    std::optional<Halves> bestHalves(const BoundingVolume &piece);

    FieldIntervals &m_field;
    Config m_config;
    BoundingVolume m_box;
    std::array<float, faceCount> m_thickness{};
    std::array<bool, faceCount> m_isTight{};
    bool m_stoppedAtSolid = false; ///< the last slab that was not empty
    bool m_isGone = false;         ///< all of the region is proved empty
};

} // namespace corvane::bv
