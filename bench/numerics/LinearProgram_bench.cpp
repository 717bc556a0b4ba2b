// Goal 11: transport programs, built and solved, beside lp_solve called by itself: with sparse
// rows in row mode, and with dense rows. All start from the same terms. CLPProblem also checks the
// point that it returns.
#include "numerics/CLPProblem.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <lpsolve/lp_lib.h>
#include <random>
#include <string>
#include <vector>

namespace
{

/// Size sources and as many sinks; from each to each at a random cost.
struct Transport
{
    unsigned variables;
    CLPObjFunc objective;
    std::vector<CLPConstraint> constraints;

    explicit Transport(unsigned size) : variables(size * size)
    {
        std::mt19937 random(size);
        for (unsigned v = 0; v < variables; ++v)
            objective.terms.push_back({double(1 + random() % 100), v});
        for (unsigned i = 0; i < size; ++i)
        {
            CLPConstraint supply{{}, 0, double(60 + random() % 40)};
            CLPConstraint demand{{}, 1, double(20 + random() % 40)};
            for (unsigned k = 0; k < size; ++k)
            {
                supply.terms.push_back({1, i * size + k});
                demand.terms.push_back({1, k * size + i});
            }
            constraints.push_back(supply);
            constraints.push_back(demand);
        }
    }
};

/// The cost of the best transport.
double Kvi(const Transport& t)
{
    const CountedObjPtr<CLPProblem> problem = CLPProblem::create(t.variables);
    problem->objFunc(t.objective);
    problem->add(t.constraints);
    problem->solve();
    double cost = problem->IsOptimal() ? 0 : NAN;
    for (const CLPTerm& term : t.objective.terms)
        cost += term.coefficient * problem->var(term.variable);
    return cost;
}

double Solved(lprec* lp)
{
    const double cost = solve(lp) == OPTIMAL ? get_objective(lp) : NAN;
    delete_lp(lp);
    return cost;
}

double Sparse(const Transport& t)
{
    lprec* lp = make_lp(0, int(t.variables));
    set_verbose(lp, NEUTRAL);
    set_add_rowmode(lp, TRUE);
    std::vector<double> row(t.variables);
    std::vector<int> columns(t.variables);
    const auto fill = [&](const std::vector<CLPTerm>& terms) {
        for (std::size_t k = 0; k < terms.size(); ++k)
        {
            row[k] = terms[k].coefficient;
            columns[k] = int(terms[k].variable) + 1;
        }
        return int(terms.size());
    };
    set_obj_fnex(lp, fill(t.objective.terms), row.data(), columns.data());
    for (const CLPConstraint& c : t.constraints)
        add_constraintex(lp, fill(c.terms), row.data(), columns.data(), c.kind == 0 ? LE : GE,
                         c.rhs);
    set_add_rowmode(lp, FALSE);
    return Solved(lp);
}

double Dense(const Transport& t)
{
    lprec* lp = make_lp(0, int(t.variables));
    set_verbose(lp, NEUTRAL);
    std::vector<double> row;
    const auto fill = [&](const std::vector<CLPTerm>& terms) {
        row.assign(t.variables + 1, 0);
        for (const CLPTerm& term : terms)
            row[term.variable + 1] = term.coefficient;
        return row.data();
    };
    set_obj_fn(lp, fill(t.objective.terms));
    for (const CLPConstraint& c : t.constraints)
        add_constraint(lp, fill(c.terms), c.kind == 0 ? LE : GE, c.rhs);
    return Solved(lp);
}

const bool kRegistered = [] {
    for (const unsigned size : {1u, 5u, 20u, 50u, 100u, 200u})
    {
        const std::string sides = std::to_string(size) + " x " + std::to_string(size);
        const std::string name = "11|" + sides + " transport|";
        const auto add = [&](const char* who, auto run) {
            benchmark::RegisterBenchmark((name + who).c_str(), [=](benchmark::State& state) {
                const Transport transport(size);
                const double expected = Sparse(transport);
                double cost = NAN;
                for (auto _ : state)
                    cost = run(transport);
                if (!(std::abs(cost - expected) <= 1e-9 * std::abs(expected)))
                    state.SkipWithError("wrong optimum");
            })->UseRealTime();
        };
        add("kvi", Kvi);
        add("lp_solve, sparse rows", Sparse);
        if (size < 200) // a quarter of a gigabyte of zeros
            add("lp_solve, dense rows", Dense);
    }
    return true;
}();

} // namespace
