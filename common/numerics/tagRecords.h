/// @file
/// The records for vectors, matrices and lists of indices in the library's interface.
#pragma once

#include <cstddef>
#include <vector>

/// A list of zero-based equation indices.
struct tagVectorInt
{
    std::vector<int> values; ///< one number an equation
};

/// A vector of numbers.
struct tagVectorDbl
{
    std::vector<double> values; ///< one value an equation
};

/// A dense matrix, row-major: entry (i, j) is values[i * columns + j]. Readers check the size of @c
/// values.
struct tagMatrixDbl
{
    int rows = 0;               ///< number of rows
    int columns = 0;            ///< number of columns
    std::vector<double> values; ///< rows * columns entries

    /// @{
    /// Entry (i, j), from 0; not checked.
    double& operator()(int i, int j) { return values[Index(i, j)]; }
    /// The same of a constant matrix.
    double operator()(int i, int j) const { return values[Index(i, j)]; }
    /// @}

private:
    std::size_t Index(int i, int j) const
    {
        return std::size_t(i) * std::size_t(columns) + std::size_t(j);
    }
};

/// Many lists of integers, stored consecutively: list k is values[ends[k - 1]] up to but excluding
/// values[ends[k]]; the first list starts at values[0]. Lists may be empty.
/// @code
/// tagMultiVectorInt elements;
/// elements.Add({0, 1, 4, 3});
/// elements.Add({1, 2, 5, 4});
/// @endcode
struct tagMultiVectorInt
{
    std::vector<int> values;       ///< the numbers of all lists, list after list
    std::vector<std::size_t> ends; ///< one position a list: where it ends in values

    std::size_t Count() const { return ends.size(); } ///< number of lists
    /// Appends @p list.
    void Add(const std::vector<int>& list)
    {
        values.insert(values.end(), list.begin(), list.end());
        ends.push_back(values.size());
    }
};
