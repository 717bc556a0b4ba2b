/// @file
/// The processes of a distributed solve: how they find each other, and the orders between them.
#pragma once

#include <atomic>
#include <mpi.h>
#include <string>
#include <vector>

namespace mumps
{

/// Seconds that a process may take to answer, KVI_MUMPS_TIMEOUT.
int PatienceSeconds();

/// What all processes do together.
enum class Step : int
{
    Create,
    Analyse,
    Factorise,
    Solve,
    NullVector,
    Destroy,
    End
};

/// An order of the engine, the process with rank 0, to the nodes.
struct Order
{
    Step step;
    int system;          ///< number of the system
    int isSymmetric;     ///< to create it
    int findsNullPivots; ///< to factorise it
    int spare;           ///< percentage of memory beyond the estimate, to factorise it
};

/// The communication of this process. Messages that wait for another process are sent and received
/// without blocking, so that waiting takes no processor time and ends.
///
/// Threads: one at a time.
class Processes
{
public:
    /// @param isIdle  kept true while this process, a node, waits for the engine, and false while
    ///                others may wait for it inside MPI
    explicit Processes(std::atomic<bool>& isIdle) : isIdle_(isIdle) {}
    /// In the engine: starts MPI if nobody has, waits for every node and lets them in.
    /// @returns why it cannot be used, empty when it can
    std::string ConnectEngine();
    /// In a node: the same from its side.
    std::string ConnectNode();
    /// In the engine: sends @p order and waits until every node has received it. A process that has
    /// not answered once is never waited for again.
    /// @returns the process that does not answer in words, empty when all do
    std::string Send(const Order& order);
    /// In a node: waits without limit for the next order.
    Order Receive();
    /// Ends MPI if this object has started it, unless a process is missing: that would not return.
    void Finish();

    /// Adds up @p bytes over the processes of each machine, where each has @p free left.
    /// @returns whether every machine has room; if not, @p reason says which one has not
    bool HasRoom(double bytes, double free, std::string& reason) const;

    /// In the engine: a process in words.
    std::string Name(int rank) const;
    MPI_Comm Work() const { return work_; } ///< for what all processes compute together
    int Count() const { return count_; }
    bool IsEngine() const { return rank_ == 0; }

private:
    /// What a process says of itself.
    struct Greeting
    {
        int version;
        int isNode;
        int process;
        char machine[MPI_MAX_PROCESSOR_NAME];
        char fault[256]; ///< why it cannot help, empty when it can
    };
    std::string Start();
    Greeting Own(bool isNode) const;
    std::string Fault(int rank) const;
    std::string Await(std::vector<MPI_Request>& requests, const char* what);
    void Divide();
    void WaitForEngine(int tag, MPI_Comm communicator);

    std::atomic<bool>& isIdle_;
    int rank_ = 0, count_ = 1;
    Order sent_{};                  ///< the last order; messages may still be on their way
    bool isOwner_ = false;          ///< of MPI
    std::string lost_;              ///< the process that does not answer
    std::vector<Greeting> greeted_; ///< by rank, in the engine
    MPI_Comm control_ = MPI_COMM_NULL, work_ = MPI_COMM_NULL, machine_ = MPI_COMM_NULL;
};

} // namespace mumps
