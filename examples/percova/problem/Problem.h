/// @file
/// A seepage problem as its JSON file states it, in metres, seconds and kPa, and its reader.
#pragma once

#include "problem/Faults.h"
#include "problem/Plane.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace percova
{

/// The units of the problem file, of its mesh and of the output. Inside, everything is in metres,
/// seconds and kPa.
struct Units
{
    std::string length = "m";
    double metres = 1; ///< one unit of length
    std::string pressure = "kPa";
    double kPa = 1; ///< one unit of pressure
    std::string time = "s";
    double seconds = 1; ///< one unit of time
    bool AreInternal() const { return metres == 1 && kPa == 1 && seconds == 1; }
};

enum class WaterRule
{
    FredlundXing,
    Exponential ///< thetaR + (thetaS - thetaR) exp(alpha psi) for psi < 0
};

/// Parameters of a water-content curve, or measured points that those of the Fredlund-Xing curve
/// are to be fitted to.
struct WaterContent
{
    WaterRule rule = WaterRule::FredlundXing;
    double alpha = 0;  ///< of the exponential rule [1/m]
    double thetaR = 0; ///< of the exponential rule: residual volumetric water content
    double a = 0;      ///< [kPa]
    double n = 0;
    double m = 0;
    double thetaS = 0;           ///< saturated volumetric water content
    double limit = 1e6;          ///< suction of zero water content [kPa]
    std::vector<Point> measured; ///< (pressure [kPa], water content); then a, n, m are to be fitted
    Place place;
};

enum class KrRule
{
    Saturated,   ///< 1 everywhere
    Exponential, ///< max(exp(alpha psi), floor) for psi < 0
    Power,       ///< (theta(psi) / thetaS)^power
    Integral     ///< I(s) / I(s0), 1 for s <= s0
};

struct RelativeConductivity
{
    KrRule rule = KrRule::Saturated;
    double alpha = 0; ///< [1/m]
    double floor = 0;
    double power = 0;
    double s0 = 0; ///< [kPa]
    Place place;
};

struct Material
{
    std::string name;
    double kSat = 0;       ///< along x, or along its own direction [m/s]
    double anisotropy = 1; ///< conductivity across kSat's direction over kSat
    double angle = 0;      ///< of kSat's direction, anticlockwise from x [degrees]
    double mV = 0; ///< compressibility: change of the water content below zero suction [1/kPa]
    double gammaSat = MissingValue<double>(); ///< unit weight, saturated [kN/m3]; may be missing
    std::optional<WaterContent> water;
    RelativeConductivity kr;
    Place place;
};

struct Region
{
    std::string name; ///< a physical surface of the mesh, or the name of the polygon
    int material = -1;
    Polyline polygon; ///< empty when the mesh alone decides
    Place place;
    Place polygonPlace = {};
};

enum class BoundaryType
{
    Head,         ///< [m]
    PressureHead, ///< [m]
    Flux,         ///< [m/s] per unit area, positive into the soil
    NoFlow,
    Seepage,    ///< pressure at most zero and outflow only, one of the two with equality
    Hydrostatic ///< a head that varies as given [m]
};
const char* Name(BoundaryType type);

/// Values of a boundary at one time: one, or one for each point of the boundary's line.
struct TimedValues
{
    double time = 0; ///< [s]
    std::vector<double> values;
};

/// The condition of a boundary in one step.
struct Condition
{
    BoundaryType type = BoundaryType::NoFlow;
    std::vector<double> values; ///< none, one, or one for each point of the boundary's line
    /// Instead over time, ascending: linear between, constant outside; of two entries at one time
    /// the later holds from then on.
    std::vector<TimedValues> series;
    /// Inflow of a flux boundary is limited so that the pressure head does not exceed the first of
    /// these, outflow so that it does not fall below the second; missing for no limit [m].
    double ponding = MissingValue<double>(), leastPressureHead = MissingValue<double>();
    Place place;

    bool IsLimited() const
    {
        return !IsMissingValue(ponding) || !IsMissingValue(leastPressureHead);
    }
};

struct Boundary
{
    std::string name; ///< a physical curve of the mesh, or the name of the line
    Polyline line;    ///< empty when the mesh alone decides
    Place place;
    Place linePlace = {};
};

/// Value of @p condition at @p at: the single one, or linear along the line of @p boundary at the
/// point of the line that is nearest.
double ValueAt(const Boundary& boundary, const Condition& condition, Point at);

/// A well or a drain: water put in, or drawn out, at a point or evenly along a line.
struct Source
{
    std::string name;
    Polyline line; ///< a single point, a line, or empty for the physical curve of that name
    Place place;
};

struct Step
{
    std::string name;
    std::vector<Condition> conditions; ///< by boundary, changes of earlier steps included
    double start = 0;                  ///< from when on it applies, in a transient run [s]
    Place place;
    std::vector<Condition> sources = {}; ///< by source: a flux whose value is its whole rate [m2/s]
};

enum class StorageKind
{
    ByElement, ///< lumped on linear elements, consistent on quadratic ones
    Lumped,
    Consistent
};

/// The time settings of a transient run. Times in seconds.
struct TimeSettings
{
    std::vector<double> outputs; ///< ascending; the last one ends the run
    double firstStep = 0;        ///< 0: the default
    double largestStep = 0;
    double smallestStep = 0;
    double tolerance = 1e-3; ///< of the head in one step [m]
    StorageKind storage = StorageKind::ByElement;
    std::size_t maxSteps = 1000000;
    Place place;
};

enum class InitialType
{
    Steady,       ///< the steady solution of the boundaries at t = 0, or of those changed
    Hydrostatic,  ///< below and above a water table
    Head,         ///< a table over the height
    PressureHead, ///< a table over the height
    Result        ///< the heads of an earlier run
};

/// The state at t = 0.
struct Initial
{
    InitialType type = InitialType::Steady;
    std::vector<Point> table;          ///< (x, water table) or (y, value) [m]; one entry: constant
    std::vector<Condition> conditions; ///< by boundary, of the steady solution; empty: as at t = 0
    std::wstring file;                 ///< of an earlier run: result.json or a VTU
    double time = MissingValue<double>(); ///< of it [s]; missing: its last
    Place place;
};

struct Probe
{
    std::string name;
    Point at;
    Place place;
};

struct Section
{
    std::string name;
    Polyline line;
    Place place;
};

enum class SolverKind
{
    Automatic, ///< pardiso
    Pardiso,
    Direct,
    Iterative
};
const char* Name(SolverKind kind);
/// @returns false when @p name is not pardiso, direct or iterative
bool SolverKindOf(const std::string& name, SolverKind& kind);

struct SolverSettings
{
    SolverKind kind = SolverKind::Automatic;
    double tolerance = 0;  ///< relative residual of the non-linear equations; 0: the default
    int maxIterations = 0; ///< of the non-linear equations; 0: the default
    int threads = 0;       ///< 0: as many as the machine has
};

struct Problem
{
    std::string file; ///< as the user named it
    std::wstring path;
    std::string text; ///< of the file, as it was read
    std::string id;
    std::string title;
    double gammaW = 9.81; ///< [kN/m3]
    Units units;
    std::wstring mesh;
    Place meshPlace;
    bool joinsParts = false; ///< whether nodes of different parts of the mesh become one node
    double joinDistance = 0; ///< that lie on each other within this [m]; 0: the default

    std::vector<Region> regions;
    std::vector<Material> materials;
    std::vector<Boundary> boundaries;
    std::vector<Source> sources;
    std::vector<Step> steps; ///< at least one
    std::vector<Probe> probes;
    std::vector<Section> sections;
    std::vector<Section> uplifts; ///< lines whose pore pressures are integrated
    bool flowNet = false;         ///< whether steady results have a stream function
    bool vectors = false;         ///< whether pictures have arrows of the flux
    SolverSettings solver;
    std::optional<TimeSettings> time; ///< none: steady
    Initial initial;
};

/// The side of a jump that applies.
enum class Side
{
    Before,
    After
};
/// The step that holds at time @p t, with the boundary values of that time.
Step StepAt(const Problem& problem, double t, Side side);

/// Reads a problem file. Values out of their legal range are reported with the catalogue's message.
/// @returns false when it cannot be used; every reason is in @p faults
bool ReadProblem(const std::wstring& path, Problem& problem, Faults& faults);
/// The same of a file that was read already; @p problem has its path and its name.
bool ReadProblemText(const std::string& text, Problem& problem, Faults& faults);

} // namespace percova
