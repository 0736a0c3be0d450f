#include "marquen/job.h"

#include <chrono>
#include <exception>
#include <filesystem>
#include <functional>
#include <new>
#include <stdexcept>

#include "gabarit/draw_gabarit.h"
#include "gabarit/form.h"
#include "gabarit/form_files.h"
#include "gabarit/page/listening_page.h"
#include "marquen/analysis.h"
#include "marquen/decoder_silence.h"
#include "marquen/digest.h"
#include "marquen/failure.h"
#include "marquen/interrupts.h"
#include "marquen/messages.h"
#include "marquen/outputs.h"
#include "marquen/sound_length.h"
#include "marquen/spool.h"
#include "plan/job_plan.h"
#include "plan/sound_shape.h"

namespace marquen {

namespace {

namespace fs = std::filesystem;

plan::sound_shape look_at(const job& one)
{
    for (const std::string& path : one.input)
        if (fs::is_directory(path))
            throw failure(cause::sound, "error opening file '" + path + "': it is a directory");
    const std::optional<plan::sound_shape> sound = plan::look_at_input(one.input);
    if (!sound)
        throw failure(cause::sound, "error opening file '" + one.input.front() + "': it is a device");
    return *sound;
}

void check_memory(const plan::job_plan& planned, const options& chosen)
{
    if (planned.memory_bytes <= chosen.max_memory)
        return;
    throw failure(cause::machine, "the job (n = " + std::to_string(planned.moments) + ") needs about " +
                                      plan::readable_size(planned.memory_bytes) + " of memory, of which " +
                                      plan::readable_size(chosen.max_memory) +
                                      " may be used: take a longer --step or a shorter sound, or raise --max_memory");
}

picture::existing treatment_of(const options& chosen)
{
    return chosen.force ? picture::existing::replace : picture::existing::refuse;
}

// The first file, and how many there are besides.
std::string title_of(const job& one)
{
    const std::string first = fs::path(one.input.front()).filename();
    return one.input.size() < 2 ? "" : first + " + " + std::to_string(one.input.size() - 1) + " more";
}

// Makes one more output of a whole gabarit, for which nothing is asked where it has no path.
template <class MAKE>
void make_output(const std::string& path, const MAKE& make)
{
    if (path.empty())
        return;
    try {
        make();
    } catch (const std::exception& error) {
        throw failure(cause::output, name_file(error.what(), path));
    }
}

void draw(const job& one, const options& chosen, const std::function<void(double)>& report, summary& done)
{
    const std::string remark = gabarit::draw(
        one.similarity, one.picture, {.treatment = treatment_of(chosen), .title = title_of(one), .report = report});
    if (!remark.empty())
        done.warnings.push_back(error_line("'" + one.picture + "': " + remark, one));
}

void write_sections(const job& one, const options& chosen, summary& done)
{
    const gabarit::form found = gabarit::read_form(one.similarity);
    gabarit::write_form(found, one.sections, treatment_of(chosen));
    done.form = gabarit::letters_of(found);
}

// A sound of several files is heard by its first.
void write_page(const job& one, const options& chosen, const std::function<void(double)>& report)
{
    gabarit::page_options page;
    page.sound = one.input.front();
    page.is_its_sound = true;
    page.treatment = treatment_of(chosen);
    gabarit::write_listening_page(one.similarity, one.page, page, report);
}

// A whole gabarit stays, whatever becomes of what is made of it.
summary::outcome analyze_and_draw(const job& one, const options& chosen, progress& shown, summary& done)
{
    new_output gabarit(one.similarity);
    const analysis_end end = analyze(one, chosen, shown);
    if (end.state == veloria::process_canceled)
        return summary::canceled;
    if (end.state != veloria::process_finished)
        throw failure(cause_of(end.message), end.message);
    gabarit.keep();
    const auto reports_on = [&shown](const char* stage) {
        return [&shown, stage](double position) {
            if (interrupt_watch::signal() != 0)
                throw interrupted();
            shown.show(stage, position);
        };
    };
    make_output(one.picture, [&] { draw(one, chosen, reports_on("drawing"), done); });
    make_output(one.sections, [&] { write_sections(one, chosen, done); });
    make_output(one.page, [&] { write_page(one, chosen, reports_on("encoding")); });
    return interrupt_watch::signal() == 0 ? summary::finished : summary::canceled;
}

// A sound that is shorter than it says is analyzed as far as it goes.
void check_length(const job& one, const plan::sound_shape& sound, summary& done)
{
    done.length = measure_length(one.input, sound);
    if (done.length->is_short())
        done.warnings.push_back(error_line("'" + one.input.front() + "': " + readable_time(done.length->announced) +
                                               " announced, " + readable_time(done.length->found) + " found",
                                           one));
}

// What the JSON says of a whole gabarit.
void describe_files(const job& one, const options& chosen, summary& done)
{
    if (done.state != summary::finished || !fs::is_regular_file(one.similarity))
        return;
    done.file_bytes = static_cast<std::int64_t>(fs::file_size(one.similarity));
    if (!chosen.json || chosen.without_digests)
        return;
    for (const std::string& path : one.input)
        done.input_digests.push_back(sha256_of(path));
    done.similarity_digest = sha256_of(one.similarity);
}

void run_stages(const job& one, const options& chosen, progress& shown, summary& done)
{
    check_outputs(one, chosen.force || chosen.plan); // a plan replaces nothing
    const spooled_input files(one.input, shown);
    const job readable{files.paths(), one.similarity, one.picture, one.sections, one.page};
    const plan::sound_shape sound = [&] {
        const decoder_silence quiet;
        const plan::sound_shape found = look_at(readable);
        check_length(readable, found, done);
        return found;
    }();
    done.plan = plan::plan_job(sound, chosen.features, chosen.modeling, chosen.modeling_step);
    if (chosen.plan) {
        done.state = summary::planned;
        return;
    }
    check_memory(*done.plan, chosen);
    done.state = analyze_and_draw(readable, chosen, shown, done);
    describe_files(readable, chosen, done);
}

} // namespace

summary run_job(const job& one, const options& chosen, progress& shown)
{
    const auto begin = std::chrono::steady_clock::now();
    summary done;
    const auto fail = [&](cause why, const std::string& text) {
        done.state = summary::failed;
        done.why = why;
        done.error = error_line(text, one);
    };
    try {
        run_stages(one, chosen, shown, done);
    } catch (const interrupted&) {
        done.state = summary::canceled;
    } catch (const failure& known) {
        fail(known.why(), known.what());
    } catch (const std::bad_alloc&) {
        fail(cause::machine, "not enough memory");
    } catch (const std::exception& error) {
        fail(cause_of(error.what()), error.what());
    }
    if (done.state == summary::canceled)
        done.error = error_line("canceled", one);
    done.work_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return done;
}

} // namespace marquen
