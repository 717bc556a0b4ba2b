/// @file
/// The analysis products of the suite.
#pragma once

#include "foundation/kvi_export.h"

#include <cstdint>
#include <string>
#include <string_view>

/// One product of the suite; the numbers are stored in documents.
enum class AnalysisKind : std::int32_t
{
    Solvera = 0,      ///< contaminant transport
    Tremova = 1,      ///< dynamic (earthquake) response
    Percova = 2,      ///< seepage
    Deforma = 3,      ///< stress and deformation
    Stabra = 4,       ///< slope stability
    Thermova = 5,     ///< heat transfer
    Vadova = 6,       ///< unsaturated zone
    Aerova = 7,       ///< air flow
    None = 2147483647 ///< no product
};

/// Names of the analysis products. Threads: any.
namespace analysiskind
{

/// The name under which settings and files know @p kind, such as "percova"; empty for None and for
/// numbers that are no product.
KVI_API std::string LookupNameByKind(AnalysisKind kind);
/// The product named @p name, in lower case as LookupNameByKind gives it; None for any other text.
KVI_API AnalysisKind KindByLookupName(std::string_view name);

} // namespace analysiskind
