/// @file
/// Objects that live until the library is unloaded.
#pragma once

#include <utility>

namespace platform
{

namespace impl
{
/// An object in the list of those to destroy.
struct UnloadNode
{
    void (*destroy)(UnloadNode*) = nullptr;
    UnloadNode* next = nullptr;
};
/// Threads: any. Allocates nothing.
void DestroyAtUnload(UnloadNode& node);
/// The library is being unloaded, not the process ending.
void BeginUnload();
} // namespace impl

/// Makes an object that is never destroyed when the process ends, since threads may use it after
/// the statics; if the library is unloaded before that, it is destroyed then, in reverse order of
/// construction.
template <class T, class... Arguments>
T& UntilUnload(Arguments&&... arguments)
{
    struct Node : impl::UnloadNode
    {
        explicit Node(Arguments&&... all) : value(std::forward<Arguments>(all)...) {}
        T value;
    };
    auto* const node = new Node(std::forward<Arguments>(arguments)...);
    node->destroy = [](impl::UnloadNode* made) { delete static_cast<Node*>(made); };
    impl::DestroyAtUnload(*node);
    return node->value;
}

} // namespace platform
