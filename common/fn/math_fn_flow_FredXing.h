/// @file
/// The soil-water content curve.
#pragma once

#include "Geom/FPOINT.h"
#include "Geom/Geom_Extents2D.h"
#include "fn/math_UnitSet.h"
#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

#include <cstddef>
#include <utility>

namespace math::fn::flow
{

/// Volumetric water content of an unsaturated soil over its pore-water pressure, in closed form.
///
/// With suction s = -p, limit L and residual suction r = 0.003 L,
///     theta(p) = theta_s [1 - ln(1 + s/r) / ln(1 + L/r)] / [ln(e + (s/a)^n)]^m    for p < 0.
/// Source: Fredlund and Xing (1994), Can. Geotech. J. 31(4), 521-532.
///
/// A value type; const members may be called from any thread.
class KVI_API FredXing
{
public:
    /// @param a           suction scale, in the pressure unit
    /// @param n           slope exponent [-]
    /// @param m           tail exponent [-]
    /// @param saturatedWC water content at zero and positive pressure [-]
    /// @param limit       suction at which the content reaches zero, normally CalcLimit
    FredXing(const double& a, const double& n, const double& m, const double& saturatedWC,
             const double& limit);

    double A() const { return a_; }               ///< a, in the unit of suction
    double N() const { return n_; }               ///< n, a plain number
    double M() const { return m_; }               ///< m, a plain number
    double SatWC() const { return saturatedWC_; } ///< volume of water in the whole, 0 to 1

    /// Volumetric water content [-] at pore-water pressure @p p, in the pressure unit of a.
    /// Saturated for p >= 0 and for a <= 0, exactly 0 at the limit suction, negative beyond it
    /// (not clamped), never above saturation where the limit is above zero; missing if any field
    /// is missing; NaN for a pressure that is NaN or minus infinity. Relative error below
    /// (4 + 2 m) 1e-15 away from the limit; the same bits on every machine.
    double operator()(const double& p) const;

    /// The same at @p count pressures: contents[i] has the error bound of (*this)(pressures[i])
    /// (near the limit 4e-15 theta_s F, where F is the shape term), is exactly 0 at the limit and
    /// never above saturation. The two arrays may be one and the same. Several times faster than
    /// point by point.
    void Evaluate(const double* pressures, double* contents, std::size_t count) const;

    /// The same with slopes[i], the derivative of the content by the pressure, in one over the unit
    /// of pressure: 0 for p >= 0, that of the closed form also beyond the limit; missing if any
    /// field is missing. Relative error below (8 + 4 m + n |log2(s/a)|) 1e-15 for suctions
    /// between 1e-290 a and the limit. @p slopes overlaps neither of the other arrays; null for
    /// none. Costs little more than the contents alone.
    void Evaluate(const double* pressures, double* contents, double* slopes,
                  std::size_t count) const;

    /// True when a, n, m and the limit are not missing, and a, n, m and the saturated content are
    /// above zero. The limit's sign is not checked.
    bool IsValid() const;

    /// (-limit, 0).
    std::pair<double, double> PressureLimits() const;

    /// The box x from -10^6 to 0, y from 0 to the content at -10^6, in the field order of the box:
    /// minX = -10^6, maxX = 0, minY = 0, maxY = theta(-10^6).
    Geom::Extents2D Extents() const;

    /// 1,000,000 kPa in the pressure unit of @p units; the missing value for an unknown unit.
    static double CalcLimit(const UnitSet& units);

    /// Fits a, n and m to measured points by least squares in theta / theta_s.
    ///
    /// Ends when the sum E of squared residuals falls to 1e-4. Otherwise it continues from several
    /// starts until E changes by less than a millionth, and keeps the best: usually, not always,
    /// the global minimum. Results do not depend on the pressure unit. Points that are missing or
    /// not finite are left out; starting values that are not finite or not above zero are replaced
    /// by 10 kPa, 1 and 1. Whatever the input, a, n and m end finite and above zero, and fit no
    /// worse than they did at the start.
    /// @param satWC    saturated water content [-]
    /// @param points   @p count points: x the pore-water pressure (suction is -x), y the content
    /// @param a,n,m    starting values in, fitted values out; stored in this order, so that the
    ///                 last counts where they name one variable
    /// @param rmsError root mean square of measured minus fitted water content [-], over the points
    ///                 used; the missing value when there is nothing to fit. Stored last.
    /// @returns the iterations made, or a value of FitFailure
    static int EstimateParam(const double& satWC, FPOINT* points, int count, const UnitSet& units,
                             double& a, double& n, double& m, double& rmsError);
    /// The same without the error.
    static int EstimateParam(const double& satWC, FPOINT* points, int count, const UnitSet& units,
                             double& a, double& n, double& m);

    /// Why EstimateParam ended without a fit or before its stopping rule was met; a, n and m hold
    /// the best found.
    enum FitFailure
    {
        NothingToFit = -1,  ///< no usable point, or a saturated content that is not above zero
        NoImprovement = -2, ///< no step made the fit better
        TooManySteps = -3,  ///< 1500 iterations were made
        UnknownUnit = -4    ///< the pressure unit is none of PressureUnit
    };

private:
    bool HasMissing() const
    {
        return IsMissingValue(a_) || IsMissingValue(n_) || IsMissingValue(m_) ||
               IsMissingValue(limit_) || IsMissingValue(saturatedWC_);
    }

    double a_;
    double n_;
    double m_;
    double saturatedWC_;
    double limit_;
    // Precomputed reciprocals and logarithms; r = 0.003 L.
    double overResidual_; // 1/r
    double wholeLog2_;    // log2(1 + L/r)
    double overWhole_;
    double overA_;
};

} // namespace math::fn::flow
