// Whole jobs of the reference engine: a Gmsh mesh read, assembled, solved, written, beside a
// program that an engineer would install instead; its phases; and steps through time. One thread
// each. Times are those of the processor, but for the phases, which are percova's own by the clock;
// rows of bytes have bytes instead of nanoseconds. FreeFEM reads the mesh in its own format and
// writes the heads as text, without nodal velocities and a picture.
#include "percova/Job.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

namespace
{
using job::Cost;
using job::Folder;

std::string TextOf(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// The files of a case with about @p nodes nodes, made on first use.
std::string MeshOf(int nodes)
{
    const std::string base = Folder() + "/layer" + std::to_string(nodes);
    if (std::ifstream(base + ".msh"))
        return base;
    const job::Layer layer(nodes);
    layer.WriteGmsh(base + ".msh");
    layer.WriteFreeFem(base + ".ff.msh");
    return base;
}

/// Runs percova on a problem whose JSON lacks the mesh.
/// @param[out] result  its result.json
Cost RunPercova(int nodes, const std::string& id, const std::string& rest,
                const std::vector<std::string>& options, std::string& result)
{
    const std::string base = MeshOf(nodes), file = base + "." + id + ".problem.json";
    std::ofstream(file) << R"({"id": ")" << id << R"(", "gamma_w": 9.81, "mesh": {"file": ")"
                        << base << R"(.msh"}, )" << rest << '}';
    std::vector<std::string> command{KVI_PERCOVA, "run",   file,           "--threads",
                                     "1",         "--out", base + "." + id};
    command.insert(command.end(), options.begin(), options.end());
    const Cost cost = job::Run(command);
    result = TextOf(base + "." + id + "/result.json");
    return cost;
}

constexpr const char* kConfined = R"("regions": [{"name": "layer", "material": "sand"}],
    "materials": [{"name": "sand", "k_sat": 2e-4, "anisotropy": 0.5}],
    "boundaries": [{"name": "left ground", "type": "head", "value": 23},
                   {"name": "right ground", "type": "head", "value": 20}])";

/// A rise of the head on the left by 3 m; every step has its two linear systems.
constexpr const char* kConfinedRise = R"("units": {"time": "h"},
    "regions": [{"name": "layer", "material": "sand"}],
    "materials": [{"name": "sand", "k_sat": 7.2e-3, "m_v": 1e-5}],
    "boundaries": [{"name": "left ground", "type": "head", "value": [[0, 20], [1, 23]]},
                   {"name": "right ground", "type": "head", "value": 20}],
    "initial": {"type": "steady"},
    "time": {"end": 1, "output": [1], "first_step": 0.5, "tolerance": 1})";

/// Rain on two thirds of the ground of a layer that drains to the left.
constexpr const char* kRain = R"("units": {"time": "h"},
    "regions": [{"name": "layer", "material": "silty sand"}],
    "materials": [{"name": "silty sand", "k_sat": 0.018, "m_v": 2e-5,
        "water_content": {"a": 6, "n": 2, "m": 1, "theta_s": 0.4},
        "kr": {"rule": "power", "power": 4}}],
    "boundaries": [
        {"name": "left ground", "type": "flux", "value": [[0, 0.001], [12, 0.01], [24, 0.001]],
         "ponding": 0},
        {"name": "right ground", "type": "flux", "value": [[0, 0.001], [12, 0.01], [24, 0.001]],
         "ponding": 0},
        {"name": "rim", "type": "head", "value": 14}],
    "initial": {"type": "steady", "boundaries": {
        "left ground": {"type": "flux", "value": 3.5e-5, "ponding": 0},
        "right ground": {"type": "flux", "value": 3.5e-5, "ponding": 0}}},
    "time": {"end": 24, "output": [24], "first_step": 0.05, "largest_step": 2, "tolerance": 0.01})";

std::string FreeFemScript(const std::string& base, const std::string& solver)
{
    return "mesh Th=readmesh(\"" + base + R"(.ff.msh");
fespace Vh(Th,P1);
Vh h,w;
varf va(h,w)=int2d(Th)(2e-4*dx(h)*dx(w)+1e-4*dy(h)*dy(w))+on(1,h=23)+on(2,h=20);
varf vk(h,w)=int2d(Th)(2e-4*dx(h)*dx(w)+1e-4*dy(h)*dy(w));
varf von(h,w)=on(1,h=1);
matrix A=va(Vh,Vh);
set(A,eps=1e-12,solver=)" +
           solver + R"();
real[int] b=va(0,Vh);
h[]=A^-1*b;
matrix K=vk(Vh,Vh);
real[int] q=K*h[];
real[int] one=von(0,Vh,tgv=1);
cout.precision(12);
cout << "flow " << q'*one << endl;
ofstream f(")" +
           base + R"(.ff.txt");
for(int i=0;i<Th.nv;i++) f << Th(i).x << " " << Th(i).y << " " << h[][i] << "\n";
)";
}

/// The flow of the confined layer by percova's default solver, which the others have to meet.
double ConfinedFlow(int nodes)
{
    std::string result;
    (void)RunPercova(nodes, "flow", kConfined, {}, result);
    return job::NumberBehind(result, "\"flow_in\":");
}

void Time(benchmark::State& state, const std::function<Cost()>& run,
          const std::function<double(const Cost&)>& measure)
{
    for (auto _ : state)
    {
        const Cost cost = run();
        const double value = measure(cost);
        if (!cost.isDone || !(value > 0))
            return state.SkipWithError("it did not end well");
        state.SetIterationTime(value);
    }
}

double SecondsOf(const Cost& cost) { return cost.seconds; }
double BytesOf(const Cost& cost) { return 1e-9 * cost.bytes; }

void Register(const std::string& name, const std::function<Cost()>& run,
              const std::function<double(const Cost&)>& measure)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { Time(state, run, measure); })
        ->UseManualTime()
        ->Iterations(1);
}

/// A job that percova and the peers share, by time and by memory.
void RegisterConfined(int nodes, const std::string& size)
{
    const auto flow = std::make_shared<double>(0);
    const auto percova = [nodes](std::vector<std::string> options) {
        return [=] {
            std::string result;
            return RunPercova(nodes, "confined", kConfined, options, result);
        };
    };
    const auto freeFem = [nodes, flow](const std::string& solver) {
        return [=] {
            const std::string base = MeshOf(nodes), script = base + "." + solver + ".edp";
            std::ofstream(script) << FreeFemScript(base, solver);
            if (*flow == 0)
                *flow = ConfinedFlow(nodes);
            Cost cost =
                job::Run({"env", "OPENBLAS_NUM_THREADS=1", "FreeFem++", "-nw", "-v", "0", script});
            const double found = job::NumberBehind(cost.output, "flow ");
            cost.isDone = cost.isDone && std::abs(found - *flow) <= 1e-5 * *flow;
            return cost;
        };
    };
    for (const bool isTime : {true, false})
    {
        const std::function<double(const Cost&)> measure = isTime ? SecondsOf : BytesOf;
        const std::string job = "13|job, T3 " + size + (isTime ? "|" : ", bytes|");
        Register(job + "kvi", percova({}), measure);
        Register(job + "percova, iterative", percova({"--solver", "iterative"}), measure);
        Register(job + "FreeFEM, UMFPACK", freeFem("UMFPACK"), measure);
        Register(job + "FreeFEM, CG", freeFem("CG"), measure);
    }
    for (const std::string phase : {"read", "assemble", "solve", "write", "other"})
    {
        const auto result = std::make_shared<std::string>();
        Register(
            "13|job, T3 " + size + ": " + phase + "|kvi",
            [=] { return RunPercova(nodes, "phases", kConfined, {}, *result); },
            [=](const Cost&) {
                return job::NumberBehind(result->substr(result->find("\"seconds\"")),
                                         '"' + phase + "\":");
            });
    }
}

/// A run through time: seconds for each step tried, and memory.
void RegisterInTime(const std::string& name, int nodes, const char* problem)
{
    const auto result = std::make_shared<std::string>();
    const auto run = [=] { return RunPercova(nodes, "time", problem, {}, *result); };
    Register("13|" + name + ", a step|kvi", run, [=](const Cost& cost) {
        const std::size_t last = result->rfind("\"steps_taken\"");
        if (last == std::string::npos)
            return 0.0;
        const std::string end = result->substr(last);
        return cost.seconds / (job::NumberBehind(end, "\"steps_taken\":") +
                               job::NumberBehind(end, "\"steps_rejected\":"));
    });
    Register("13|" + name + ", bytes|kvi", run, BytesOf);
}

const bool kIsRegistered = [] {
    RegisterConfined(100000, "1e5");
    RegisterInTime("confined in time, T3 1e5", 100000, kConfinedRise);
    RegisterInTime("day of rain, T3 1e4", 10000, kRain);
    if (std::getenv("KVI_BENCH_LARGE") == nullptr)
        return true;
    RegisterConfined(1000000, "1e6");
    RegisterInTime("confined in time, T3 1e6", 1000000, kConfinedRise);
    RegisterInTime("day of rain, T3 1e5", 100000, kRain);
    return true;
}();

} // namespace
