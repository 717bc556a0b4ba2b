/// @file
/// Exact numbers as the reference of predicates: doubles of magnitudes from 2^-250 to 2^60, sums of
/// them, products of two such, and sums of products.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>

/// The sum of whole numbers times powers of 2^24. What is added or multiplied is carried only where
/// the sign is asked for.
class ExactNumber
{
public:
    ExactNumber(double value) // NOLINT(google-explicit-constructor): doubles mix with these
    {
        int exponent = 0;
        std::frexp(value, &exponent);
        for (int i = (exponent + 24 * kUnit) / 24; value != 0; --i)
        {
            const double unit = std::ldexp(1, 24 * (i - kUnit)), digit = std::trunc(value / unit);
            digits_.at(i) = std::int64_t(digit);
            value -= digit * unit;
        }
    }

    int Sign() const
    {
        std::int64_t carry = 0, rest = 0;
        for (const std::int64_t digit : digits_)
        {
            carry += digit;
            rest |= carry & 0xffffff;
            carry >>= 24;
        }
        return carry < 0 ? -1 : carry > 0 || rest != 0;
    }
    ExactNumber Abs() const { return Sign() < 0 ? -*this : *this; }

    friend ExactNumber operator+(ExactNumber a, const ExactNumber& b)
    {
        for (int i = 0; i < 2 * kUnit; ++i)
            a.digits_[i] += b.digits_[i];
        return a;
    }
    friend ExactNumber operator*(const ExactNumber& a, const ExactNumber& b)
    {
        ExactNumber product = 0;
        for (int i = 0; i < 2 * kUnit; ++i)
            for (int k = 0; k < 2 * kUnit && a.digits_[i] != 0; ++k)
                if (b.digits_[k] != 0)
                    product.digits_.at(i + k - kUnit) += a.digits_[i] * b.digits_[k];
        return product;
    }
    friend ExactNumber operator-(const ExactNumber& a) { return a * -1; }
    friend ExactNumber operator-(const ExactNumber& a, const ExactNumber& b) { return a + -b; }
    friend bool operator>(const ExactNumber& a, const ExactNumber& b) { return (a - b).Sign() > 0; }

private:
    static constexpr int kUnit = 32; // the digit of 1
    std::array<std::int64_t, 2 * kUnit> digits_ = {};
};
