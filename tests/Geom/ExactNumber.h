/// @file
/// Exact numbers as the reference of predicates: doubles of magnitudes from 2^-250 to 2^60, sums of
/// them, products of two such, and sums of products.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

/// A whole number of 768 bits, the lowest 32 first, a negative one as its complement of two; in
/// units of 2^-320, a product in units of 2^-640.
class ExactNumber
{
public:
    ExactNumber(double value) // NOLINT(google-explicit-constructor): doubles mix with these
    {
        int exponent = 0;
        const double fraction = std::frexp(std::fabs(value), &exponent);
        const auto bits = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
        const int lowest = exponent - 53 + kUnit;
        if (lowest < 0 || lowest > kUnit + 8)
            std::abort();
        for (int bit = 0; bit < 53; ++bit)
            limbs_[(lowest + bit) / 32] |= std::uint32_t(bits >> bit & 1) << (lowest + bit) % 32;
        if (value < 0)
            *this = -*this;
    }

    int Sign() const
    {
        const auto isZero = [](std::uint32_t limb) { return limb == 0; };
        if (limbs_.back() >> 31 != 0)
            return -1;
        return std::all_of(limbs_.begin(), limbs_.end(), isZero) ? 0 : 1;
    }
    ExactNumber operator-() const
    {
        ExactNumber negative = *this;
        std::uint64_t carry = 1;
        for (std::uint32_t& limb : negative.limbs_)
            limb = Take(carry += std::uint32_t(~limb));
        return negative;
    }
    ExactNumber Abs() const { return Sign() < 0 ? -*this : *this; }

    friend ExactNumber operator+(ExactNumber a, const ExactNumber& b)
    {
        if (a.isProduct_ != b.isProduct_)
            return a.isProduct_ ? a + b * 1 : a * 1 + b;
        std::uint64_t carry = 0;
        for (int i = 0; i < kLimbs; ++i)
            a.limbs_[i] = Take(carry += std::uint64_t{a.limbs_[i]} + b.limbs_[i]);
        return a;
    }
    friend ExactNumber operator-(const ExactNumber& a, const ExactNumber& b) { return a + -b; }
    friend ExactNumber operator*(const ExactNumber& a, const ExactNumber& b)
    {
        ExactNumber product = 0;
        product.isProduct_ = true;
        for (int i = 0; i < kLimbs; ++i) // the lowest 768 bits are those of the complements, too
        {
            std::uint64_t carry = 0;
            for (int j = 0; i + j < kLimbs; ++j)
            {
                std::uint32_t& limb = product.limbs_[i + j];
                limb = Take(carry += limb + std::uint64_t{a.limbs_[i]} * b.limbs_[j]);
            }
        }
        return product;
    }
    friend bool operator>(const ExactNumber& a, const ExactNumber& b) { return (a - b).Sign() > 0; }

private:
    /// Removes and returns the lower half of @p carry.
    static std::uint32_t Take(std::uint64_t& carry)
    {
        const auto low = static_cast<std::uint32_t>(carry);
        carry >>= 32;
        return low;
    }

    static constexpr int kUnit = 320, kLimbs = 24;
    std::array<std::uint32_t, kLimbs> limbs_ = {};
    bool isProduct_ = false;
};
