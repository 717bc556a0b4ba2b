/// @file
/// @internal The positions of element matrix entries in the compressed rows.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/system/RawVector.h"
#include "numerics/tagRecords.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace numerics
{
using math::SolveMethod;
using math::SolveOutcome;
using math::SolveRecord;

/// The stored positions of a system, and those of every element's entries.
struct Pattern
{
    int n = 0;                 ///< equations
    std::vector<int> rowStart; ///< n + 1 positions
    RawVector<int> columns;    ///< ascending within a row
    tagMultiVectorInt elements;

    /// For element e and its entry (i, j), row-major from offsetStart[e] on: the offset of the
    /// entry from the start of its row; 1, 2 or 4 bytes each, as the longest row needs.
    std::vector<std::size_t> offsetStart;
    RawVector<std::uint8_t> offsets;
    int offsetBytes = 1;

    std::vector<int> firstElement; ///< of each equation: the first element that touches it, or 0
    double span = 0;               ///< elements from the first to the last of an equation, mean
    bool isScattered = false;      ///< consecutive elements touch rows that are far apart

    int ElementSize(std::size_t element) const
    {
        return int(elements.ends[element] - ElementStart(element));
    }
    std::size_t ElementStart(std::size_t element) const
    {
        return element == 0 ? 0 : elements.ends[element - 1];
    }
    /// Stored position of (row, column), -1 when there is none.
    int Find(int row, int column) const;
};

/// Builds @p pattern for at least @p count equations, in time proportional to the entries of all
/// element matrices, on @p threads (0: all). On failure the record has the reason, and the pattern
/// is empty.
SolveRecord BuildPattern(const tagMultiVectorInt& elements, int count, Pattern& pattern,
                         int threads = 0);

/// Empties @p pattern. @returns the record with the reason
SolveRecord EmptyPattern(Pattern& pattern, SolveOutcome outcome, const std::wstring& reason,
                         int equation = -1);

/// values (at the pattern's positions) += the element's matrix @p m, row-major
void AddElement(const Pattern& pattern, std::size_t element, const double* m, double* values);

/// The same for the matrices of @p count elements from @p first on, stored consecutively. Every
/// position receives its additions in the order of the elements, on any number of @p threads (0:
/// all).
void AddElements(const Pattern& pattern, std::size_t first, std::size_t count, const double* m,
                 double* values, int threads);

} // namespace numerics
