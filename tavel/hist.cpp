#include "tavel/hist.h"

#include <algorithm>
#include <iostream>

namespace tavel {

void hist(const Vector<double>& data, const Vector<double>& centres, Vector<double>& counts)
{
    if (centres.size != counts.size)
        std::cerr << "hist: center and output array must have the same number of elements\n";
    if (centres.size == 0)
        return;

    const int edge_count = centres.size - 1;
    Vector<double> edges(edge_count);
    for (int i = 0; i < edge_count; ++i)
        edges[i] = centres[i] + (centres[i + 1] - centres[i]) / 2.0;
    for (const double value : data) {
        const auto bin = std::lower_bound(edges.begin(), edges.end(), value) - edges.begin();
        if (value == value && bin < counts.size)
            counts[static_cast<int>(bin)] += 1.0;
    }
}

} // namespace tavel
