#include "Geom/Geom_Cell.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace Geom
{

void Cell::Add(std::uint32_t id)
{
    const std::size_t word = id / 32;
    if (!areBits_)
    {
        const auto at = std::lower_bound(words_.begin(), words_.end(), id);
        if (at != words_.end() && *at == id)
            return;
        const std::uint32_t greatest = words_.empty() ? id : std::max(id, words_.back());
        if (words_.size() <= greatest / 32)
        {
            words_.insert(at, id);
            return;
        }
        std::vector<std::uint32_t> bits(greatest / 32 + 1);
        for (const std::uint32_t other : words_)
            bits[other / 32] |= 1u << other % 32;
        words_.swap(bits);
        areBits_ = true;
    }
    if (word >= words_.size())
    {
        std::vector<std::uint32_t> ids;
        if (word > words_.size() * 2)
            Append(ids);
        if (word > words_.size() * 2 && word > ids.size()) // far beyond: a list is shorter
        {
            ids.push_back(id);
            words_.swap(ids);
            areBits_ = false;
            return;
        }
        words_.resize(word + 1);
    }
    words_[word] |= 1u << id % 32;
}

void Cell::Remove(std::uint32_t id)
{
    if (areBits_)
    {
        if (id / 32 < words_.size())
            words_[id / 32] &= ~(1u << id % 32);
        return;
    }
    const auto at = std::lower_bound(words_.begin(), words_.end(), id);
    if (at != words_.end() && *at == id)
        words_.erase(at);
}

bool Cell::Contains(std::uint32_t id) const
{
    if (areBits_)
        return id / 32 < words_.size() && (words_[id / 32] >> id % 32 & 1) != 0;
    return std::binary_search(words_.begin(), words_.end(), id);
}

bool Cell::IsEmpty() const
{
    return !areBits_ ? words_.empty()
                     : std::all_of(words_.begin(), words_.end(),
                                   [](std::uint32_t word) { return word == 0; });
}

void Cell::Append(std::vector<std::uint32_t>& ids) const
{
    if (!areBits_)
        ids.insert(ids.end(), words_.begin(), words_.end());
    for (std::size_t i = 0; areBits_ && i < words_.size(); ++i)
        for (std::uint32_t rest = words_[i]; rest != 0; rest &= rest - 1)
            ids.push_back(static_cast<std::uint32_t>(i * 32) +
                          static_cast<std::uint32_t>(std::countr_zero(rest)));
}

} // namespace Geom
