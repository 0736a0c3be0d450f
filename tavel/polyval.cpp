#include "tavel/polyval.h"

#include "tavel/error.h"

namespace tavel {

Vector<double> polyval(const Vector<double>& p, const Vector<double>& x)
{
    if (p.size == 0)
        throw error("polyval:InvalidP -- P  must be a vector.\n");
    Vector<double> values(x.size, p[0], x.column);
    for (int i = 1; i < p.size; ++i)
        values = values * x + p[i];
    return values;
}

} // namespace tavel
