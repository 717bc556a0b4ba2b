/// @file
/// @internal The numbers of a sparse factorisation: L D L^T, or L D U on a symmetric pattern.
#pragma once

#include "numerics/order/Symbolic.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/RawVector.h"

#include <cstddef>
#include <vector>

namespace numerics
{

struct FrontKernels;

/// Quality of a factorisation's pivots.
struct PivotReport
{
    int replaced = 0;     ///< pivots that were only rounding, replaced by small ones
    int doubtful = 0;     ///< pivots that keep less than about five digits, the replaced included
    int equation = -1;    ///< of the smallest ratio
    double smallest = 1;  ///< smallest ratio of a pivot to the sum of magnitudes of its terms
    bool isFinite = true; ///< no pivot overflowed
};

/// The factor of S A S, S being the diagonal @p scale, by fronts: dense blocks of the pivots of a
/// supernode and the rows that they reach, whose contributions to later pivots pass up the tree.
///
/// Pivots are chosen within a tile of kPanel columns, singly or in pairs (symmetric), or from its
/// rows; a column whose tile has none left gets a small pivot. So elimination stays within the
/// symbolic structure, and time and memory are known beforehand. The same bits for any number of
/// threads.
class SparseFactor
{
public:
    /// Sets the structure for matrices with the pattern of @p A, without factorising.
    void SetStructure(const Symbolic& symbolic, const MatrixView& A);
    /// @param scale        0 for an equation without coefficients, whose unknown becomes 0
    /// @param isSymmetric  only the entries right of the diagonal in the order of elimination are
    ///                     read
    PivotReport Factorise(const MatrixView& A, const double* scale, bool isSymmetric);
    /// x = (S A S)^-1 x for @p count vectors, each in the order of elimination and @p stride apart.
    void Solve(double* x, int count, std::ptrdiff_t stride) const;
    bool IsSymmetric() const { return isSymmetric_; }
    /// Bytes held between solves.
    std::size_t Bytes() const;

private:
    struct Front;
    struct TileState;
    struct Waiting;
    struct Workspace;
    /// A stored value below the diagonal.
    struct ColumnEntry
    {
        int row, value;
    };
    template <class F>
    void ForPlaces(F f) const;
    void SetLowerTargets(const MatrixView& A);
    void Gather(const Front& front, const MatrixView& A, const double* scale);
    void Assemble(const Front& front, const Supernode& child, const double* contribution,
                  Workspace& work);
    void EliminatePanel(const Front& front, int side, double* panel, double* W, int height,
                        int first) const;
    void EliminateTile(Front& front, int first, Workspace& work);
    void UpdateContribution(const Front& front, int first, const double* const* W) const;
    void EliminateRows(const Front& front, Workspace& work, int threads) const;
    void EliminateFront(std::size_t s, const MatrixView& A, const double* scale, Workspace& work,
                        int threads);
    /// Supernodes that are eliminated independently, and the contribution of the last one.
    struct Subtree
    {
        std::size_t first, last;
        double work;
        RawVector<double> contribution;
    };
    std::vector<Subtree> FindSubtrees(int threads) const;
    void EliminateSubtrees(std::vector<Subtree>& subtrees, const MatrixView& A, const double* scale,
                           int threads);
    PivotReport Report() const;
    void Forward(std::size_t s, double* x, double* y, double* below) const;
    void Backward(std::size_t s, double* x, double* y, double* below) const;

    const Symbolic* symbolic_ = nullptr;
    const FrontKernels* kernels_ = nullptr;
    bool isSymmetric_ = true;
    std::vector<int> target_; ///< of each stored value, within the part of its supernode
    std::vector<ColumnEntry> columnEntries_; ///< stored values below the diagonal by column
    std::vector<int> columnStart_;
    RawVector<double> lower_, upper_;
    std::vector<double> inverse_, coupling_; ///< D^-1 by position
    std::vector<double> magnitude_, ratio_;  ///< of each pivot
    std::vector<int> pivotAt_;     ///< position eliminated at each position: within a tile
    std::vector<char> isPermuted_; ///< of each supernode: its tiles are not in their order
    std::vector<int> replaced_;    ///< pivots of each supernode
    std::vector<int> children_;    ///< of each supernode
};

} // namespace numerics
