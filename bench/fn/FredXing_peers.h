// The water-content curve as a user would write it without the library.
#pragma once

#include <cstddef>

struct CurveFields
{
    double a, n, m, saturated, limit;
};

/// The formula as written, over the C library.
double PlainCurve(const CurveFields& c, double suction);

/// A loop over the formula compiled with fast mathematics, the machine's own instructions and the C
/// library's vector functions; and the same as Eigen arrays.
void VectorLibmCurve(const CurveFields& c, const double* suctions, double* contents,
                     std::size_t count);
void EigenCurve(const CurveFields& c, const double* suctions, double* contents, std::size_t count);
