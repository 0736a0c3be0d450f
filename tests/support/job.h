#pragma once

#include <unistd.h>

#include <string>

#include "veloria/veloria.h"

/// Starts a job on one file.
inline veloria::process_handle* start_job(const std::string& input, const std::string& output,
                                          veloria::features_type features = veloria::mixed,
                                          veloria::modeling_type modeling = veloria::mean, double window = 1.0,
                                          double step = 0.5)
{
    const char* path = input.c_str();
    return veloria::process(1, &path, output.c_str(), features, modeling, window, step);
}

/// The state in which a job ends, by asking for it: nothing joins its thread.
inline veloria::process_state wait_for_end(veloria::process_handle* job)
{
    veloria::process_state state = veloria::getState(job);
    while (state == veloria::process_running || state == veloria::process_canceling) {
        usleep(500);
        state = veloria::getState(job);
    }
    return state;
}
