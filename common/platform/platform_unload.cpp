#include "platform/platform_unload.h"

#include <atomic>

namespace platform::impl
{
namespace
{

constinit std::atomic<UnloadNode*> newest{nullptr};
constinit std::atomic<bool> isEnding{false}, isUnloading{false};

/// Made before the statics of functions, and so destroyed after them.
struct Last
{
    constexpr Last() = default;
    ~Last()
    {
        isEnding = true;
        if (!isUnloading)
            return;
        UnloadNode* node = newest.exchange(nullptr);
        while (node != nullptr)
        {
            UnloadNode* const next = node->next;
            node->destroy(node);
            node = next;
        }
    }
};
constinit const Last last;

} // namespace

void DestroyAtUnload(UnloadNode& node)
{
    node.next = newest;
    while (!newest.compare_exchange_weak(node.next, &node))
    {
    }
}

void BeginUnload() { isUnloading = !isEnding; }

} // namespace platform::impl
