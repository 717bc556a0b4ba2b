#include "output/files/Provenance.h"

#include "KVI.h"

#include <chrono>

namespace percova
{
namespace
{

std::string Padded(unsigned value)
{
    const std::string text = std::to_string(value);
    return text.size() < 2 ? '0' + text : text;
}

} // namespace

std::string UtcNow()
{
    namespace chrono = std::chrono;
    const auto now = chrono::floor<chrono::seconds>(chrono::system_clock::now());
    const auto day = chrono::floor<chrono::days>(now);
    const chrono::year_month_day date(day);
    const chrono::hh_mm_ss time(now - day);
    return std::to_string(int(date.year())) + '-' + Padded(unsigned(date.month())) + '-' +
           Padded(unsigned(date.day())) + 'T' + Padded(unsigned(time.hours().count())) + ':' +
           Padded(unsigned(time.minutes().count())) + ':' +
           Padded(unsigned(time.seconds().count())) + 'Z';
}

std::string ProgramVersion()
{
    return "percova on KVI " + std::to_string(KVI_VERSION_MAJOR) + '.' +
           std::to_string(KVI_VERSION_MINOR) + '.' + std::to_string(KVI_VERSION_PATCH);
}

} // namespace percova
