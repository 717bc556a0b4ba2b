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

bool GetLegal(JsonReader& reader, const char* key, DataParamType parameter, double& value,
              Need need)
{
    return reader.GetNumber(key, value, need) && CheckLegal(reader, key, parameter, value);
}

bool GetNonZero(JsonReader& reader, const char* key, DataParamType parameter, double& value,
                Need need)
{
    if (!GetLegal(reader, key, parameter, value, need))
        return false;
    if (value == 0)
        reader.Error(key, "should not be zero");
    return value != 0;
}

} // namespace percova
