#pragma once

#include <vector>

#include "sections/parameters.h"
#include "sections/square.h"

namespace sections {

/// A passage that comes again `lag` moments later.
struct stripe {
    range passage;
    int lag;
};

/// Finds the stripes beside the diagonal: entries along it that are bright in the mean and stand out from what lies
/// a little earlier and later, as a held chord, which is alike at all lags, doesn't.
std::vector<stripe> find_stripes(const square& similarity, const parameters& chosen, const moment_counts& counts);

/// Which moments near each other lie on the same stripes: at a cut, stripes begin and end.
/// Structure features: J. Serra, M. Mueller, P. Grosche, J. Ll. Arcos, IEEE Trans. Multimedia 16(5), 2014.
class common_stripes {
public:
    /// @param n        moments
    /// @param longest  distance up to which pairs are asked for
    common_stripes(int n, int longest, const std::vector<stripe>& stripes);

    /// Stripes that moments i and i + distance share, as a part of all stripes that either lies on; 1 where there are
    /// none. In units of 1 / 65536.
    int share(int i, int distance) const;

private:
    int count(int i, int distance) const;

    int row_length;
    std::vector<int> counts; // by moment and distance
};

} // namespace sections
