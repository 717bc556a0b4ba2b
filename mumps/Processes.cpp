#include "Processes.h"

#include "BlasMemory.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <unistd.h>

namespace mumps
{
namespace
{

constexpr int kVersion = 2; // of the greetings and orders
constexpr int kGreetingTag = 25001, kWelcomeTag = 25002, kOrderTag = 25003, kReceiptTag = 25004;

using Clock = std::chrono::steady_clock;

/// Calls @p isDone until it returns true or @p limit has passed: at once, then more and more rarely
/// down to every two milliseconds. @returns whether it did
template <class IsDone>
bool Poll(IsDone isDone, Clock::duration limit)
{
    using namespace std::chrono_literals;
    const Clock::time_point begin = Clock::now();
    while (!isDone())
    {
        const Clock::duration passed = Clock::now() - begin;
        if (passed > limit)
            return false;
        if (passed > 100us)
            std::this_thread::sleep_for(std::min<Clock::duration>(passed / 4, 2ms));
    }
    return true;
}

} // namespace

int PatienceSeconds()
{
    constexpr int kUsual = 60;
    const char* const wish = std::getenv("KVI_MUMPS_TIMEOUT"); // NOLINT(concurrency-mt-unsafe)
    const int seconds = wish != nullptr ? std::atoi(wish) : 0;
    return seconds > 0 ? seconds : kUsual;
}

std::string Processes::Start()
{
    int isStarted = 0, isOver = 0;
    MPI_Finalized(&isOver);
    if (isOver != 0)
        return "MPI has been ended in this process and cannot start again";
    MPI_Initialized(&isStarted);
    if (isStarted == 0)
    {
        int given = 0;
        if (MPI_Init_thread(nullptr, nullptr, MPI_THREAD_SERIALIZED, &given) != MPI_SUCCESS)
            return "MPI does not start";
        isOwner_ = true;
    }
    MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
    MPI_Comm_size(MPI_COMM_WORLD, &count_);
    return {};
}

Processes::Greeting Processes::Own(bool isNode) const
{
    Greeting own{kVersion, isNode, int(::getpid()), {}, {}};
    int length = 0;
    MPI_Get_processor_name(own.machine, &length);
    std::snprintf(own.fault, sizeof own.fault, "%s", ReserveBlasMemory().c_str());
    return own;
}

std::string Processes::Name(int rank) const
{
    const Greeting& greeting = greeted_[std::size_t(rank)];
    std::string name = "process " + std::to_string(rank);
    if (greeting.process != 0)
        name += " (number " + std::to_string(greeting.process) + " on " + greeting.machine + ")";
    return name;
}

/// Why the process that greeted cannot take part, empty when it can.
std::string Processes::Fault(int rank) const
{
    const Greeting& greeting = greeted_[std::size_t(rank)];
    if (rank > 0 && greeting.isNode == 0)
        return " is a second engine";
    if (greeting.version != kVersion)
        return " runs another version of kvi-solver-node";
    return greeting.fault[0] == '\0' ? "" : std::string(": ") + greeting.fault;
}

/// Waits for the requests, one for each node in the order of their ranks.
std::string Processes::Await(std::vector<MPI_Request>& requests, const char* what)
{
    const int seconds = PatienceSeconds();
    int isDone = 0, result = MPI_SUCCESS;
    const bool ended = Poll(
        [&] {
            result =
                MPI_Testall(int(requests.size()), requests.data(), &isDone, MPI_STATUSES_IGNORE);
            return isDone != 0 || result != MPI_SUCCESS;
        },
        std::chrono::seconds(seconds));
    if (ended && result == MPI_SUCCESS)
        return {};
    for (std::size_t k = 0; k < requests.size(); ++k)
    {
        int isThere = 0;
        if (requests[k] != MPI_REQUEST_NULL &&
            MPI_Test(&requests[k], &isThere, MPI_STATUS_IGNORE) == MPI_SUCCESS && isThere != 0)
            continue;
        if (requests[k] != MPI_REQUEST_NULL)
            lost_ = Name(int(k) + 1) + what + " within " + std::to_string(seconds) + " s";
    }
    if (lost_.empty())
        lost_ = std::string("a process") + what;
    return lost_;
}

/// Makes the communicators, in all processes together. An error within MUMPS ends the job, since
/// MUMPS does not expect one; between its calls errors are returned.
void Processes::Divide()
{
    MPI_Comm_dup(MPI_COMM_WORLD, &control_);
    MPI_Comm_dup(MPI_COMM_WORLD, &work_);
    MPI_Comm_split_type(work_, MPI_COMM_TYPE_SHARED, rank_, MPI_INFO_NULL, &machine_);
    MPI_Comm_set_errhandler(control_, MPI_ERRORS_RETURN);
    MPI_Comm_set_errhandler(work_, MPI_ERRORS_ARE_FATAL);
}

std::string Processes::ConnectEngine()
{
    if (std::string reason = Start(); !reason.empty())
        return reason;
    Greeting own = Own(false);
    if (rank_ != 0)
    {
        // The engine receives it if it is there; nobody waits for that.
        static MPI_Request request = MPI_REQUEST_NULL;
        static Greeting sent = own;
        MPI_Isend(&sent, int(sizeof sent), MPI_BYTE, 0, kGreetingTag, MPI_COMM_WORLD, &request);
        return "only the first process of an MPI job is the engine; the others run "
               "kvi-solver-node, and this is process " +
               std::to_string(rank_);
    }
    greeted_.assign(std::size_t(count_), Greeting{});
    greeted_[0] = own;
    std::vector<MPI_Request> requests(std::size_t(count_) - 1, MPI_REQUEST_NULL);
    for (int rank = 1; rank < count_; ++rank)
        MPI_Irecv(&greeted_[std::size_t(rank)], int(sizeof own), MPI_BYTE, rank, kGreetingTag,
                  MPI_COMM_WORLD, &requests[std::size_t(rank) - 1]);
    if (std::string reason = Await(requests, " does not run kvi-solver-node, or has not started");
        !reason.empty())
        return reason;
    for (int rank = 0; rank < count_; ++rank)
        if (const std::string fault = Fault(rank); !fault.empty())
            return lost_ = Name(rank) + fault;
    for (int rank = 1; rank < count_; ++rank)
        MPI_Send(nullptr, 0, MPI_BYTE, rank, kWelcomeTag, MPI_COMM_WORLD);
    Divide();
    return {};
}

std::string Processes::ConnectNode()
{
    if (std::string reason = Start(); !reason.empty())
        return reason;
    if (rank_ == 0)
    {
        if (count_ == 1)
            Finish(); // the others would not follow
        return "the first process of the job must be the engine: mpirun -n 1 ENGINE : -n 3 "
               "kvi-solver-node";
    }
    Greeting own = Own(true);
    MPI_Request request = MPI_REQUEST_NULL;
    MPI_Isend(&own, int(sizeof own), MPI_BYTE, 0, kGreetingTag, MPI_COMM_WORLD, &request);
    // The engine connects when it first solves, which may be hours from now.
    WaitForEngine(kWelcomeTag, MPI_COMM_WORLD);
    MPI_Recv(nullptr, 0, MPI_BYTE, 0, kWelcomeTag, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    MPI_Wait(&request, MPI_STATUS_IGNORE);
    Divide();
    return {};
}

std::string Processes::Send(const Order& order)
{
    if (!lost_.empty())
        return lost_;
    sent_ = order;
    const auto nodes = std::size_t(count_) - 1;
    std::vector<MPI_Request> sent(nodes), receipts(nodes);
    for (std::size_t k = 0; k < nodes; ++k)
    {
        MPI_Irecv(nullptr, 0, MPI_BYTE, int(k) + 1, kReceiptTag, control_, &receipts[k]);
        MPI_Isend(&sent_, int(sizeof sent_), MPI_BYTE, int(k) + 1, kOrderTag, control_, &sent[k]);
    }
    std::string reason = Await(receipts, " does not answer");
    if (reason.empty())
        reason = Await(sent, " does not receive");
    return reason;
}

void Processes::WaitForEngine(int tag, MPI_Comm communicator)
{
    isIdle_ = true;
    int isThere = 0;
    Poll(
        [&] {
            MPI_Iprobe(0, tag, communicator, &isThere, MPI_STATUS_IGNORE);
            return isThere != 0;
        },
        Clock::duration::max());
    isIdle_ = false;
}

Order Processes::Receive()
{
    Order order{};
    WaitForEngine(kOrderTag, control_);
    MPI_Recv(&order, int(sizeof order), MPI_BYTE, 0, kOrderTag, control_, MPI_STATUS_IGNORE);
    MPI_Send(nullptr, 0, MPI_BYTE, 0, kReceiptTag, control_);
    return order;
}

void Processes::Finish()
{
    int isOver = 0;
    MPI_Finalized(&isOver);
    if (isOwner_ && isOver == 0 && lost_.empty())
        MPI_Finalize();
}

bool Processes::HasRoom(double bytes, double free, std::string& reason) const
{
    double needed = bytes, most = free;
    MPI_Allreduce(MPI_IN_PLACE, &needed, 1, MPI_DOUBLE, MPI_SUM, machine_);
    MPI_Allreduce(MPI_IN_PLACE, &most, 1, MPI_DOUBLE, MPI_MAX, machine_);
    struct
    {
        double left;
        int rank;
    } least = {std::min(most - needed, free - bytes), rank_};
    MPI_Allreduce(MPI_IN_PLACE, &least, 1, MPI_DOUBLE_INT, MPI_MINLOC, work_);
    if (least.left >= 0)
        return true;
    if (IsEngine())
        reason = std::string("memory cannot hold the factors: on ") +
                 greeted_[std::size_t(least.rank)].machine + " " +
                 std::to_string(std::llround(-least.left / (1 << 20))) + " MiB are missing";
    return false;
}

} // namespace mumps
