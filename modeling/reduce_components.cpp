#include "modeling/reduce_components.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "tavel/error.h"
#include "tavel/lapack.h"
#include "tavel/sort.h"

namespace veloria {

namespace {

// Below this, principal axes mean nothing.
constexpr int least_rows_to_reduce = 4;

// Keeps the columns with |mean| >= 0.0 * largest |mean|. The right side is 0 if all means are finite: only columns
// whose mean is NaN go. It is NaN if a mean is infinite: no column passes, and then all of them stay.
void screen_columns(tavel::Matrix<double>& stream)
{
    if (stream.columns == 0)
        throw tavel::error("min/max_elem called for empty expression \n");
    const tavel::Vector<double> means = tavel::mean(stream, 1);
    double largest = 0.0; // a NaN is passed over
    for (const double mean : means)
        largest = std::max(largest, std::fabs(mean));
    const double threshold = 0.0 * largest;
    tavel::Vector<int> selected;
    for (int c = 0; c < stream.columns; ++c) {
        if (std::fabs(means[c]) >= threshold)
            selected.push_back(c);
    }
    if (selected.size > 2 && selected.size < stream.columns)
        stream = tavel::select_columns(stream, selected);
}

void center_columns(tavel::Matrix<double>& stream)
{
    const tavel::Vector<double> means = tavel::mean(stream, 1);
    for (int c = 0; c < stream.columns; ++c) {
        double* column = stream.column_data(c);
        for (int i = 0; i < stream.rows; ++i)
            column[i] -= means[c];
    }
}

// Left singular vectors, a full square of them, and singular values in descending order; destroys `matrix`.
void decompose(tavel::Matrix<double>& matrix, tavel::Matrix<double>& u_full, tavel::Vector<double>& singular)
{
    const int m = matrix.rows;
    const int n = matrix.columns;
    const int leading = std::max(m, 1);
    const int work_length = std::max(5 * singular.size, 3 * singular.size + std::max(m, n));
    tavel::Matrix<double> vt_full(n, n);
    tavel::Vector<double> work(work_length);
    int info = 0; // not looked at: what the routine left is taken
    dgesvd_("A", "A", &m, &n, matrix.data, &leading, singular.data, u_full.data, &leading, vt_full.data, &n, work.data,
            &work_length, &info, 1, 1);
}

// A matrix of more rows than columns as Q R, R an upper triangle with a row for each column. Q, whose columns are
// orthonormal, stays in the form in which LAPACK leaves it.
class triangular_factors {
public:
    // Takes the elements of `matrix` for its own.
    explicit triangular_factors(tavel::Matrix<double>& matrix)
        : reflectors(matrix), scales(matrix.columns), work(block * (matrix.columns + block + 1))
    {
        int info = 0;
        dgeqrf_(&reflectors.rows, &reflectors.columns, reflectors.data, &reflectors.rows, scales.data, work.data,
                &work.size, &info);
    }

    tavel::Matrix<double> triangle() const
    {
        tavel::Matrix<double> r(scales.size, scales.size);
        for (int c = 0; c < r.columns; ++c)
            std::copy_n(reflectors.column_data(c), c + 1, r.column_data(c));
        return r;
    }

    // Q times a matrix that stands in the upper rows of `product`, above zeros.
    void multiply(tavel::Matrix<double>& product)
    {
        int info = 0;
        dormqr_("L", "N", &product.rows, &product.columns, &scales.size, reflectors.data, &reflectors.rows, scales.data,
                product.data, &product.rows, work.data, &work.size, &info, 1, 1);
    }

private:
    static constexpr int block = 64; // columns that LAPACK takes at once, at most
    tavel::Matrix<double> reflectors;
    tavel::Vector<double> scales;
    tavel::Vector<double> work;
};

// Component numbers by descending variance, higher numbers first among equal ones. `variances` is put into that order.
// That is possible in place: the singular values come sorted, so that only equal variances change places.
tavel::Vector<int> order_components(tavel::Vector<double>& variances)
{
    tavel::Vector<double> ascending;
    tavel::Vector<int> order;
    tavel::sort(variances, ascending, order, "ascend");
    std::reverse(order.begin(), order.end());
    for (int i = 0; i < variances.size; ++i)
        variances[i] = variances[order[i]];
    return order;
}

// Positions of the components above a hundredth of the largest variance. Fewer than 3 get two more, so that one
// becomes three and two become four, as far as there are as many.
tavel::Vector<int> select_components(const tavel::Vector<double>& variances)
{
    tavel::Vector<int> selected;
    for (int c = 0; c < variances.size; ++c) {
        if (variances[c] > 0.01 * variances[0])
            selected.push_back(c);
    }
    if (selected.size >= 3)
        return selected;
    if (selected.size == 0)
        selected.push_back(0);
    selected.push_back(selected[selected.size - 1] + 1);
    selected.push_back(selected[selected.size - 1] + 1);
    while (selected[selected.size - 1] >= variances.size)
        selected.resize(selected.size - 1);
    return selected;
}

// Where there are more rows than columns, the left singular vectors of X = Q R are Q times those of R: a square of
// columns by columns is decomposed instead of one of rows by rows, and only the components kept are multiplied by Q.
void reduce_stream(tavel::Matrix<double>& stream)
{
    screen_columns(stream);
    center_columns(stream);
    const int rows = stream.rows;
    std::optional<triangular_factors> factors;
    if (rows > stream.columns)
        factors.emplace(stream);
    tavel::Matrix<double> core = factors ? factors->triangle() : stream;
    tavel::Matrix<double> u_full(core.rows, core.rows);
    tavel::Vector<double> singular(std::min(core.rows, core.columns));
    decompose(core, u_full, singular);

    tavel::Vector<double> variances(singular.size);
    for (int c = 0; c < variances.size; ++c) {
        const double deviation = singular[c] / std::sqrt(rows - 1.0);
        variances[c] = deviation * deviation;
    }
    const tavel::Vector<int> order = order_components(variances);
    const tavel::Vector<int> selected = select_components(variances);

    tavel::Matrix<double> scores(rows, selected.size);
    for (int k = 0; k < selected.size; ++k) {
        const int component = order[selected[k]];
        const double* axis = u_full.column_data(component);
        for (int i = 0; i < u_full.rows; ++i)
            scores(i, k) = singular[component] * axis[i];
    }
    if (factors)
        factors->multiply(scores);
    stream = scores;
}

} // namespace

void reduce_components(tavel::Vector<tavel::Matrix<double>>& streams, const progress_record& progress)
{
    int modeled_columns = 0;
    for (const tavel::Matrix<double>& stream : streams)
        modeled_columns += stream.columns;
    const progress_record columns = progress.counting(modeled_columns);
    if (streams[0].rows < least_rows_to_reduce) {
        report_progress(columns, modeled_columns);
        return;
    }
    int columns_kept = 0;
    for (tavel::Matrix<double>& stream : streams) {
        reduce_stream(stream);
        report_progress(columns, columns_kept += stream.columns);
    }
}

} // namespace veloria
