#include "Module.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace python
{
namespace
{

/// Solves under way. The module asks at the end of the process, since Ctrl-C leaves one running.
std::atomic<int> solving{0};

/// What a solve shares with the one who waits for it, and with other threads' calls.
struct Running
{
    std::mutex mutex;
    std::condition_variable changed;
    bool isDone = false;
};

/// The system with what the library does not keep in the form that Python wants.
class System
{
public:
    System(const Array<int>& equations, int count);
    System(tagMultiVectorInt equations, int count);
    static std::shared_ptr<System> FromCoo(const Array<int>& rows, const Array<int>& columns,
                                           const Array<double>& values, int count);
    static std::shared_ptr<System> FromCsr(const Array<int>& starts, const Array<int>& columns,
                                           const Array<double>& values);

    void Add(const Array<double>& matrices, int first);
    void AddLoad(const Array<int>& equations, const Array<double>& values);
    void Fix(const Array<int>& equations, const Array<double>& values);
    void Start(const Array<int>& equations, const Array<double>& values);
    void Reset();
    py::tuple Solve(const std::string& method, double tol, const py::object& maxIterations,
                    int threads);
    py::array_t<double> Reactions();
    py::array_t<double> Rhs();
    py::tuple ToCsr();
    py::tuple ToCoo();
    int Count() { return Idle().EquationCount(); }

private:
    using Edit = long (ISysEqnImpl::*)(const tagVectorInt*, const tagVectorDbl*);
    using Read = long (ISysEqnImpl::*)(tagVectorDbl*) const;

    void Set(Edit edit, const Array<int>& equations, const Array<double>& values);
    py::array_t<double> Get(Read read);
    bool IsShort(const std::string& method);
    void RunAndListen(const std::function<void()>& solve);
    void Stop(Running& running);
    /// The system, when nothing runs on it.
    ISysEqnImpl& Idle();

    // Shared with a solve that goes on after the object is gone.
    std::shared_ptr<ISysEqnImpl> system_ = std::make_shared<ISysEqnImpl>();
    std::shared_ptr<Running> running_;
    tagMultiVectorInt equations_;
    std::size_t entries_ = 0; // of all element matrices
    std::size_t size_ = 0;    // equations of each element, 0 when they differ
};

/// The lists of the elements' equations, from an array of shape (elements, k).
tagMultiVectorInt ListsOf(const Array<int>& equations)
{
    if (equations.ndim() != 2)
        throw py::value_error("equations of elements have the shape (elements, equations of one)");
    tagMultiVectorInt lists;
    lists.values.assign(equations.data(), equations.data() + equations.size());
    for (py::ssize_t e = 1; e <= equations.shape(0); ++e)
        lists.ends.push_back(static_cast<std::size_t>(e * equations.shape(1)));
    return lists;
}

System::System(tagMultiVectorInt equations, int count) : equations_(std::move(equations))
{
    {
        py::gil_scoped_release release;
        system_->Initialize(&equations_, count);
    }
    if (!system_->LastSolve().reason.empty())
        RaiseRefused(0, system_->LastSolve().reason);
    size_ = equations_.Count() > 0 ? equations_.ends[0] : 0;
    std::size_t from = 0;
    for (const std::size_t end : equations_.ends)
    {
        const std::size_t size = end - std::exchange(from, end);
        entries_ += size * size;
        size_ = size == size_ ? size : 0;
    }
}

System::System(const Array<int>& equations, int count) : System(ListsOf(equations), count) {}

std::shared_ptr<System> System::FromCoo(const Array<int>& rows, const Array<int>& columns,
                                        const Array<double>& values, int count)
{
    if (rows.size() != columns.size() || rows.size() != values.size())
        throw py::value_error("rows, columns and values have different lengths");
    // Each pair of equations is an element of its own; entries of one place add up.
    tagMultiVectorInt elements;
    std::vector<double> matrices;
    for (py::ssize_t k = 0; k < rows.size(); ++k)
    {
        const int i = rows.data()[k], j = columns.data()[k];
        if (i < 0 || j < 0 || i >= count || j >= count)
            throw py::index_error("an entry lies outside the matrix");
        elements.values.push_back(i);
        if (i == j)
            matrices.push_back(values.data()[k]);
        else
        {
            elements.values.push_back(j);
            matrices.insert(matrices.end(), {0, values.data()[k], 0, 0});
        }
        elements.ends.push_back(elements.values.size());
    }
    const int entries = static_cast<int>(rows.size());
    auto system = std::make_shared<System>(std::move(elements), count);
    py::gil_scoped_release release;
    system->system_->InsertElementsIntoSysCoefMtx(0, entries, matrices.data());
    return system;
}

std::shared_ptr<System> System::FromCsr(const Array<int>& starts, const Array<int>& columns,
                                        const Array<double>& values)
{
    py::array_t<int> rows(columns.size());
    py::ssize_t k = 0;
    for (py::ssize_t i = 1; i < starts.size(); ++i)
        for (; k < starts.data()[i] && k < rows.size(); ++k)
            rows.mutable_data()[k] = static_cast<int>(i - 1);
    if (starts.size() == 0 || starts.data()[0] != 0 || k != rows.size())
        throw py::value_error("the row starts do not fit the entries");
    return FromCoo(rows, columns, values, static_cast<int>(starts.size() - 1));
}

ISysEqnImpl& System::Idle()
{
    if (running_ != nullptr)
    {
        const std::lock_guard lock(running_->mutex);
        if (!running_->isDone)
            throw std::runtime_error("a solve still runs on this system");
    }
    return *system_;
}

void System::Add(const Array<double>& matrices, int first)
{
    ISysEqnImpl& system = Idle();
    if (matrices.ndim() != 3 || matrices.shape(1) != matrices.shape(2) || first < 0 ||
        static_cast<std::size_t>(first + matrices.shape(0)) > equations_.Count())
        throw py::value_error("element matrices have the shape (elements, k, k)");
    const auto size = static_cast<std::size_t>(matrices.shape(1));
    for (py::ssize_t e = first; e < first + matrices.shape(0) && size != size_; ++e)
    {
        const auto at = static_cast<std::size_t>(e);
        if (equations_.ends[at] - (at > 0 ? equations_.ends[at - 1] : 0) != size)
            throw py::value_error("an element has another number of equations than its matrix");
    }
    const double* const data = matrices.data();
    const int count = static_cast<int>(matrices.shape(0));
    py::gil_scoped_release release;
    system.InsertElementsIntoSysCoefMtx(first, count, data);
}

void System::Set(Edit edit, const Array<int>& equations, const Array<double>& values)
{
    ISysEqnImpl& system = Idle();
    if (values.size() != equations.size() && values.size() != 1)
        throw py::value_error("as many values as equations are needed, or one for all");
    tagVectorInt where;
    tagVectorDbl what;
    for (py::ssize_t k = 0; k < equations.size(); ++k)
    {
        where.values.push_back(equations.data()[k]);
        what.values.push_back(values.data()[values.size() == 1 ? 0 : k]);
        if (where.values.back() < 0 || where.values.back() >= system.EquationCount())
            throw py::index_error("there is no equation " + std::to_string(where.values.back()));
    }
    (system.*edit)(&where, &what);
}

void System::AddLoad(const Array<int>& equations, const Array<double>& values)
{
    Set(&ISysEqnImpl::AddToRHSVector, equations, values);
}

void System::Fix(const Array<int>& equations, const Array<double>& values)
{
    Set(&ISysEqnImpl::FixUnknowns, equations, values);
}

void System::Start(const Array<int>& equations, const Array<double>& values)
{
    Set(&ISysEqnImpl::SetUnknownVector, equations, values);
}

void System::Reset() { Idle().ResetToZero(); }

py::array_t<double> System::Get(Read read)
{
    tagVectorDbl values;
    (Idle().*read)(&values);
    return ArrayOf<double>(values.values);
}

py::array_t<double> System::Reactions() { return Get(&ISysEqnImpl::GetReactionVector); }

py::array_t<double> System::Rhs() { return Get(&ISysEqnImpl::GetRhsVector); }

py::tuple System::ToCsr()
{
    tagVectorInt starts, columns;
    tagVectorDbl values;
    Idle().GetMatrix(&starts, &columns, &values);
    return py::make_tuple(ArrayOf<int>(starts.values), ArrayOf<int>(columns.values),
                          ArrayOf<double>(values.values));
}

py::tuple System::ToCoo()
{
    tagVectorInt starts, columns;
    tagVectorDbl values;
    Idle().GetMatrix(&starts, &columns, &values);
    std::vector<int> rows;
    for (std::size_t i = 1; i < starts.values.size(); ++i)
        rows.resize(static_cast<std::size_t>(starts.values[i]), static_cast<int>(i - 1));
    return py::make_tuple(ArrayOf<int>(rows), ArrayOf<int>(columns.values),
                          ArrayOf<double>(values.values));
}

constexpr const char* kOutcomes[] = {"solved",        "zero pivot", "not finite", "breakdown",
                                     "not converged", "too large",  "failed",     "stagnated",
                                     "singular",      "interrupted"};

/// What is to run for a method of that name.
std::function<void(ISysEqnImpl&)> SolverOf(const std::string& method, double tol, int most)
{
    if (method == "direct")
        return [](ISysEqnImpl& s) { s.SolveForUnknownVector_Direct_Sym(); };
    if (method == "direct_nonsymmetric")
        return [](ISysEqnImpl& s) { s.SolveForUnknownVector_Direct_NonSym(); };
    if (method == "iterative")
        return [=](ISysEqnImpl& s) { s.SolveForUnknownVector_Iterative_Sym(tol, most); };
    if (method == "iterative_nonsymmetric")
        return [=](ISysEqnImpl& s) { s.SolveForUnknownVector_Iterative_NonSym(tol, most); };
    if (method == "sparse")
        return [](ISysEqnImpl& s) { s.SolveForUnknownVector_PARDISO(); };
    throw py::value_error("no method " + method +
                          ": sparse, direct, direct_nonsymmetric, iterative or "
                          "iterative_nonsymmetric");
}

/// Stops the solve under way, which may not have begun yet; waits a moment for its end.
void System::Stop(Running& running)
{
    constexpr int kMost = 100; // then what cannot be stopped goes on alone
    const py::gil_scoped_release release;
    std::unique_lock lock(running.mutex);
    for (int k = 0; k < kMost && !running.isDone; ++k)
    {
        system_->RequestStop();
        running.changed.wait_for(lock, std::chrono::milliseconds(20));
    }
}

/// Whether a solve ends before somebody who has pressed Ctrl-C minds: within a second or two.
bool System::IsShort(const std::string& method)
{
    constexpr int kEquations = 20'000;
    constexpr std::size_t kEntries = 4'000'000; // a full matrix has fewer unknowns
    return method == "sparse" && system_->EquationCount() <= kEquations && entries_ <= kEntries;
}

/// Solves in a thread of its own, so that this one can listen for Ctrl-C.
void System::RunAndListen(const std::function<void()>& solve)
{
    const std::shared_ptr<Running> running = running_;
    try
    {
        std::thread(solve).detach();
    }
    catch (const std::system_error&)
    {
        running_.reset(); // nothing runs
        throw;
    }
    for (bool isDone = false; !isDone;)
    {
        {
            py::gil_scoped_release release;
            std::unique_lock lock(running->mutex);
            isDone = running->changed.wait_for(lock, std::chrono::milliseconds(50),
                                               [&] { return running->isDone; });
        }
        if (!isDone && PyErr_CheckSignals() != 0)
        {
            Stop(*running);
            throw py::error_already_set();
        }
    }
}

py::tuple System::Solve(const std::string& method, double tol, const py::object& maxIterations,
                        int threads)
{
    ISysEqnImpl& system = Idle();
    const int most =
        maxIterations.is_none() ? std::max(system.EquationCount(), 1) : maxIterations.cast<int>();
    const auto solver = SolverOf(method, tol, most);
    system.SetThreads(threads);
    running_ = std::make_shared<Running>();
    const auto solve = [solver, running = running_, kept = system_] {
        ++solving;
        solver(*kept);
        const std::lock_guard lock(running->mutex);
        running->isDone = true;
        running->changed.notify_all();
        --solving;
    };
    if (IsShort(method))
    {
        const py::gil_scoped_release release;
        solve();
    }
    else
        RunAndListen(solve);
    const math::SolveRecord& record = system.LastSolve();
    py::dict account;
    account["outcome"] = kOutcomes[int(record.outcome)];
    account["solved"] = record.outcome == math::SolveOutcome::Solved;
    account["equation"] = record.equation;
    account["iterations"] = record.iterations;
    account["residual"] = record.residual;
    account["row_wise_error"] = record.rowWiseError;
    account["norm_wise_error"] = record.normWiseError;
    account["loose_modes"] = record.looseModes;
    account["reason"] = record.reason;
    account["solver"] = record.solver;
    return py::make_tuple(Get(&ISysEqnImpl::GetUnknownVector), account);
}

} // namespace

void BindSystem(py::module_& module)
{
    py::class_<System, std::shared_ptr<System>>(
        module, "System",
        "The system of equations A x = b of a finite-element analysis. One thread uses an object "
        "at a time; solves of different objects run side by side.")
        .def(py::init<const Array<int>&, int>(), py::arg("equations"), py::arg("count") = 0,
             "equations: integers of shape (elements, k), the equations that each element joins, "
             "from 0; count: equations at least")
        .def_static("from_coo", &System::FromCoo, py::arg("rows"), py::arg("columns"),
                    py::arg("values"), py::arg("count"),
                    "The system with these entries; those of one place add up.")
        .def_static("from_csr", &System::FromCsr, py::arg("indptr"), py::arg("indices"),
                    py::arg("data"), "The same with compressed rows, as scipy's csr_matrix has.")
        .def("add", &System::Add, py::arg("matrices"), py::arg("first") = 0,
             "Adds element matrices of shape (n, k, k), those of the elements first, first + 1 ...")
        .def("add_load", &System::AddLoad, py::arg("equations"), py::arg("values"),
             "b[equations] += values, also where an equation occurs twice")
        .def("fix", &System::Fix, py::arg("equations"), py::arg("values"),
             "Prescribes x[equations] = values until reset().")
        .def("start", &System::Start, py::arg("equations"), py::arg("values"),
             "Where an iterative solve starts: x[equations] = values.")
        .def("reset", &System::Reset, "A = 0, b = 0, nothing fixed; x stays.")
        .def("solve", &System::Solve, py::arg("method") = "sparse", py::arg("tol") = 1e-8,
             py::arg("max_iterations") = py::none(), py::arg("threads") = 0,
             "Returns x and the record of the solve, a dict: outcome, solved (checked, not "
             "believed), equation at fault or -1, iterations, residual, row_wise_error, "
             "norm_wise_error, loose_modes, reason, solver. method: sparse, direct, "
             "direct_nonsymmetric, iterative, iterative_nonsymmetric. tol: relative residual, for "
             "the iterative ones. sparse keeps its factor while matrix and supports stand: another "
             "load then costs a substitution. Other Python threads run meanwhile. Ctrl-C stops the "
             "solve, except that a sparse one of up to 20,000 equations ends first; what cannot be "
             "stopped (MKL's solver) goes on alone after two seconds, and the system cannot be "
             "used before its end.")
        .def("reactions", &System::Reactions, "A x - b: what the supports deliver")
        .def("rhs", &System::Rhs, "a copy of b")
        .def("to_csr", &System::ToCsr,
             "indptr, indices and data of A as filled, for scipy's csr_matrix; stored zeros stay")
        .def("to_coo", &System::ToCoo, "rows, columns and values of the same entries")
        .def("__len__", &System::Count);
    module.def("_solves_running", [] { return solving.load(); });
}

} // namespace python
