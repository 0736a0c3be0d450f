#include "fuzz/faults/forked_job.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

using namespace veloria;

namespace {

constexpr unsigned patience = 60; // seconds until a job counts as hung

void keep(const char* message, job_outcome& outcome)
{
    std::strncpy(outcome.message, message, sizeof outcome.message - 1);
}

// Makes a call again that couldn't lock the job.
template <class CALL>
auto insist(CALL call, job_outcome& outcome)
{
    for (;;)
        try {
            return call();
        } catch (const std::runtime_error& error) {
            if (std::strcmp(error.what(), "error locking mutex") != 0 || ++outcome.refused_calls > 1000)
                throw;
        }
}

void watch(process_handle* job, job_outcome& outcome)
{
    process_state state = process_running;
    while ((state = insist([=] { return getState(job); }, outcome)) == process_running || state == process_canceling)
        usleep(100);
    outcome.end = state == process_finished ? job_end::finished
                  : state == process_failed ? job_end::failed
                                            : job_end::canceled;
    insist([=] { cancel(job, false); }, outcome); // too late to mean anything, but it locks
    keep(insist([=] { return getErrorMessage(job).c_str(); }, outcome), outcome);
    insist([=] { shutdown(job); }, outcome);
}

void run_job(const job_settings& settings, const char* output, job_outcome& outcome)
{
    try {
        const char* path = settings.input.c_str();
        watch(process(1, &path, output, settings.features, settings.modeling, settings.window, settings.step), outcome);
    } catch (const std::exception& error) {
        outcome.end = job_end::thrown;
        keep(error.what(), outcome);
    } catch (std::runtime_error* error) {
        outcome.end = job_end::thrown_as_pointer;
        keep(error->what(), outcome);
        delete error;
    }
}

int open_descriptors()
{
    int count = 0;
    for (int i = 0; i < 1024; ++i)
        count += fcntl(i, F_GETFD) != -1;
    return count;
}

void limit_file_size(std::int64_t bytes)
{
    const rlim_t soft = bytes < 0 ? RLIM_INFINITY : static_cast<rlim_t>(bytes);
    const rlimit limit{soft, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

// Nothing here may allocate while the plan is armed but the jobs themselves.
void child(const job_settings& settings, const fault_plan& plan, const std::string& folder, std::int64_t size_limit,
           job_outcome& outcome)
{
    const std::string faulty = folder + "/faulty", clean = folder + "/clean";
    dup2(open((folder + "/stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    alarm(patience);
    const std::int64_t blocks_before = living_blocks();
    if (chdir(faulty.c_str()) != 0)
        return;
    limit_file_size(size_limit);
    arm(plan, outcome.hits);
    run_job(settings, "out.sdif", outcome);
    disarm();
    limit_file_size(-1);
    if (chdir(clean.c_str()) != 0)
        return;
    job_outcome good;
    for (int i = 0; i < 2; ++i)
        run_job(settings, "out.sdif", good);
    outcome.blocks = living_blocks() - blocks_before;
    outcome.descriptors = open_descriptors();
}

} // namespace

job_outcome run_in_child(const job_settings& settings, const fault_plan& plan, const std::string& folder,
                         std::int64_t size_limit)
{
    void* const memory = mmap(nullptr, sizeof(job_outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    job_outcome& shared = *new (memory) job_outcome;
    for (const char* name : {"/faulty/out.sdif", "/clean/out.sdif"})
        unlink((folder + name).c_str());
    const pid_t process = fork();
    if (process == 0) {
        child(settings, plan, folder, size_limit, shared);
        _exit(0);
    }
    int status = 0;
    waitpid(process, &status, 0);
    job_outcome outcome = shared;
    munmap(memory, sizeof(job_outcome));
    if (WIFSIGNALED(status)) {
        outcome.end = job_end::process_killed;
        outcome.status = WTERMSIG(status);
    } else if (WEXITSTATUS(status) != 0) {
        outcome.end = job_end::process_exited;
        outcome.status = WEXITSTATUS(status);
    }
    return outcome;
}
