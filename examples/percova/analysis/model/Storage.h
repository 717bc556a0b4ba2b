/// @file
/// The water stored at the nodes.
#pragma once

#include "analysis/model/Model.h"
#include "analysis/model/Soil.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// Distributes the water of the elements over their nodes.
///
/// Lumped, a node holds the water of its share of the area at its own pressure head. Consistent, it
/// holds the integral of its shape function times the water in the element; the matrix then couples
/// the nodes.
///
/// Lumping keeps sharp fronts free of oscillations. On linear elements it costs almost nothing, and
/// it is the default there. On quadratic ones, whose area is divided by the diagonal of the mass
/// matrix (Hinton, Rock and Zienkiewicz 1976), it costs an order: errors of 3 to 40 times those of
/// the consistent form were measured, so the consistent form is the default there, and heads may
/// oscillate beside a jump.
class Storage
{
public:
    Storage(const Model& model, const std::vector<Soil>& soils);

    /// The water of every node [m3/m], and the derivative of its lumped part by the node's own head
    /// [m2/m].
    void Evaluate(const std::vector<double>& head, std::vector<double>& water,
                  std::vector<double>& capacity) const;
    /// The water of the nodes of one element in that element, in its own order [m3/m].
    void ElementWater(std::size_t element, const std::vector<double>& head, double* water) const;
    bool IsConsistent(std::size_t element) const { return isConsistent_[element] != 0; }
    /// Adds @p factor times the derivative of a consistent element's water by its heads to @p
    /// matrix.
    void AddCapacity(std::size_t element, const std::vector<double>& head, double factor,
                     double* matrix) const;
    /// dW/dpsi at every node, the mean over the elements around it by their areas [1/m].
    std::vector<double> Coefficients(const std::vector<double>& head) const;

private:
    struct Share
    {
        int soil;
        double area; ///< [m2]
    };
    void GatherShares();
    void EvaluateLumped(const std::vector<double>& head, std::size_t first, std::size_t last,
                        double* water, double* capacity) const;
    void ConsistentWater(const std::vector<double>& head) const;

    const Model& model_;
    const Mesh& mesh_;
    const std::vector<Soil>& soils_;
    std::vector<char> isConsistent_; ///< by element
    bool anyConsistent_ = false;
    std::vector<std::size_t> start_; ///< by node: where its shares begin
    std::vector<Share> shares_;      ///< of the lumped elements, one for each soil around the node
    mutable std::vector<double> elementWater_; ///< by place in Mesh::nodes
};

/// The storage term of the flow equations in one stage of a time step: the rate of storage of a
/// node is (water(head) - before) * rate.
struct StorageTerm
{
    const Storage* storage;
    const std::vector<double>* before; ///< by node [m3/m]
    double rate;                       ///< [1/s]
};

} // namespace percova
