#include "tavel/tavel_dense_vector.h"

#include <algorithm>
#include <string>

namespace tavel {

void refuse_orientation(const char* type)
{
    throw error(std::string(type) +
                "adjustment of orientation failed for 2d argument object Vector<>::operator=(OBJS)" + "\n");
}

bool adjusted_orientation(const char* type, bool column, shape source)
{
    if (source.rows >= 2) {
        if (source.columns > 1)
            refuse_orientation(type);
        return true;
    }
    if (source.rows == 0)
        return true;
    return source.columns == 1 ? column : false;
}

void refuse_self_assignment()
{
    throw error("unsupported self assignment detected\n");
}

void check_vector_shape(int rows, int columns)
{
    if (std::min(rows, columns) > 1)
        throw error("tavel/tavel_dense_vector", 1020, "2d resize of vector requested.");
}

} // namespace tavel
