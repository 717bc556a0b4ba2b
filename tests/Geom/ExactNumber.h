/// @file
/// Numbers without rounding, against which predicates are judged: a long integer times a power of
/// two. Every double is one, and so are sums, differences and products of them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

class ExactNumber
{
public:
    ExactNumber(double value) // NOLINT(google-explicit-constructor): doubles mix with these
    {
        const double fraction = std::frexp(std::fabs(value), &exponent_);
        exponent_ -= 64;
        const auto bits = static_cast<std::uint64_t>(std::ldexp(fraction, 64 - 1)) << 1;
        limbs_ = {static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32)};
        sign_ = value > 0 ? 1 : value < 0 ? -1 : 0;
    }

    int Sign() const { return sign_; }
    ExactNumber operator-() const
    {
        ExactNumber negative = *this;
        negative.sign_ = -sign_;
        return negative;
    }
    ExactNumber Abs() const { return sign_ < 0 ? -*this : *this; }

    friend ExactNumber operator+(ExactNumber a, ExactNumber b)
    {
        if (a.sign_ == 0 || b.sign_ == 0)
            return a.sign_ == 0 ? b : a;
        const int exponent = std::min(a.exponent_, b.exponent_);
        a.ScaleTo(exponent);
        b.ScaleTo(exponent);
        if (a.Magnitude() < b.Magnitude())
            std::swap(a, b);
        std::int64_t carry = 0;
        for (std::size_t i = 0; i < a.limbs_.size(); ++i)
        {
            const std::int64_t other = i < b.limbs_.size() ? b.limbs_[i] : 0;
            const std::int64_t sum = a.limbs_[i] + a.sign_ * b.sign_ * other + carry;
            a.limbs_[i] = static_cast<std::uint32_t>(sum);
            carry = sum >> 32; // also of a negative sum
        }
        a.limbs_.push_back(static_cast<std::uint32_t>(carry));
        if (std::all_of(a.limbs_.begin(), a.limbs_.end(), [](auto limb) { return limb == 0; }))
            a.sign_ = 0;
        return a;
    }
    friend ExactNumber operator-(const ExactNumber& a, const ExactNumber& b) { return a + -b; }
    friend ExactNumber operator*(const ExactNumber& a, const ExactNumber& b)
    {
        ExactNumber product = a;
        product.sign_ = a.sign_ * b.sign_;
        product.exponent_ = a.exponent_ + b.exponent_;
        product.limbs_.assign(a.limbs_.size() + b.limbs_.size(), 0);
        for (std::size_t i = 0; i < a.limbs_.size(); ++i)
        {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < b.limbs_.size() || carry != 0; ++j)
            {
                const std::uint64_t other = j < b.limbs_.size() ? b.limbs_[j] : 0;
                carry += product.limbs_[i + j] + std::uint64_t{a.limbs_[i]} * other;
                product.limbs_[i + j] = static_cast<std::uint32_t>(carry);
                carry >>= 32;
            }
        }
        return product;
    }
    friend bool operator>(const ExactNumber& a, const ExactNumber& b) { return (a - b).Sign() > 0; }

private:
    /// The limbs from the highest down, without leading zeros: in the order of their lengths first.
    std::pair<std::size_t, std::vector<std::uint32_t>> Magnitude() const
    {
        std::vector<std::uint32_t> digits(limbs_.rbegin(), limbs_.rend());
        digits.erase(digits.begin(), std::find_if(digits.begin(), digits.end(),
                                                  [](auto limb) { return limb != 0; }));
        return {digits.size(), digits};
    }
    void ScaleTo(int exponent)
    {
        for (; exponent_ - exponent >= 32; exponent_ -= 32)
            limbs_.insert(limbs_.begin(), 0);
        const int shift = exponent_ - exponent;
        std::uint64_t carry = 0;
        for (std::uint32_t& limb : limbs_)
        {
            carry |= std::uint64_t{limb} << shift;
            limb = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        limbs_.push_back(static_cast<std::uint32_t>(carry));
        exponent_ = exponent;
    }

    std::vector<std::uint32_t> limbs_; ///< the lowest first
    int exponent_ = 0;
    int sign_ = 0;
};
