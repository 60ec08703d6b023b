// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <random>
#include <string>
#include <string_view>

namespace Tovrin::Testing {

// Texts of up to `longest` characters out of an alphabet, the same ones in every run.
class RandomTexts {
public:
    RandomTexts(std::string_view alphabet, std::size_t longest) : alphabet_(alphabet), longest_(longest) {}

    std::size_t number(std::size_t below) { return std::uniform_int_distribution<std::size_t>(0, below - 1)(engine_); }

    std::string next()
    {
        std::string text(number(longest_ + 1), '\0');
        for (char &c : text)
            c = alphabet_[number(alphabet_.size())];
        return text;
    }

private:
    std::string alphabet_;
    std::size_t longest_;
    std::mt19937 engine_{20240601}; // any seed, but always the same
};

// How many of them a comparison with a reference looks at.
constexpr int RandomRounds = 20000;

// The text with its control characters visible, for failure messages.
inline std::string visible(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out = "<";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 32 && byte < 127)
            out += c;
        else
            ((out += "\\x") += digits[byte >> 4]) += digits[byte & 15];
    }
    return out + ">";
}

} // namespace Tovrin::Testing
