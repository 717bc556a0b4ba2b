#include "sys/thread/ReportFailure.h"

#include "foundation/KviError.h"
#include "foundation/kvidbg.h"

namespace sys::thread
{

void ReportFailure(std::wstring_view function)
{
    const gtl::status failure = KviError::err_sysserv(function);
    static const kvi::diag::DeclareCategoryMask kCategory("Thread");
    KVI_LOG(kvi::diag::error, kCategory, failure.as_wstring());
}

} // namespace sys::thread
