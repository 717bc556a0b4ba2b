/// @file
/// The legal range of a parameter in the library's catalogue.
#pragma once

#include "KVI.h"
#include "problem/JsonReader.h"

namespace percova
{

/// Reports when @p value of @p key is not legal, with the catalogue's message.
/// @returns whether it is legal
bool CheckLegal(const JsonReader& reader, const char* key, DataParamType parameter, double value);

/// Reads the number under @p key and checks it.
/// @returns whether there is a legal one
bool GetLegal(JsonReader& reader, const char* key, DataParamType parameter, double& value,
              Need need = Need::Required);

/// The same for a divisor that the catalogue allows to be zero.
bool GetNonZero(JsonReader& reader, const char* key, DataParamType parameter, double& value,
                Need need = Need::Required);

} // namespace percova
