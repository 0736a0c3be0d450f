#pragma once

#include <cstddef>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "sections/square.h"

/// A square of bytes as a gabarit has it, filled by a rule.
struct made_square {
    int n;
    std::vector<unsigned char> bytes;

    explicit made_square(int size) : n(size), bytes(static_cast<std::size_t>(size) * static_cast<std::size_t>(size)) {}

    unsigned char& at(int i, int j)
    {
        return bytes[static_cast<std::size_t>(i) * static_cast<std::size_t>(n) + static_cast<std::size_t>(j)];
    }

    sections::square view() const { return {bytes, n}; }

    template <class LIKENESS>
    made_square& fill(const LIKENESS& likeness)
    {
        for (int i = 0; i < n; ++i)
            for (int j = i; j < n; ++j)
                at(i, j) = at(j, i) = i == j ? 255 : static_cast<unsigned char>(likeness(i, j));
        return *this;
    }
};

/// What a moment sounds like: its letter, and how far into the part it is.
struct moment {
    char letter;
    int phase;
};

inline std::vector<moment> moments_of(const std::string& form, const std::vector<int>& lengths)
{
    std::vector<moment> moments;
    for (std::size_t k = 0; k < form.size(); ++k)
        for (int phase = 0; phase < lengths[k]; ++phase)
            moments.push_back({form[k], phase});
    return moments;
}

/// Equal moments of a part are nearly the same, others of one part somewhat alike, those of two parts less; windows
/// overlap by half.
/// @param form     a letter for each section
/// @param lengths  of the sections, in moments
inline made_square song(const std::string& form, const std::vector<int>& lengths)
{
    const std::vector<moment> moments = moments_of(form, lengths);
    std::mt19937 random(7);
    return made_square(static_cast<int>(moments.size())).fill([&](int i, int j) {
        const moment a = moments[static_cast<std::size_t>(i)], b = moments[static_cast<std::size_t>(j)];
        const int shade = static_cast<int>(random() % 32);
        if (a.letter != b.letter)
            return 50 + shade;
        const int apart = std::abs(a.phase - b.phase);
        return apart == 0 ? 220 + shade : apart == 1 ? 190 + shade : 130 + shade;
    });
}
