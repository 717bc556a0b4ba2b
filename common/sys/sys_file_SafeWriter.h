/// @file
/// Writing a file completely or not at all.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <memory>
#include <string>
#include <string_view>

namespace sys::file
{

/// Writes a file that appears under its name when it is complete; until then, and after a failure
/// or a kill, the old file, if any, is unchanged.
///
/// The bytes go to a new file in the same folder, which is opened once: a file without a name or,
/// where the system has none, one with a random name that is created exclusively. It cannot be
/// redirected by a link. A link with the final name is replaced, not followed. An existing file
/// keeps its permissions (on Linux if it belongs to this user); a read-only one, a folder, a pipe
/// or a device is not replaced. A killed process may leave a file ".kvi*" ("~kvi*.tmp" on Windows).
///
/// Threads: one at a time.
/// @code
/// SafeWriter writer;
/// gtl::status written = writer.Open(L"C:\\dams\\north.csv");
/// if (written.ok())
///     written = writer.Write("time,head\n");
/// if (written.ok())
///     written = writer.Commit(); // now it is there, and on the disk
/// @endcode
class KVI_API SafeWriter
{
public:
    SafeWriter();
    ~SafeWriter(); ///< discards what was not committed
    SafeWriter(const SafeWriter&) = delete;
    SafeWriter& operator=(const SafeWriter&) = delete;

    /// Begins the file @p path; what was not committed before is discarded.
    /// @returns invalid_path, file_path_too_long, save_over_readonly, or write with the reason
    gtl::status Open(const std::wstring& path);
    /// Appends bytes. @returns ok, or write with the reason; the file is discarded then
    gtl::status Write(std::string_view bytes);
    /// Writes everything to the disk, then gives the file its name.
    /// @returns ok, or write with the reason. Only a disk that fails after the naming leaves the
    /// new file there.
    gtl::status Commit();
    /// Discards what was not committed.
    void Close();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace sys::file
