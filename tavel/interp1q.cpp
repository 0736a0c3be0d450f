#include "tavel/interp1q.h"

#include "tavel/error.h"

namespace tavel {
namespace {

double interpolate(const Vector<double>& x, const Vector<double>& y, double query)
{
    const int last = x.size - 1;
    if (!(query < x[last]))
        return y[last];
    if (!(query > x[0]))
        return y[0];
    int lo = 0, hi = last;
    while (hi - 1 > lo) {
        const int mid = lo + (hi - lo) / 2;
        if (!(query < x[mid]))
            lo = mid;
        else
            hi = mid;
    }
    return ((query - x[lo]) * y[hi] + (x[hi] - query) * y[lo]) / (x[hi] - x[lo]);
}

} // namespace

void interp1q(const Vector<double>& x, const Vector<double>& y, const Vector<double>& xi, Vector<double>& yi)
{
    if (x.size != y.size)
        throw error("interp1q: sizes of input containers x and y do not match!\n");
    if (x.size == 0)
        throw error("interp1q: nothing to interpolate, input containers x is empty!\n");
    yi.resize(xi.size);
    yi.column = xi.column;
    for (int i = 0; i < xi.size; ++i)
        yi[i] = interpolate(x, y, xi[i]);
}

} // namespace tavel
