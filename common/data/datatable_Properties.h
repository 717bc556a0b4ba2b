/// @file
/// The quantities that a kind of table stores, computes and persists.
#pragma once

#include "data/DataParamCalculator.h"
#include "data/DataParamType.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace datatable
{

/// The quantities of one kind of table: stored ones, computed ones with their calculators, and the
/// persisted ones, which documents keep.
///
/// Threads: any number may read at once; none may while another registers.
/// @code
/// datatable::Properties nodes(dataparam::Node, datatable::Properties::KeyCase::Persisted);
/// nodes.RegisterStoredParam(head, datatable::Properties::PersistenceCase::Persisted);
/// nodes.RegisterComputedParam(pressure, calculator);
/// @endcode
class KVI_API Properties
{
public:
    /// What documents do with a stored quantity. Other numbers are kept, and persist nothing.
    enum class PersistenceCase : std::int32_t
    {
        NotPersisted = 0, ///< computed again when needed
        Persisted = 1     ///< kept in documents
    };
    /// What documents do with the quantity that identifies the rows.
    enum class KeyCase : std::int32_t
    {
        NotPersisted = 0, ///< rows are identified by their number
        Persisted = 1     ///< it is persisted as soon as any quantity is
    };

    /// For tables without a key.
    Properties() = default;
    /// @param key  the quantity that identifies the rows
    Properties(DataParamType key, KeyCase keyCase);

    /// Adds a stored quantity; with Persisted also to the persisted ones.
    void RegisterStoredParam(DataParamType param, PersistenceCase persistence);
    /// Adds a computed quantity, or replaces its calculator.
    void RegisterComputedParam(DataParamType param, const DataParamCalculator& calculator);

    /// Whether @p param is stored or computed.
    bool HasParameter(DataParamType param) const;
    bool HasStoredParameter(DataParamType param) const;    ///< with any persistence case
    bool HasComputedParameter(DataParamType param) const;  ///< whether it was registered so
    bool HasPersistedParameter(DataParamType param) const; ///< whether documents keep it

    /// The stored ones by their number, then the computed ones as registered; each once.
    std::vector<DataParamType> Parameters() const;
    std::vector<DataParamType> StoredParameters() const;    ///< by their number, each once
    std::vector<DataParamType> ComputedParameters() const;  ///< in the order of registration
    std::vector<DataParamType> PersistedParameters() const; ///< by their number
    /// The calculator of a computed quantity; an invalid one for any other.
    DataParamCalculator GetCalculator(DataParamType param) const;

private:
    std::set<std::pair<DataParamType, PersistenceCase>> stored_;
    std::vector<std::pair<DataParamType, DataParamCalculator>> computed_;
    std::set<DataParamType> persisted_;
    DataParamType key_ = DataParamType::None;
    KeyCase keyCase_ = KeyCase::NotPersisted;
};

} // namespace datatable
