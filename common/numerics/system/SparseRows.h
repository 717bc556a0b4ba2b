/// @file
/// @internal Sparse matrices of the multigrid levels: transposition and products.
#pragma once

#include "numerics/solve/BlockVector.h"
#include "numerics/system/MatrixView.h"

#include <vector>

namespace numerics
{

/// Compressed rows that own their arrays. Columns ascend within a row where a function says so.
struct SparseRows
{
    int rows = 0;
    int cols = 0;
    std::vector<int> start{0};
    std::vector<int> columns;
    Vec values;

    int Stored() const { return start.back(); }
    MatrixView View() const { return {rows, start.data(), columns.data(), values.data()}; }
    void Clear(int newRows, int newCols);
    /// Ends the row whose entries were appended to columns and values.
    void EndRow() { start.push_back(int(columns.size())); }
};

/// B = A^T, columns ascending.
SparseRows Transposed(const SparseRows& A);

/// C = A B, columns in the order of their first appearance.
SparseRows Times(const MatrixView& A, const SparseRows& B);

/// Puts the columns of every row in ascending order.
void SortRows(SparseRows& A);

/// y = y + A x
void AddProduct(const SparseRows& A, const double* x, double* y);

/// y = A x
void Product(const SparseRows& A, const double* x, double* y);

} // namespace numerics
