#include "features/standardize_columns.h"

#include <cmath>

#include "tavel/mean.h"

namespace veloria {

namespace {

// sqrt((sum of squares - sum^2 / n) / (n - 1)). The sum of a centered column is 0 but for rounding, whose part is taken
// off.
double deviation_of_centered(const double* column, int rows)
{
    double sum = 0.0;
    double squares = 0.0;
    for (int i = 0; i < rows; ++i) {
        sum += column[i];
        squares += column[i] * column[i];
    }
    const double divisor = rows - 1 > 1 ? rows - 1 : 1;
    const double variance = (squares - sum * sum / rows) / divisor;
    return variance > 0.0 ? std::sqrt(variance) : 0.0;
}

} // namespace

void standardize_columns(tavel::Vector<tavel::Matrix<double>>& streams)
{
    for (tavel::Matrix<double>& stream : streams) {
        const tavel::Vector<double> means = tavel::mean(stream, 1);
        for (int c = 0; c < stream.columns; ++c) {
            auto column = stream(tavel::all, c);
            column = column - means[c];
            const double deviation = deviation_of_centered(stream.column_data(c), stream.rows);
            if (deviation != 0.0)
                column = column / deviation;
        }
    }
}

} // namespace veloria
