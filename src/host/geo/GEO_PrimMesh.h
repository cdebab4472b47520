#pragma once

#include "host/geo/GEO_VertexPrimitive.h"

/// A grid of vertices, row-major, with bilinear cells; u runs over the columns, v over the rows, and a wrapped
/// direction closes with one more cell. A cell's normal is cross(dP/du, dP/dv).
class GEO_PrimMesh : public GEO_VertexPrimitive {
public:
    explicit GEO_PrimMesh(GEO_Detail* detail)
        : GEO_VertexPrimitive(detail, GEOPRIMMESH) {}

    int getNumRows() const { return myRows; }
    int getNumCols() const { return myCols; }
    bool isWrappedU() const { return myWrapU; }
    bool isWrappedV() const { return myWrapV; }
    int cellCols() const { return myWrapU ? myCols : myCols - 1; }
    int cellRows() const { return myWrapV ? myRows : myRows - 1; }
    int vertexIndex(int row, int col) const { return (row % myRows) * myCols + col % myCols; }

    bool isClosed() const override { return myWrapU && myWrapV; }
    bool weights(float u, float v, GEO_Weights& out) const override;
    int evaluateNormal(float u, float v, UT_Vector3& out) const override;
    /// Nearest location over all cells; costs a pass over the mesh.
    bool parametric(const UT_Vector3& p, float& u, float& v) const override;
    /// Nearest location within one cell (row below cellRows, col below cellCols).
    bool parametricInCell(int row, int col, const UT_Vector3& p, float& u, float& v) const;
    UT_Vector3 computeNormal() const override;
    void reverse() override; ///< reverses every row
    float calcArea() const;  ///< sum over the cells, each split into two triangles

    /// A mesh of rows x cols vertices over consecutive points from `points[0]`, or over new points when null.
    static GEO_PrimMesh* build(GEO_Detail* detail, int rows, int cols, bool wrapU, bool wrapV,
                               const uint32_t* pointSlots = nullptr);

private:
    friend class GB_Detail;
    struct Cell {
        int row, col;
        float s, t; ///< place inside the cell
    };
    std::unique_ptr<GEO_Primitive> cloneInto(GEO_Detail& dest, const uint32_t* pointMap) const override;
    std::unique_ptr<GEO_Primitive> cloneSameSlots(GEO_Detail& dest) const override;
    std::string validate() const override;
    bool locate(float u, float v, Cell& cell) const;
    void corners(int row, int col, UT_Vector3 (&p)[4]) const;
    float nearestInCell(const UT_Vector3& p, Cell& cell) const;

    int myRows = 0;
    int myCols = 0;
    bool myWrapU = false;
    bool myWrapV = false;
};
