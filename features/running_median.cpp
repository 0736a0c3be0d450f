#include "features/running_median.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace veloria {

namespace {

bool nan_last_less(double a, double b)
{
    return a < b || (a == a && b != b);
}

// The last values of a row, in the order of arrival and in ascending order.
class median_window {
public:
    explicit median_window(int length) : ring(static_cast<std::size_t>(length), 0.0), sorted(ring), oldest(ring.begin())
    {}

    // Moves the values between the one that leaves and the one that enters by one place.
    void push(double entering)
    {
        const auto leaves = std::lower_bound(sorted.begin(), sorted.end(), *oldest, nan_last_less);
        const auto enters = std::lower_bound(sorted.begin(), sorted.end(), entering, nan_last_less);
        if (leaves < enters) {
            std::move(leaves + 1, enters, leaves);
            *(enters - 1) = entering;
        } else {
            std::move_backward(enters, leaves, leaves + 1);
            *enters = entering;
        }
        *oldest = entering;
        if (++oldest == ring.end())
            oldest = ring.begin();
    }

    double median() const
    {
        const std::size_t middle = sorted.size() / 2;
        return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) * 0.5;
    }

private:
    std::vector<double> ring;
    std::vector<double> sorted;
    std::vector<double>::iterator oldest;
};

} // namespace

void median_filter_rows(tavel::Matrix<double>& matrix, int length)
{
    if (matrix.columns < length || length < 2)
        return;
    const int ahead = length - length / 2 - 1;
    for (int r = 0; r < matrix.rows; ++r) {
        median_window window(length);
        for (int t = 0; t < ahead; ++t)
            window.push(matrix(r, t));
        for (int t = 0; t < matrix.columns; ++t) {
            window.push(t + ahead < matrix.columns ? matrix(r, t + ahead) : 0.0);
            matrix(r, t) = window.median();
        }
    }
}

} // namespace veloria
