#include "features/analysis_costs.h"

#include <array>
#include <cstddef>

namespace veloria {

namespace {

struct selection_cost {
    double features;
    double modeling_factor;
    int columns;     // of all streams together
    int mph_columns; // of all modeled streams together
};

constexpr std::array<selection_cost, 3> selection_costs{{
    {96.0, 2.0, 25, 313},  // timbre
    {31.0, 1.0, 12, 144},  // harmo
    {117.0, 1.0, 37, 457}, // mixed
}};

struct kind_cost {
    double modeling_factor;
    double reduction_factor;
    int widening; // modeled columns per feature column; 0: the selection's own number for mph
};

constexpr std::array<kind_cost, 4> kind_costs{{
    {0.023, 0.12, 1}, // mean
    {0.043, 0.11, 2}, // meanvar
    {0.53, 0.11, 4},  // fft
    {0.32, 0.16, 0},  // mph
}};

} // namespace

analysis_costs estimate_costs(int features, int modeling, double modeling_window, double first_time)
{
    if (features < 0 || features >= static_cast<int>(selection_costs.size()))
        return {0.0, 0.0, 0.0};
    const selection_cost& selection = selection_costs[static_cast<std::size_t>(features)];
    if (modeling < 0 || modeling >= static_cast<int>(kind_costs.size()))
        return {selection.features, 0.0, 0.0};
    const kind_cost& kind = kind_costs[static_cast<std::size_t>(modeling)];

    const double density = 0.5 / first_time;
    const int modeled_columns = kind.widening == 0 ? selection.mph_columns : kind.widening * selection.columns;
    return {selection.features,
            selection.modeling_factor * kind.modeling_factor * density * selection.columns * (modeling_window * 0.25),
            kind.reduction_factor * density * modeled_columns};
}

} // namespace veloria
