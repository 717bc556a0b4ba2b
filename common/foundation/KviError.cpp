#include "foundation/KviError.h"

#include "foundation/KVISysMsg.h"
#include "platform/platform_error.h"
#include "platform/platform_text.h"

namespace
{
std::wstring Number(std::uint64_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

/// The template whose message is @p text: percent signs are doubled.
std::wstring AsTemplate(std::wstring_view text)
{
    std::wstring escaped;
    for (const wchar_t letter : text)
        escaped.append(letter == L'%' ? 2 : 1, letter);
    return escaped;
}
} // namespace

namespace KviError
{

gtl::status Undefined() { return gtl::status(24181); }

gtl::status mngsrv() { return gtl::status(20706); }

gtl::status syntax(std::string_view text) { return syntax(platform::Wide(text)); }

gtl::status syntax(std::wstring_view text) { return gtl::status(20754, text); }

gtl::status unexpected_exception(std::string_view text)
{
    return unexpected_exception(platform::Wide(text));
}

gtl::status unexpected_exception(std::wstring_view text) { return gtl::status(20654, text); }

gtl::status err_sysserv(std::wstring_view service)
{
    const unsigned long number = platform::LastErrorNumber();
    return err_sysserv(service, KVISysMsg(number));
}

gtl::status err_sysserv(std::wstring_view service, std::wstring_view reason)
{
    return gtl::status(20755, service, reason);
}

gtl::status err_sysserv(std::wstring_view service, std::wstring_view reason,
                        std::wstring_view reason2)
{
    return gtl::status(20755, service, reason, reason2);
}

gtl::status dll_load(std::wstring_view name, unsigned long number)
{
    return gtl::status(20503, name, number != 0 ? KVISysMsg(number) : std::wstring());
}

gtl::status internal(std::string_view expression, std::string_view file, std::int32_t line)
{
    const unsigned long number = platform::LastErrorNumber();
    return gtl::status::AtSource(20571, platform::Wide(expression),
                                 number != 0 ? KVISysMsg(number) : std::wstring(), file, line);
}

gtl::status join(const gtl::status& first, const gtl::status& second)
{
    return gtl::status(AsTemplate(first.as_wstring()) + L"\n\n" + AsTemplate(second.as_wstring()));
}

gtl::status compound(const gtl::status& head, const std::vector<gtl::status>& list)
{
    std::wstring numbered;
    for (std::size_t i = 0; i < list.size(); ++i)
        numbered += L"\r\n  " + Number(i + 1) + L". " + list[i].as_wstring();
    return gtl::status(20471, head.as_wstring(), numbered);
}

} // namespace KviError

namespace KviError::File
{

gtl::status shell_missing_association(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20514, path, reason);
}

gtl::status copy(std::wstring_view from, std::wstring_view to, std::wstring_view reason)
{
    return gtl::status(20516, from, to, reason);
}

gtl::status create_dir(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20517, path, reason);
}

gtl::status del(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20518, path, reason);
}

gtl::status find(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20519, path, reason);
}

gtl::status get_temp_path(std::wstring_view reason) { return gtl::status(20520, reason); }

gtl::status invalid_path(std::wstring_view path) { return gtl::status(20521, path); }

gtl::status file_not_found(std::wstring_view path) { return gtl::status(20524, path); }

gtl::status open(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20526, path, reason);
}

gtl::status file_path_too_long(std::wstring_view path, unsigned limit)
{
    return gtl::status(20527, path, Number(limit));
}

gtl::status read(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20536, path, reason);
}

gtl::status rename(std::wstring_view from, std::wstring_view to, std::wstring_view reason)
{
    return gtl::status(20538, from, to, reason);
}

gtl::status save_over_readonly(std::wstring_view path) { return gtl::status(20539, path); }

gtl::status set_attrib(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20540, path, reason);
}

gtl::status write(std::wstring_view path, std::wstring_view reason)
{
    return gtl::status(20541, path, reason);
}

gtl::status unknown_file_type(std::wstring_view path) { return gtl::status(20758, path); }

} // namespace KviError::File
