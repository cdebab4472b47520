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

    /// A mesh of rows x cols vertices over the points of these slots (rows * cols of them), or over new points at the
    /// origin when null. Null for a size below 1 x 1.
    static GEO_PrimMesh* build(GEO_Detail* detail, int rows, int cols, bool wrapU, bool wrapV,
                               const uint32_t* pointSlots = nullptr);

private:
    struct Cell {
        int row, col;
        float s, t; ///< place inside the cell
    };
    std::unique_ptr<GEO_Primitive> clone() const override {
        return std::unique_ptr<GEO_Primitive>(new GEO_PrimMesh(*this));
    }
    std::string validate() const override;
    bool locate(float u, float v, Cell& cell) const;
    void corners(int row, int col, UT_Vector3D (&p)[4]) const;
    double nearestInCell(const UT_Vector3& p, int row, int col, double& s, double& t) const;

    int myRows = 0;
    int myCols = 0;
    bool myWrapU = false;
    bool myWrapV = false;
};
