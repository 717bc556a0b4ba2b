#include "Geom/Geom_Cell.h"

#include <algorithm>
#include <bit>

namespace Geom
{

void Cell::Add(std::uint32_t id, std::uint32_t room)
{
    const std::size_t word = id / 32;
    if (word >= words_.size())
        words_.resize(std::max<std::size_t>(word, room / 32) + 1);
    words_[word] |= 1u << id % 32;
}

void Cell::Remove(std::uint32_t id)
{
    if (id / 32 < words_.size())
        words_[id / 32] &= ~(1u << id % 32);
}

void Cell::Unite(const Cell& other)
{
    words_.resize(std::max(words_.size(), other.words_.size()));
    for (std::size_t i = 0; i < other.words_.size(); ++i)
        words_[i] |= other.words_[i];
}

bool Cell::Contains(std::uint32_t id) const
{
    return id / 32 < words_.size() && (words_[id / 32] >> id % 32 & 1) != 0;
}

bool Cell::IsEmpty() const
{
    return std::all_of(words_.begin(), words_.end(), [](std::uint32_t word) { return word == 0; });
}

void Cell::Append(std::vector<std::uint32_t>& ids) const
{
    for (std::size_t i = 0; i < words_.size(); ++i)
        for (std::uint32_t rest = words_[i]; rest != 0; rest &= rest - 1)
            ids.push_back(static_cast<std::uint32_t>(i * 32) +
                          static_cast<std::uint32_t>(std::countr_zero(rest)));
}

} // namespace Geom
