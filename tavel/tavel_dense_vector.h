#pragma once

// The array library: vectors, matrices, slices, views and element-wise expressions in the vocabulary of Matlab.
#include "tavel/error.h"
#include "tavel/expression.h"
#include "tavel/matrix.h"
#include "tavel/mean.h"
#include "tavel/select_columns.h"
#include "tavel/slice.h"
#include "tavel/vector.h"
#include "tavel/views.h"
