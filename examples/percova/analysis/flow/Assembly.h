/// @file
/// Sums over the elements: nodal flows and the matrix of a Newton or Picard step.
#pragma once

#include "analysis/flow/KrField.h"
#include "analysis/flow/LinearSystem.h"
#include "analysis/model/Element.h"
#include "analysis/model/Model.h"
#include "analysis/model/Soil.h"
#include "analysis/model/Storage.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// The part of storage in the matrix of a step.
struct StorageTangent
{
    const StorageTerm* term;           ///< null for none
    const std::vector<double>* lumped; ///< by node: derivative of what the lumped part takes in
};

/// Runs the element loops, on the threads of the library's pool. Every sum is taken in the order
/// of the elements, so the results are the same to the last bit for any number of threads.
class Assembly
{
public:
    Assembly(const Model& model, const std::vector<Soil>& soils);
    const std::vector<Soil>& Soils() const { return soils_; }

    /// The greatest SharpnessOf an element; visits all of them, as does DrawnOut.
    double Sharpness() const;
    /// The largest widening of the curves by a sharpness [m].
    double DrawnOut(double sharpness) const;

    /// Flow that must enter every node from outside to keep the heads as they are [m3/s per m].
    /// Costs little where @p head is that of the call before.
    void Inflow(const std::vector<double>& head, const Easing& easing, std::vector<double>& inflow);
    /// Its derivative by the heads in @p system, which is cleared first. Takes the conductivities
    /// of Inflow if that was called for the same heads.
    /// @param damping   the diagonal of the Picard matrix is added this many times
    /// @param storage   the storage term of the matrix
    void Matrix(const std::vector<double>& head, const Easing& easing, Tangent tangent,
                double damping, const StorageTangent& storage, LinearSystem& system);

private:
    struct ElementTask;
    void Elements(const std::vector<double>& head, const ElementTask& task, std::size_t first,
                  std::size_t last);
    void Element(std::size_t e, const std::vector<double>& head, const ElementTask& task,
                 double* matrix);
    void AddStorage(std::size_t e, const std::vector<double>& head, const StorageTangent& storage,
                    double* matrix) const;
    void Sum(std::vector<double>& inflow) const;
    /// The greatest what(sharpness, soil) of the elements that can dry out, at least 0.
    template <class What>
    double Greatest(What what) const;

    const Model& model_;
    const std::vector<Soil>& soils_;
    KrField kr_;
    std::vector<double> elementInflow_;    ///< by place in Mesh::nodes, at the heads of kr_
    std::vector<std::size_t> matrixStart_; ///< by element: entries of the elements before it
    std::vector<double> saturated_;        ///< matrices of all elements at kr = 1
    std::vector<double> matrices_;         ///< of one block of elements
};

} // namespace percova
