#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "gabarit/draw_gabarit.h"
#include "marquen/job.h"
#include "marquen/options.h"
#include "marquen/summary.h"
#include "plan/job_plan.h"
#include "plan/sound_shape.h"

namespace {

using marquen::summary;

summary::outcome analyse(const marquen::options& chosen)
{
    const marquen::job_end end = marquen::run_job(chosen);
    if (end.state == veloria::process_canceled)
        return summary::canceled;
    if (end.state != veloria::process_finished)
        throw std::runtime_error(end.message);
    if (!chosen.picture.empty())
        gabarit::draw(chosen.similarity, chosen.picture, {}, picture::existing::replace);
    return summary::finished;
}

// What the job will take; nothing where the input allows no look.
std::optional<plan::job_plan> plan_of(const marquen::options& chosen)
{
    const std::optional<plan::sound_shape> sound = plan::look_at_input(chosen.input);
    if (!sound) {
        if (chosen.plan)
            throw std::runtime_error("can be read only once: copy the sound to a file to plan its job");
        return {};
    }
    return plan::plan_job(*sound, chosen.features, chosen.modeling, chosen.modeling_step);
}

void check_memory(const plan::job_plan& job, const marquen::options& chosen)
{
    if (job.memory_bytes <= chosen.max_memory)
        return;
    throw std::runtime_error("the job (n = " + std::to_string(job.moments) + ") needs about " +
                             plan::readable_size(job.memory_bytes) + " of memory, of which " +
                             plan::readable_size(chosen.max_memory) +
                             " may be used: take a longer --window_grid_hop or a shorter sound, or raise --max_memory");
}

summary run(const marquen::options& chosen)
{
    const auto start = std::chrono::steady_clock::now();
    summary done;
    try {
        done.plan = plan_of(chosen);
        if (done.plan && !chosen.plan)
            check_memory(*done.plan, chosen);
        done.state = chosen.plan ? summary::planned : analyse(chosen);
        if (done.state == summary::canceled)
            done.error = marquen::error_line("canceled", chosen);
    } catch (const std::exception& error) {
        done.error = marquen::error_line(error.what(), chosen);
    }
    done.work_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return done;
}

int exit_status(summary::outcome state)
{
    constexpr int canceled_by_interrupt = 128 + SIGINT; // as shells have it
    if (state == summary::failed)
        return 1;
    return state == summary::canceled ? canceled_by_interrupt : 0;
}

} // namespace

int main(int argc, char** argv)
{
    int status = 0;
    const std::optional<marquen::options> chosen = marquen::parse_options(argc, argv, status);
    if (!chosen)
        return status;
    const summary done = run(*chosen);
    if (!done.error.empty())
        std::cerr << "marquen: " << done.error << '\n';
    if (chosen->json)
        std::cout << to_json(done, *chosen) << '\n';
    else if (done.state == summary::planned)
        std::cout << marquen::to_text(*done.plan) << '\n';
    if (!std::cout.flush()) {
        std::cerr << "marquen: the standard output can't be written\n";
        return 1;
    }
    return exit_status(done.state);
}
