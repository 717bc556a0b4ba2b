/// @file
/// The relative conductivities in all elements of a model.
#pragma once

#include "analysis/model/Element.h"
#include "analysis/model/Model.h"
#include "analysis/model/Soil.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// Relative conductivities at the heads they were computed for last, kept so that the residual and
/// the tangent at one field of heads share them. Memory: 32 bytes for a three-node triangle, 16 for
/// each point of the rule of another element; none where the soil is saturated.
///
/// The curves are evaluated for many points at once, in blocks of elements that do not depend on
/// the number of threads, and not at all in linear elements that are wet at all nodes.
class KrField
{
public:
    KrField(const Model& model, const std::vector<Soil>& soils);

    /// Computes the conductivities at @p head, if they are not there yet.
    /// @returns whether they were not
    bool Update(const std::vector<double>& head, const Easing& easing);

    /// Of a three-node triangle.
    TriangleConductivity OfTriangle(std::size_t element) const;
    /// Of another element.
    PointConductivity Of(std::size_t element) const;

private:
    struct Batch;
    void EvaluateBlock(std::size_t first, std::size_t last);
    bool IsWet(std::size_t element) const;
    void AddPoints(std::size_t element, Batch& batch) const;
    void Flush(Batch& batch);

    const Model& model_;
    const std::vector<Soil>& soils_;
    std::vector<std::size_t> start_; ///< by element: where its values begin
    std::vector<double> values_;     ///< mean and derivatives of a triangle; else kr, then slopes
    std::vector<char> isWet_;        ///< by element: whether kr is 1 everywhere
    std::vector<double> head_;       ///< that the values belong to
    Easing easing_;                  ///< likewise
};

} // namespace percova
