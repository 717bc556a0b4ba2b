#include "problem/Legal.h"

namespace percova
{

bool CheckLegal(const JsonReader& reader, const char* key, DataParamType parameter, double value)
{
    const gtl::status legal = dataparamtype::IsRangeValid(parameter, value);
    if (!legal.ok())
        reader.Error(key, str::as_u8string(legal.as_wstring()).bytes());
    return legal.ok();
}

void GetLegal(JsonReader& reader, const char* key, DataParamType parameter, double& value,
              Need need)
{
    if (reader.GetNumber(key, value, need))
        (void)CheckLegal(reader, key, parameter, value); // reported there
}

void CheckNotZero(const JsonReader& reader, const char* key, double value)
{
    if (value == 0)
        reader.Error(key, "should not be zero");
}

} // namespace percova
