// The functions of veloria_c.h: each checks what it is given, calls, and makes a code and a text of whatever is thrown.
#include "veloria/veloria_c.h"

#include <pthread.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "c/arguments.h"
#include "c/job.h"
#include "c/job_table.h"
#include "c/memory_check.h"
#include "c/memory_file.h"
#include "gabarit/reader.h"

namespace {

using veloria_c::analysis;
using veloria_c::job;
using veloria_c::job_view;
using veloria_c::memory_file;
using veloria_c::require;

// Where a call's text goes.
struct text_room {
    char* text = nullptr;
    std::size_t size = 0;

    // As many whole characters as fit.
    void write(std::string_view source) const
    {
        if (text == nullptr || size == 0)
            return;
        std::size_t count = std::min(source.size(), size - 1);
        if (count < source.size())
            while (count > 0 && (static_cast<unsigned char>(source[count]) & 0xC0) == 0x80)
                --count;
        source.copy(text, count);
        text[count] = '\0';
    }
};

// A host's thread that is canceled inside a call would unwind through it.
class uncancelable {
public:
    uncancelable() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before); }
    uncancelable(const uncancelable&) = delete;
    uncancelable& operator=(const uncancelable&) = delete;
    ~uncancelable() { pthread_setcancelstate(before, nullptr); }

private:
    int before = PTHREAD_CANCEL_ENABLE;
};

// Nothing that is thrown goes further than this.
template <class CALL>
veloria_code guarded(const text_room& room, CALL call) noexcept
{
    const uncancelable scope;
    const auto fail = [&room](veloria_code code, std::string_view reason) {
        room.write(reason);
        return code;
    };
    room.write({});
    try {
        return call();
    } catch (const veloria_c::too_large& error) {
        return fail(VELORIA_NO_MEMORY, error.what());
    } catch (const std::bad_alloc&) {
        return fail(VELORIA_NO_MEMORY, "not enough memory");
    } catch (const std::length_error&) {
        return fail(VELORIA_NO_MEMORY, "not enough memory");
    } catch (const std::logic_error& error) {
        return fail(VELORIA_INVALID_ARGUMENT, error.what());
    } catch (const std::exception& error) {
        return fail(VELORIA_FAILED, error.what());
    } catch (std::runtime_error* error) { // no thread for the job
        const std::unique_ptr<std::runtime_error> owner(error);
        return fail(VELORIA_FAILED, error->what());
    } catch (...) {
        return fail(VELORIA_FAILED, "internal error");
    }
}

template <class CALL>
veloria_code guarded_for_job(veloria_job* name, const text_room& room, CALL call) noexcept
{
    return guarded(room, [&] {
        const std::shared_ptr<job> found = veloria_c::find(name);
        if (found == nullptr) {
            room.write(veloria_code_word(VELORIA_INVALID_JOB));
            return VELORIA_INVALID_JOB;
        }
        return call(*found);
    });
}

void start(int path_count, const char* const* paths, const char* output_path, const analysis& chosen, veloria_job** job)
{
    const auto started = std::make_shared<veloria_c::job>();
    veloria_job* const name = veloria_c::enter(started);
    try {
        started->start(path_count, paths, output_path, chosen.features, chosen.modeling, chosen.window_seconds,
                       chosen.step_seconds);
    } catch (...) {
        veloria_c::remove(name);
        throw;
    }
    *job = name;
}

veloria_code code_of(const job_view& view)
{
    if (!view.alive)
        return VELORIA_INVALID_JOB;
    switch (view.state) {
    case VELORIA_STATE_FINISHED:
        return VELORIA_OK;
    case VELORIA_STATE_CANCELED:
        return VELORIA_CANCELED;
    case VELORIA_STATE_FAILED:
        return VELORIA_FAILED;
    default:
        return VELORIA_RUNNING;
    }
}

// The code of a job that has no result, and why.
veloria_code refuse_result(job& asked, veloria_code code, const text_room& room)
{
    room.write(code == VELORIA_FAILED || code == VELORIA_CANCELED ? asked.message() : veloria_code_word(code));
    return code;
}

void copy_result(gabarit::reader& reader, std::size_t n, double* times, std::uint8_t* similarity)
{
    gabarit::column column;
    while (reader.next_column(column)) {
        if (times != nullptr)
            *times++ = column.time_seconds;
        if (similarity != nullptr)
            similarity = std::copy_n(column.similarity.begin(), n, similarity);
    }
}

template <std::size_t SIZE>
const char* word(const char* const (&words)[SIZE], int number, int first)
{
    const std::int64_t index = std::int64_t{number} - first;
    return index >= 0 && index < static_cast<std::int64_t>(SIZE) ? words[index] : nullptr;
}

} // namespace

const char* veloria_version(void)
{
    return veloria::getVersion();
}

const char* veloria_features_word(int features)
{
    static constexpr const char* words[] = {"timbre", "harmo", "mixed"};
    return word(words, features, VELORIA_TIMBRE);
}

const char* veloria_modeling_word(int modeling)
{
    static constexpr const char* words[] = {"mean", "meanvar", "fft", "mph"};
    return word(words, modeling, VELORIA_MEAN);
}

const char* veloria_state_word(int state)
{
    static constexpr const char* words[] = {"running", "finished", "canceling", "canceled", "failed"};
    return word(words, state, VELORIA_STATE_RUNNING);
}

const char* veloria_code_word(int code)
{
    static constexpr const char* words[] = {"done",
                                            "the job has not ended",
                                            "the job was canceled",
                                            "the job failed",
                                            "invalid argument",
                                            "no job of this process",
                                            "not enough memory"};
    return word(words, code, VELORIA_OK);
}

veloria_code veloria_memory(const char* const* paths, size_t path_count, const veloria_samples* samples,
                            const veloria_settings* settings, uint64_t* bytes, char* text, size_t text_size)
{
    return guarded({text, text_size}, [&] {
        require(bytes != nullptr, "invalid bytes pointer");
        *bytes = 0;
        require((paths == nullptr) != (samples == nullptr), "either paths or samples are wanted");
        const analysis chosen = veloria_c::checked_settings(settings);
        *bytes = samples != nullptr
                     ? veloria_c::memory_of(veloria_c::shape_of(veloria_c::checked_samples(samples)), chosen)
                     : veloria_c::memory_of(veloria_c::look(veloria_c::checked_count(path_count), paths), chosen);
        return VELORIA_OK;
    });
}

veloria_code veloria_start(const char* const* paths, size_t path_count, const char* output_path,
                           const veloria_settings* settings, veloria_job** job, char* text, size_t text_size)
{
    return guarded({text, text_size}, [&] {
        require(job != nullptr, "invalid job pointer");
        *job = nullptr;
        const analysis chosen = veloria_c::checked_settings(settings);
        const int count = veloria_c::checked_count(path_count);
        veloria_c::check_memory(veloria_c::try_to_look(count, paths), chosen);
        start(count, paths, output_path, chosen, job);
        return VELORIA_OK;
    });
}

veloria_code veloria_start_samples(const veloria_samples* samples, const char* output_path,
                                   const veloria_settings* settings, veloria_job** job, char* text, size_t text_size)
{
    return guarded({text, text_size}, [&] {
        require(job != nullptr, "invalid job pointer");
        *job = nullptr;
        const analysis chosen = veloria_c::checked_settings(settings);
        const veloria_samples checked = veloria_c::checked_samples(samples);
        veloria_c::check_memory(veloria_c::shape_of(checked), chosen);
        // Closed as soon as the library has it open: then the copy goes with the library's reader.
        const memory_file sound;
        store(checked, sound);
        const std::string path = sound.path();
        const char* const paths[] = {path.c_str()};
        start(1, paths, output_path, chosen, job);
        return VELORIA_OK;
    });
}

veloria_code veloria_job_state(veloria_job* name, int* state)
{
    return guarded_for_job(name, {}, [&](job& asked) {
        require(state != nullptr, "invalid state pointer");
        const job_view view = asked.look();
        *state = view.state;
        return view.alive ? VELORIA_OK : VELORIA_INVALID_JOB;
    });
}

veloria_code veloria_job_position(veloria_job* name, double* position)
{
    return guarded_for_job(name, {}, [&](job& asked) {
        require(position != nullptr, "invalid position pointer");
        const job_view view = asked.look();
        *position = view.position;
        return view.alive ? VELORIA_OK : VELORIA_INVALID_JOB;
    });
}

veloria_code veloria_job_message(veloria_job* name, char* text, size_t text_size)
{
    const text_room room{text, text_size};
    return guarded_for_job(name, room, [&](job& asked) {
        const veloria_code code = code_of(asked.look());
        room.write(asked.message());
        return code;
    });
}

veloria_code veloria_job_cancel(veloria_job* name)
{
    return guarded_for_job(name, {}, [](job& asked) {
        asked.cancel();
        return VELORIA_OK;
    });
}

veloria_code veloria_job_wait(veloria_job* name, double seconds)
{
    return guarded_for_job(name, {}, [&](job& asked) {
        require(!std::isnan(seconds), "invalid time limit");
        return code_of(asked.wait(seconds));
    });
}

veloria_code veloria_job_size(veloria_job* name, size_t* n, char* text, size_t text_size)
{
    const text_room room{text, text_size};
    return guarded_for_job(name, room, [&](job& asked) {
        require(n != nullptr, "invalid size pointer");
        if (const veloria_code code = code_of(asked.look()); code != VELORIA_OK)
            return refuse_result(asked, code, room);
        *n = static_cast<std::size_t>(gabarit::reader(asked.result_path()).size());
        return VELORIA_OK;
    });
}

veloria_code veloria_job_result(veloria_job* name, size_t n, double* times, uint8_t* similarity, char* text,
                                size_t text_size)
{
    const text_room room{text, text_size};
    return guarded_for_job(name, room, [&](job& asked) {
        if (const veloria_code code = code_of(asked.look()); code != VELORIA_OK)
            return refuse_result(asked, code, room);
        gabarit::reader reader(asked.result_path());
        require(static_cast<std::size_t>(reader.size()) == n, "invalid number of moments");
        copy_result(reader, n, times, similarity);
        return VELORIA_OK;
    });
}

veloria_code veloria_job_end(veloria_job* name)
{
    return guarded_for_job(name, {}, [&](job& asked) {
        const bool ended = asked.end();
        veloria_c::remove(name);
        return ended ? VELORIA_OK : VELORIA_INVALID_JOB;
    });
}
