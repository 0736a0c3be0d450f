#include "marquen/outputs.h"

#include <exception>
#include <filesystem>
#include <system_error>

#include "marquen/failure.h"

namespace marquen {

namespace {

namespace fs = std::filesystem;

bool is_pipe_or_device(const std::string& path)
{
    std::error_code unknown;
    return fs::is_other(fs::status(path, unknown));
}

} // namespace

void check_outputs(const job& one, bool force)
{
    for (const std::string& path : one.outputs()) {
        if (path.empty() || (path == one.similarity && is_pipe_or_device(path)))
            continue;
        try {
            picture::check_output(path, force ? picture::existing::replace : picture::existing::refuse);
        } catch (const std::exception& error) {
            throw failure(cause::output, error.what());
        }
    }
}

new_output::new_output(const std::string& path)
{
    if (is_pipe_or_device(path))
        return;
    const std::string reached = picture::reached_file(path);
    if (fs::exists(reached))
        old.emplace(reached);
    else
        part.emplace(reached);
}

void new_output::keep() noexcept
{
    if (old)
        old->keep_new();
    if (part)
        part->keep();
}

} // namespace marquen
