#include "marquen/jobs.h"

#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "gabarit/reader.h"
#include "marquen/child.h"
#include "marquen/failure.h"
#include "marquen/interrupts.h"
#include "marquen/messages.h"
#include "marquen/summary.h"

namespace marquen {

namespace {

using json = nlohmann::ordered_json;

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// The command line that does one job. The job's files stand as they were given: the gabarit records them.
std::vector<std::string> command_of(const job& one, const options& chosen, std::int64_t max_memory)
{
    std::vector<std::string> words{
        "marquen",
        "--input=" + one.input.front(),
        "--similarity=" + one.similarity,
        std::string("--features_type=") + features_words[chosen.features],
        std::string("--features_modeling=") + modeling_words[chosen.modeling],
        "--features_modeling_length=" + number(chosen.modeling_window),
        "--window_grid_hop=" + number(chosen.modeling_step),
        "--max_memory=" + std::to_string(max_memory),
        "--json",
        "--progress=json",
    };
    if (!one.picture.empty())
        words.push_back("--picture=" + one.picture);
    if (!one.sections.empty())
        words.push_back("--sections");
    if (!one.page.empty())
        words.emplace_back("--page");
    if (chosen.force)
        words.emplace_back("--force");
    if (chosen.plan)
        words.emplace_back("--plan");
    if (!chosen.json)
        words.emplace_back("--without_digests");
    return words;
}

// What a child said of its job, or what its end says where it said nothing.
json result_of(const child& done, int status, const job& one)
{
    json result = json::parse(done.output, nullptr, false);
    if (result.is_object())
        return result;
    std::string text = done.error.empty() ? "ended without a word" : done.error;
    if (WIFSIGNALED(status))
        text = std::string("ended by a signal: ") + strsignal(WTERMSIG(status));
    return {{"state", "failed"},
            {"cause", cause_words[static_cast<int>(cause::machine)]},
            {"error", error_line(text, one)},
            {"input", {gabarit::showable(one.input.front())}}};
}

class job_queue {
public:
    job_queue(const options& all, progress& bar) : chosen(all), shown(bar), results(all.jobs.size())
    {
        for (std::size_t i = 0; i < all.jobs.size(); ++i)
            waiting.push_back(i);
    }

    void run()
    {
        run_waiting(chosen.at_once);
        // What failed for want of something may find it alone.
        waiting.swap(again);
        alone = true;
        run_waiting(1);
    }

    const std::vector<json>& ends() const { return results; }

private:
    struct running_job {
        std::size_t index;
        std::unique_ptr<child> process;
    };

    void run_waiting(int at_once);
    void start_next();
    void read_pipes();
    void finish(running_job& ended);
    void record(std::size_t index, json result);
    void show_progress();

    const options& chosen;
    progress& shown;
    std::vector<json> results; // of each job, null while there is none
    std::deque<std::size_t> waiting, again;
    std::vector<running_job> running;
    bool alone = false;
    bool signal_passed_on = false;
};

void job_queue::run_waiting(int at_once)
{
    while (!running.empty() || (!waiting.empty() && interrupt_watch::signal() == 0)) {
        while (!waiting.empty() && static_cast<int>(running.size()) < at_once && interrupt_watch::signal() == 0)
            start_next();
        if (interrupt_watch::signal() != 0 && interrupt_watch::is_for_us_alone() && !signal_passed_on) {
            for (const running_job& one : running)
                one.process->send(interrupt_watch::signal());
            signal_passed_on = true;
        }
        read_pipes();
        for (running_job& one : running)
            if (one.process->has_ended())
                finish(one);
        std::erase_if(running, [](const running_job& one) { return !one.process; });
        show_progress();
    }
}

void job_queue::start_next()
{
    const std::size_t index = waiting.front();
    waiting.pop_front();
    const std::int64_t share =
        chosen.max_memory_given || alone ? chosen.max_memory : chosen.max_memory / chosen.at_once;
    try {
        running.push_back({index, std::make_unique<child>(command_of(chosen.jobs[index], chosen, share))});
    } catch (const std::exception& error) {
        record(index, {{"state", "failed"},
                       {"cause", cause_words[static_cast<int>(cause::machine)]},
                       {"error", error_line(error.what(), chosen.jobs[index])}});
    }
}

void job_queue::read_pipes()
{
    constexpr int patience_ms = 200;
    std::vector<pollfd> waited;
    for (const running_job& one : running)
        for (const int end : one.process->pipes())
            waited.push_back({end, POLLIN, 0}); // one that has ended is -1, which poll() passes over
    if (poll(waited.data(), waited.size(), patience_ms) <= 0)
        return;
    for (std::size_t i = 0; i < waited.size(); ++i)
        if (waited[i].revents != 0)
            running[i / 2].process->read(i % 2);
}

void job_queue::finish(running_job& ended)
{
    const int status = ended.process->wait();
    json result = result_of(*ended.process, status, chosen.jobs[ended.index]);
    ended.process.reset();
    if (!alone && chosen.at_once > 1 && result.value("cause", json()) == "machine" && interrupt_watch::signal() == 0)
        again.push_back(ended.index);
    else
        record(ended.index, std::move(result));
}

void job_queue::record(std::size_t index, json result)
{
    shown.clear();
    if (result.value("state", "") == "failed")
        std::cerr << "marquen: " << result.value("error", "") << std::endl;
    for (const json& warning : result.value("warnings", json::array()))
        std::cerr << "marquen: " << warning.get<std::string>() << std::endl;
    results[index] = std::move(result);
}

void job_queue::show_progress()
{
    const auto ended = std::count_if(results.begin(), results.end(), [](const json& one) { return !one.is_null(); });
    double position = static_cast<double>(ended);
    for (const running_job& one : running)
        position += one.process->position;
    shown.show("of " + std::to_string(results.size()) + " sounds", position / static_cast<double>(results.size()));
}

int status_of(const std::vector<json>& ends)
{
    std::size_t failed = 0, by_sound = 0;
    for (const json& one : ends) {
        if (one.value("state", "failed") != "failed")
            continue;
        ++failed;
        by_sound += one.value("cause", json()) == "sound" ? 1 : 0;
    }
    constexpr int some = 3;
    if (failed > 0 && failed < ends.size())
        return some;
    if (failed == 0)
        return 0;
    return by_sound == failed ? status_of_cause(cause::sound) : status_of_cause(cause::machine);
}

void print_plans(const std::vector<json>& ends)
{
    for (const json& one : ends)
        if (one.value("state", "") == "planned")
            std::cout << gabarit::showable(one["input"][0].get<std::string>()) << "\tn " << one["n"]
                      << "\tmemory about " << plan::readable_size(one["memory_bytes"]) << "\tfile about "
                      << plan::readable_size(one["file_bytes"]) << '\n';
}

} // namespace

int run_jobs(const options& chosen, progress& shown)
{
    job_queue queue(chosen, shown);
    queue.run();
    shown.clear();
    std::vector<json> ends = queue.ends();
    std::size_t done = 0, failed = 0;
    for (json& one : ends) {
        if (one.is_null())
            one = {{"state", "canceled"}};
        const std::string state = one.value("state", "failed");
        done += state == "finished" || state == "planned" ? 1 : 0;
        failed += state == "failed" ? 1 : 0;
    }
    if (!chosen.quiet || done < ends.size())
        std::cerr << "marquen: " << done << " of " << ends.size() << " sounds done"
                  << (failed > 0 ? ", " + std::to_string(failed) + " failed" : "") << '\n';
    if (chosen.json)
        std::cout << json{{"state", interrupt_watch::signal() != 0 ? "canceled"
                                    : failed > 0                   ? "failed"
                                                                   : "finished"},
                          {"done", done},
                          {"failed", failed},
                          {"sounds", ends}}
                         .dump(2, ' ', true, json::error_handler_t::replace)
                  << '\n';
    else if (chosen.plan)
        print_plans(ends);
    return status_of(ends);
}

} // namespace marquen
