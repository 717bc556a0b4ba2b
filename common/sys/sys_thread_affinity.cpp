#include "sys/sys_thread_affinity.h"

#include "platform/platform_logfile.h"
#include "platform/platform_unload.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/thread/ParentScope.h"

#include <utility>

namespace sys::thread::affinity
{
namespace
{

struct Record
{
    bool futureOwnership = false;
    unsigned parentId = 0;
    unsigned uniqueId = 0;  // 0: not yet given
    unsigned currentId = 0; // 0: not yet asked for
};

Record& Mine()
{
    thread_local Record record;
    if (record.currentId == 0)
        record.currentId = static_cast<unsigned>(platform::ThreadNumber());
    return record;
}

std::atomic<unsigned> primaryId{0};
std::atomic<bool> declaredThreadSafe{false};

unsigned NextUniqueId()
{
    using Counter = ExclusiveAccessOf<unsigned, thread::impl::ProcessExclusiveAccess>;
    static Counter& counter = platform::UntilUnload<Counter>(0u);
    return ++*counter.Access();
}

} // namespace

void SetPrimaryId(unsigned id) { primaryId = id; }

unsigned PrimaryId() { return primaryId; }

bool IsPrimaryThreadId(unsigned id) { return id == 0; }

bool IsCurrentPrimary() { return CurrentId() == 0; }

unsigned CurrentId()
{
    const unsigned primary = primaryId;
    if (primary == 0)
        return 0;
    const unsigned current = Mine().currentId;
    return current == primary ? 0 : current;
}

unsigned SetCurrentId(unsigned id) { return std::exchange(Mine().currentId, id); }

unsigned UniqueId()
{
    if (CurrentId() == 0)
        return 0;
    Record& mine = Mine();
    if (mine.uniqueId == 0)
        mine.uniqueId = NextUniqueId();
    return mine.uniqueId;
}

unsigned ParentId() { return Mine().parentId; }

void SetParentId(unsigned id) { Mine().parentId = id; }

bool SetFutureOwnership(bool on) { return std::exchange(Mine().futureOwnership, on); }

bool DeclareThreadSafe(bool on) { return declaredThreadSafe.exchange(on); }

bool TestThreadSafeModify(const Affinity&, unsigned) { return true; }

namespace impl
{
bool FutureOwnership() { return Mine().futureOwnership; }
} // namespace impl

} // namespace sys::thread::affinity

namespace sys::thread
{

Origin::Origin() : record(&affinity::Mine()), currentId(affinity::CurrentId()) {}

ParentScope::ParentScope(const Origin& origin) : isOther_(origin.record != &affinity::Mine())
{
    if (isOther_)
        parentId_ = std::exchange(affinity::Mine().parentId, origin.currentId);
}

ParentScope::~ParentScope()
{
    if (isOther_)
        affinity::Mine().parentId = parentId_;
}

} // namespace sys::thread
