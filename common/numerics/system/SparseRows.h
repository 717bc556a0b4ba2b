/// @file
/// @internal Sparse matrices of the multigrid levels: transposition and products.
#pragma once

#include "numerics/system/BlockVector.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/RawVector.h"

#include <functional>

namespace numerics
{

/// Compressed rows that own their arrays. Columns ascend within a row where a function says so.
struct SparseRows
{
    int rows = 0;
    int cols = 0;
    RawVector<int> start{0};
    RawVector<int> columns;
    RawVector<double> values;

    int Stored() const { return start.back(); }
    MatrixView View() const { return {rows, start.data(), columns.data(), values.data()}; }
    void Clear(int newRows, int newCols);
    /// Ends the row whose entries were appended to columns and values.
    void EndRow() { start.push_back(int(columns.size())); }
};

/// Appends the rows from @p begin up to and without @p end of a matrix to a part that has none.
using RowMaker = std::function<void(SparseRows& part, int begin, int end)>;

/// Makes a matrix whose rows do not depend on each other, in parts on several threads where
/// @p work, in products and additions, is worth that.
SparseRows MakeRows(int rows, int cols, double work, const RowMaker& make);

/// Puts the columns of every row in ascending order. Rows are short, or nearly in order.
void SortRows(SparseRows& A);

/// B = A^T, columns ascending.
SparseRows Transposed(const SparseRows& A);

/// C = R A P, columns ascending.
SparseRows TripleProduct(const SparseRows& R, const MatrixView& A, const SparseRows& P);

/// y = y + A x
void AddProduct(const SparseRows& A, const double* x, double* y);

/// y = A x
void Product(const SparseRows& A, const double* x, double* y);

} // namespace numerics
