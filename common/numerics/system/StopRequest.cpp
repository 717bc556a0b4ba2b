#include "numerics/system/StopRequest.h"

namespace numerics
{
namespace
{

thread_local const StopRequest* current = nullptr;

} // namespace

StopRequest::Scope::Scope(StopRequest& request) : request_(request), before_(current)
{
    request.state_ = State::Running;
    current = &request;
}

StopRequest::Scope::~Scope()
{
    current = before_;
    request_.state_ = State::Idle;
}

const StopRequest* StopRequest::Current() { return current; }

} // namespace numerics
