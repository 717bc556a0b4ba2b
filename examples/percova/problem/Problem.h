/// @file
/// A seepage problem as its JSON file states it, in metres, seconds and kPa, and its reader.
#pragma once

#include "problem/Faults.h"
#include "problem/Plane.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace percova
{

/// The units of the problem file, of its mesh and of what is written. Inside, everything is in
/// metres, seconds and kPa.
struct Units
{
    std::string length = "m";
    double metres = 1; ///< one unit of length
    std::string pressure = "kPa";
    double kPa = 1; ///< one unit of pressure
    bool AreInternal() const { return metres == 1 && kPa == 1; }
};

/// Parameters of the Fredlund-Xing curve, or measured points that they are to be fitted to.
struct WaterContent
{
    double a = 0; ///< [kPa]
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
    double kSat = 0;       ///< along x [m/s]
    double anisotropy = 1; ///< ky / kx
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

/// What holds on a boundary in one step.
struct Condition
{
    BoundaryType type = BoundaryType::NoFlow;
    std::vector<double> values; ///< none, one, or one for each point of the boundary's line
    Place place;
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

struct Step
{
    std::string name;
    std::vector<Condition> conditions; ///< by boundary, changes of earlier steps included
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
    int threads = 0;       ///< 0: as many as the machine has; -1: nobody has said
};

struct Problem
{
    std::string file; ///< as the user named it
    std::filesystem::path path;
    std::string id;
    std::string title;
    double gammaW = 9.81; ///< [kN/m3]
    Units units;
    std::filesystem::path mesh;
    Place meshPlace;

    std::vector<Region> regions;
    std::vector<Material> materials;
    std::vector<Boundary> boundaries;
    std::vector<Step> steps; ///< at least one
    std::vector<Probe> probes;
    std::vector<Section> sections;
    SolverSettings solver;
};

/// Reads a problem file. Values out of their legal range are told in the catalogue's words.
/// @returns false when it cannot be used; every reason is in @p faults
bool ReadProblem(const std::filesystem::path& path, Problem& problem, Faults& faults);

} // namespace percova
