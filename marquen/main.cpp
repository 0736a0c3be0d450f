#include <unistd.h>

#include <iostream>
#include <optional>

#include "marquen/interrupts.h"
#include "marquen/job.h"
#include "marquen/jobs.h"
#include "marquen/options.h"
#include "marquen/progress.h"
#include "marquen/summary.h"
#include "picture/leftovers.h"

namespace {

int run_one(const marquen::options& chosen, marquen::progress& shown)
{
    const marquen::job& one = chosen.jobs.front();
    const marquen::summary done = marquen::run_job(one, chosen, shown);
    shown.clear();
    for (const std::string& warning : done.warnings)
        std::cerr << "marquen: " << warning << '\n';
    if (!done.error.empty())
        std::cerr << "marquen: " << done.error << '\n';
    if (chosen.json)
        std::cout << to_json(done, one, chosen) << '\n';
    else if (done.state == marquen::summary::planned)
        std::cout << marquen::to_text(*done.plan) << '\n';
    return exit_status(done);
}

} // namespace

int main(int argc, char** argv)
{
    picture::prepare_program();
    const marquen::interrupt_watch watch;
    int status = 0;
    const std::optional<marquen::options> chosen = marquen::parse_options(argc, argv, status);
    if (chosen) {
        marquen::progress shown(chosen->shown);
        status = chosen->jobs.size() == 1 ? run_one(*chosen, shown) : marquen::run_jobs(*chosen, shown);
    }
    if (!std::cout.flush()) {
        std::cerr << "marquen: the standard output can't be written\n";
        return status_of_cause(marquen::cause::output);
    }
    if (marquen::interrupt_watch::signal() != 0)
        marquen::end_by(marquen::interrupt_watch::signal());
    return status;
}
