/// @file
/// The errors that the whole library raises.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Every function makes one error. Texts and paths are inserted verbatim into its message.
namespace KviError
{

/// An unspecified error.
KVI_API gtl::status Undefined();
/// A service of the library failed.
KVI_API gtl::status mngsrv();
/// @{
/// A text breaks the rules of its language.
KVI_API gtl::status syntax(std::string_view text);
/// The same for wide text.
KVI_API gtl::status syntax(std::wstring_view text);
/// @}
/// @{
/// Code that should not throw did.
KVI_API gtl::status unexpected_exception(std::string_view text);
/// The same for wide text.
KVI_API gtl::status unexpected_exception(std::wstring_view text);
/// @}

/// The system function @p service failed; adds the text of the thread's last system error.
KVI_API gtl::status err_sysserv(std::wstring_view service);
/// @{
/// The system function failed, with a reason given by the caller.
KVI_API gtl::status err_sysserv(std::wstring_view service, std::wstring_view reason);
/// The system function failed, with two texts of the caller's.
KVI_API gtl::status err_sysserv(std::wstring_view service, std::wstring_view reason,
                                std::wstring_view reason2);
/// @}
/// A library could not be loaded.
/// @param number  the system's error number, or 0 for none
KVI_API gtl::status dll_load(std::wstring_view name, unsigned long number);
/// A condition that the code relies on does not hold at @p line of @p file; adds the text of the
/// thread's last system error unless its number is 0.
KVI_API gtl::status internal(std::string_view expression, std::string_view file, std::int32_t line);

/// Both messages, verbatim, with a blank line between them.
KVI_API gtl::status join(const gtl::status& first, const gtl::status& second);
/// The message of @p head with those of @p list as a numbered list.
KVI_API gtl::status compound(const gtl::status& head, const std::vector<gtl::status>& list);

/// Errors about files; a reason is usually a KVISysMsg.
namespace File
{

/// No program is registered for opening @p path.
KVI_API gtl::status shell_missing_association(std::wstring_view path, std::wstring_view reason);
/// @p from could not be copied to @p to.
KVI_API gtl::status copy(std::wstring_view from, std::wstring_view to, std::wstring_view reason);
/// The folder @p path could not be made.
KVI_API gtl::status create_dir(std::wstring_view path, std::wstring_view reason);
/// @p path could not be deleted.
KVI_API gtl::status del(std::wstring_view path, std::wstring_view reason);
/// @p path could not be searched.
KVI_API gtl::status find(std::wstring_view path, std::wstring_view reason);
/// The folder of temporary files is not known.
KVI_API gtl::status get_temp_path(std::wstring_view reason);
/// @p path is no valid path.
KVI_API gtl::status invalid_path(std::wstring_view path);
/// There is no file @p path.
KVI_API gtl::status file_not_found(std::wstring_view path);
/// @p path could not be opened.
KVI_API gtl::status open(std::wstring_view path, std::wstring_view reason);
/// @param limit  the most characters that a path may have
KVI_API gtl::status file_path_too_long(std::wstring_view path, unsigned limit);
/// @p path could not be read.
KVI_API gtl::status read(std::wstring_view path, std::wstring_view reason);
/// @p from could not be renamed to @p to.
KVI_API gtl::status rename(std::wstring_view from, std::wstring_view to, std::wstring_view reason);
/// @p path is read-only and was not replaced.
KVI_API gtl::status save_over_readonly(std::wstring_view path);
/// The attributes of @p path could not be set.
KVI_API gtl::status set_attrib(std::wstring_view path, std::wstring_view reason);
/// @p path could not be written.
KVI_API gtl::status write(std::wstring_view path, std::wstring_view reason);
/// The kind of file of @p path is not known.
KVI_API gtl::status unknown_file_type(std::wstring_view path);

} // namespace File

} // namespace KviError
