/// @file
/// The legal range of a parameter, as the library's catalogue has it.
#pragma once

#include "KVI.h"
#include "problem/JsonReader.h"

namespace percova
{

/// Tells when @p value, which stands under @p key, is not legal, in the catalogue's own words.
/// @returns whether it is legal
bool CheckLegal(const JsonReader& reader, const char* key, DataParamType parameter, double value);

/// Reads the number under @p key and checks it.
void GetLegal(JsonReader& reader, const char* key, DataParamType parameter, double& value,
              Need need = Need::Required);

/// For a number that the catalogue lets be zero and that is divided by.
void CheckNotZero(const JsonReader& reader, const char* key, double value);

} // namespace percova
