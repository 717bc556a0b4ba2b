/// @file
/// One element: its shape functions, its conductivity matrix and the flow at its nodes.
#pragma once

#include "analysis/model/Soil.h"
#include "mesh/MeshGeometry.h"

#include <array>
#include <cmath>
#include <limits>

namespace percova
{

/// Integration points of one element type with the shape functions there.
struct ElementRule
{
    static constexpr int kMaxPoints = 16;
    int points = 0;
    std::array<double, kMaxPoints> weight{};
    std::array<std::array<double, 2>, kMaxPoints> local{};
    double N[kMaxPoints][8] = {};
    double dN[kMaxPoints][2][8] = {};
};

/// The rule that integrates a constant conductivity well, or the finer one that a conductivity
/// varying with the pressure needs.
const ElementRule& RuleOf(ElementType type, bool varying);

/// An element with its geometry and heads at the eight places.
struct ElementState
{
    ElementType type = ElementType::T3;
    double x0 = 0, y0 = 0; ///< first node; coordinates are taken from it to keep their digits
    double at[8][2] = {};  ///< place coordinates from (x0, y0); zero at free places
    double head0 = 0;      ///< head of the first node, taken from the others for the same reason
    double head[8] = {};
    double psi[8] = {}; ///< pressure heads

    void Load(const Mesh& mesh, std::size_t e, const double* heads);
};

/// The state at one point of an element.
struct PointState
{
    double B[2][8] = {}; ///< derivatives of the shape functions by x and y
    double area = 0;     ///< determinant of the Jacobian; not positive where the element is folded
    double psi = 0;
    double gradient[2] = {};
};

/// State at shape functions @p N, @p dN of a point.
void At(const ElementState& element, const double N[8], const double dN[2][8], PointState& point);
/// State at local coordinates (r, s).
void At(const ElementState& element, double r, double s, PointState& point);

/// Which derivative of the nodal flows an element matrix is.
enum class Tangent
{
    None,   ///< no matrix
    Picard, ///< conductivities held constant: symmetric, positive
    Newton  ///< the true derivative by the heads
};

/// Flows and matrix of one element; both hold the element's own NodeCount places in its own order.
struct ElementResult
{
    double inflow[8];  ///< flow into the element's nodes from outside, integral of gradN . K gradH
    double matrix[64]; ///< its derivative by the heads, n x n row-major
};

/// A regularised problem: conductivities that fall less steeply and less far.
struct Easing
{
    double leastKr = 0; ///< a relative conductivity below this is taken as this; 1 is saturated
    /// Within an element kr falls by at most a factor of e^sharpness: where it would fall more, its
    /// curve is stretched on both sides of its knee, so that the total flow through the element is
    /// preserved.
    double sharpness = std::numeric_limits<double>::infinity();
    bool operator==(const Easing&) const = default;
    bool IsNone() const { return leastKr == 0 && std::isinf(sharpness); }
};

/// By how many factors of e the kr of @p soil falls across the element: the sharpness from which on
/// nothing is stretched.
double SharpnessOf(const ElementState& element, const Soil& soil);

/// The gradient of the head in a linear triangle.
Point GradientInTriangle(const ElementState& element);

/// The n x n matrix of an element whose relative conductivity is 1 everywhere.
void SaturatedMatrix(const ElementState& element, const Soil& soil, double* matrix);

/// Relative conductivities at the points of an element's rule for varying conductivity.
struct PointConductivity
{
    const double* kr = nullptr;    ///< null: 1 everywhere
    const double* slope = nullptr; ///< derivatives of kr by the pressure head [1/m]
};

/// @param saturated  the element's SaturatedMatrix, which elements of one conductivity need only a
///                   multiple of
/// @param damping  the diagonal of the Picard matrix is added this many times
void Compute(const ElementState& element, const Soil& soil, const double* saturated,
             const PointConductivity& at, Tangent tangent, double damping, ElementResult& result);
/// Only the flows, without a matrix at hand.
void ComputeInflow(const ElementState& element, const Soil& soil, double* inflow);

/// What the flows in a linear triangle, whose gradient is one and the same everywhere, need to know
/// of its conductivities.
struct TriangleConductivity
{
    double mean = 1;    ///< of kr, by the rule's weights
    double byHead[3]{}; ///< derivatives of the mean by the heads of the nodes [1/m]
};

TriangleConductivity MeanOf(const PointConductivity& at);

/// The flows in closed form, and the matrix: the sums of Compute, up to rounding.
/// @param head  of the nodes, less any constant
void ComputeTriangle(const double* saturated, const TriangleConductivity& kr, const double* head,
                     Tangent tangent, double damping, double* inflow, double* matrix);

} // namespace percova
