#pragma once

#include "host/geo/GU_Detail.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// What two details have to share that deform into one another: how many points there are, and the primitives in
/// order, each with its kind, whether it is closed, how a mesh is laid out, and the numbers of its points.
class GU_SweepTopology {
public:
    explicit GU_SweepTopology(const GU_Detail& detail);
    /// Compares them element by element, but for details whose serial tells: copies of the one that this was made of,
    /// or of the one that matched last.
    bool matches(const GU_Detail& detail);

    struct Face {
        uint32_t number; ///< of the primitive
        unsigned typeId;
        bool isClosed;
        uint32_t rows, cols; ///< of a mesh, else 0
        bool wrapU, wrapV;
        std::span<const uint32_t> points; ///< numbers, by vertex
    };
    /// Calls fn(Face) for every primitive in order.
    template <class Fn> void forEach(Fn&& fn) const {
        const uint32_t* at = myWords.data();
        for (uint32_t n = 0; n < myPrims; ++n) {
            const uint32_t bits = *at++;
            const bool grid = (bits & TYPE) == GEOPRIMMESH;
            const uint32_t rows = grid ? *at++ : 0, cols = grid ? *at++ : 0, count = *at++;
            fn(Face{n, bits & TYPE, (bits & CLOSED) != 0, rows, cols, (bits & WRAP_U) != 0, (bits & WRAP_V) != 0,
                    std::span(at, count)});
            at += count;
        }
    }
    size_t points() const { return myPoints; }

private:
    struct Reader;
    static constexpr uint32_t TYPE = 0xffffffu, CLOSED = 1u << 24, WRAP_U = 1u << 25, WRAP_V = 1u << 26;

    size_t myPoints, myPrims;
    GU_Detail::TopologySerial mySource, myLastMatch;
    std::vector<uint32_t> myWords; ///< by primitive: kind and flags, rows and columns of a mesh, vertices, points
};
