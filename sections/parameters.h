#pragma once

namespace sections {

/// What the search goes by. Lengths are seconds; likenesses run from 0 to 1, the byte 255.
struct parameters {
    double shortest = 4.0;        ///< a section has at least this length
    double longest = 60.0;        ///< and at most this, unless nothing tells it from its neighbor
    double cut_cost = 2.0;        ///< what a further section must gain, at most: seconds of full likeness
    double cut_share = 0.0175;    ///< and as a share of the sound: a short sound has short parts
    double least_cut_cost = 0.6;  ///< and at least
    double least_contrast = 0.05; ///< of two neighbors: how much more alike each is within than to the other
    double stripe_share = 0.2;    ///< weight of common stripes beside the bytes

    double smoothing = 3.0;        ///< a stripe is smoothed over this length
    double aside = 1.5;            ///< and compared with what lies so far beside it
    double stripe_contrast = 0.16; ///< by how much it must be brighter than that
    double stripe_likeness = 0.6;  ///< and how bright it must be
    double shortest_stripe = 3.0;

    double reach = 3.0;       ///< how far a cut may move once the letters are known
    double stripe_pull = 0.3; ///< weight of stripes in that, beside the likeness to each letter
    double leveling = 0.7;    ///< how far the levels of these likenesses are made equal first
    double jump = 0.5;        ///< weight of a change from one moment to the next
    double ringing = 0.08;    ///< sounds ring on by so much behind a cut

    double shortest_pass = 12.0; ///< of a part that comes again at once and nowhere else
    double pass_likeness = 0.88; ///< between one pass and the next
    double pass_contrast = 0.08; ///< by which that exceeds what is alike within a pass

    double ripple = 0.1; ///< neighboring windows that overlap are by more than this more alike than any two
};

/// The same lengths in moments of a gabarit.
struct moment_counts {
    int shortest, longest, overlap, smoothing, aside, shortest_stripe, reach;
    double cut_cost;
};

/// @param n             moments of the gabarit
/// @param step, window  of the gabarit, in seconds; greater than 0
moment_counts count_moments(const parameters& chosen, int n, double step, double window);

} // namespace sections
