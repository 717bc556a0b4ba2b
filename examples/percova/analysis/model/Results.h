/// @file
/// The results of an analysis. A value that does not exist is the missing value.
#pragma once

#include "KVI.h"
#include "problem/Problem.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

constexpr double kMissing = MissingValue<double>();

/// An empty table of results at the nodes: node n of the mesh in row n + 1. Where materials meet,
/// water content, conductivity, velocity and gradient are the mean over the elements around the
/// node; water content is missing where the material has no curve.
DataTable NodalTable(std::size_t nodes);

struct BoundaryFlow
{
    std::string name;
    double flow = kMissing;       ///< [m3/s per m], positive into the domain
    double integrated = kMissing; ///< the same by integrating the flux over the boundary
    double cumulative = kMissing; ///< since t = 0, in a transient run [m3/m]
    /// Of a flux boundary with limits: the length on which it is held at the ponding head, and at
    /// the least pressure head [m].
    double ponded = kMissing, dried = kMissing;
};

struct SeepageFace
{
    std::string name;
    double flow = kMissing;
    Point exit{kMissing, kMissing}; ///< see EvaluateFlows
};

struct ProbeValue
{
    std::string name;
    Point at;
    double head = kMissing, pressureHead = kMissing, pressure = kMissing;
    double waterContent = kMissing, kr = kMissing;
    Point gradient{kMissing, kMissing};
    Point flux{kMissing, kMissing};
};

struct SectionFlow
{
    std::string name;
    double flow = kMissing;       ///< positive from the left of the line to its right
    double cumulative = kMissing; ///< since t = 0, in a transient run [m3/m]
};

struct SourceFlow
{
    std::string name;
    double flow = kMissing;       ///< its rate, positive into the soil [m3/s per m]
    double cumulative = kMissing; ///< since t = 0, in a transient run [m3/m]
};

/// The balance of a region; see RegionFlows.
struct RegionFlow
{
    std::string name;
    double in = kMissing, out = kMissing; ///< over its border, both positive [m3/s per m]
    double sources = kMissing;            ///< inside [m3/s per m]
    double balance = kMissing; ///< (in - out + sources) / (in + sources that put in); in time over
                               ///< all that went in and out since t = 0, less the change stored
    /// @name In a transient run, since t = 0 [m3/m]
    /// @{
    double cumulativeIn = kMissing, cumulativeOut = kMissing, cumulativeSources = kMissing;
    double storedChange = kMissing;
    /// @}
};

/// The gradient where water leaves over a side of a boundary, the mean along its saturated part.
struct ExitGradient
{
    Point at{0, 0};             ///< the middle of that
    double outward = kMissing;  ///< -dh/dn, n outward
    double upward = kMissing;   ///< -dh/dy
    double critical = kMissing; ///< of its soil; missing where the unit weight is
    double factor = kMissing;   ///< critical over upward; missing where that is not above 0
    std::string material = {};
};

/// The gradients over a boundary where water leaves, by x and then y.
struct ExitFace
{
    std::string name;
    std::vector<ExitGradient> sides; ///< at least one
    std::string withoutFactor;       ///< why sides have no factor, human-readable; else empty

    /// The side of the greatest outward gradient.
    const ExitGradient& Steepest() const;
    /// The side of the least factor; null where none has one.
    const ExitGradient* LeastSafe() const;
};

struct UpliftPoint
{
    double along = 0; ///< distance from the start of the line [m]
    Point at{0, 0};
    double pressure = 0; ///< [kPa]
};

/// Pore pressure along a line. The forces are of pressures above zero alone; where there are none
/// they act nowhere.
struct Uplift
{
    std::string name;
    double force = kMissing;         ///< integral of the pressure along the line [kN/m]
    double vertical = kMissing;      ///< of the pressure over x: the vertical part of the force
    double along = kMissing;         ///< where the force acts, from the start of the line [m]
    Point at{kMissing, kMissing};    ///< the point of the line there
    double suction = 0;              ///< length on which the pressure is below zero [m]
    std::vector<UpliftPoint> points; ///< where the line meets the sides of the mesh
};

/// The least vertical distance from the ground surface down to a phreatic line, see Freeboard.h.
struct Freeboard
{
    std::string name;                 ///< of a boundary or a physical curve
    double distance = kMissing;       ///< [m]
    Point at{kMissing, kMissing};     ///< of the phreatic line
    Point ground{kMissing, kMissing}; ///< above it
};

/// The least and the greatest value of a field over the nodes.
struct Extremes
{
    std::string name, unit; ///< as in the files; no unit for a pure number
    double least = kMissing, greatest = kMissing;
    Point leastAt{kMissing, kMissing}, greatestAt{kMissing, kMissing};
};

struct StepResult
{
    std::size_t number = 1; ///< from 1
    std::string name;
    bool converged = false;
    int iterations = 0;
    double residual = kMissing; ///< relative, of the non-linear equations
    std::string trouble;        ///< where and by how much it did not converge, human-readable
    std::vector<std::string> warnings;            ///< remarks on the figures, human-readable
    double flowIn = kMissing, flowOut = kMissing; ///< from nodal reactions; both positive
    double massBalance = kMissing;                ///< (in - out) / in
    double flowInIntegrated = kMissing, flowOutIntegrated = kMissing;
    double storedWater = kMissing; ///< [m3/m]
    /// @name In a transient run; the mass balance is then over the total inflow and outflow since t
    /// = 0
    /// @{
    double time = kMissing, stepLength = kMissing; ///< [s]
    std::size_t taken = 0, rejected = 0;           ///< time steps so far
    double cumulativeIn = kMissing, cumulativeOut = kMissing, storedChange = kMissing; ///< [m3/m]
    /// @}
    std::vector<BoundaryFlow> boundaries;
    std::vector<SeepageFace> seepageFaces;
    std::vector<Polyline> surface; ///< zero-pressure lines
    std::vector<ProbeValue> probes;
    std::vector<SectionFlow> sections;
    std::vector<SourceFlow> sources;
    std::vector<RegionFlow> regions;
    std::vector<ExitFace> exits;
    std::vector<Uplift> uplifts;
    std::vector<Freeboard> freeboards; ///< the whole surface first; none without a phreatic line
    std::vector<Extremes> extremes;    ///< in the units of the problem file, see FindExtremes
    std::vector<double>
        capacity; ///< by node, in a transient run: storage coefficient dW/dpsi [1/m]
    std::vector<double>
        stream;      ///< by node: the stream function, see FlowNet.h; may be empty [m2/s]
    DataTable nodal; ///< see NodalTable; empty once it is written
};

struct Seconds
{
    double read = 0, assemble = 0, solve = 0, write = 0, total = 0;

    /// Flows, sections, surfaces, the search for a step's length, and whatever else is between.
    double Other() const { return std::max(total - (read + assemble + solve + write), 0.0); }
};

/// The time steps between two starts of a transient run.
struct PartOfRun
{
    std::string name;
    double start = 0; ///< [s]
    std::size_t taken = 0, rejected = 0;
    double shortest = kMissing, longest = kMissing; ///< [s]
};

/// The sums of a region since the start of a transient run [m3/m].
struct RegionSums
{
    double in = 0, out = 0, sources = 0, initialStored = 0;
};

/// The state from which a transient run continues.
struct TimeState
{
    std::vector<double> head; ///< by node [m]; empty at the beginning
    double time = 0, nextLength = 0;
    std::size_t taken = 0, rejected = 0;
    int initialIterations = 0;
    double in = 0, out = 0, initialStored = 0;         ///< [m3/m]
    std::vector<double> boundaries, sections, sources; ///< cumulative flows [m3/m]
    std::vector<RegionSums> regions;
    std::vector<PartOfRun> parts;
};

struct Results
{
    std::size_t equations = 0;
    std::size_t nonzeros = 0;
    std::string solver; ///< the solver used, such as "pardiso (mkl 2020.4)"
    int threads = 0;
    std::string date;                  ///< when the run began, see UtcNow
    std::vector<std::string> command;  ///< arguments of the program
    std::vector<std::string> warnings; ///< of the input, human-readable
    Seconds seconds;
    std::vector<std::string> earlier; ///< steps of an interrupted run that this one continues, JSON
    std::vector<double> lastHead;     ///< by node, of the last of them [m]; may be empty
    std::vector<StepResult> steps;
    /// @name Of a transient run, whose outputs are the steps; the first is the initial state
    /// @{
    TimeState state;
    std::string earlierHistory;      ///< of an interrupted run, as it was written
    std::vector<StepResult> history; ///< one for every time step, without pictures and fields
    std::string stopped;             ///< when and why it failed; empty when it did not
    /// @}
    bool Converged() const
    {
        if (!stopped.empty())
            return false;
        for (const StepResult& step : steps)
            if (!step.converged)
                return false;
        return !steps.empty() || !earlier.empty();
    }
};

} // namespace percova
