#include "fuzz/faults/child.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr unsigned patience = 60; // seconds until a job counts as hung

int open_descriptors()
{
    int count = 0;
    for (int i = 0; i < 1024; ++i)
        count += fcntl(i, F_GETFD) != -1;
    return count;
}

} // namespace

child_end run_in_child(const fault_plan& plan, const std::string& printed, const std::function<void()>& faulty_job,
                       const std::function<void()>& clean_job)
{
    static child_end& end = make_shared_object<child_end>();
    end = {};
    const pid_t process = fork();
    if (process == 0) {
        dup2(open(printed.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        alarm(patience);
        const std::int64_t blocks_before = living_blocks();
        arm(plan, end.hits);
        faulty_job();
        disarm();
        clean_job();
        clean_job();
        end.blocks = living_blocks() - blocks_before;
        end.descriptors = open_descriptors();
        _exit(0);
    }
    int status = 0;
    waitpid(process, &status, 0);
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.status = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return end;
}

int fault_stride()
{
    const char* const given = std::getenv("FAULT_STRIDE");
    return given == nullptr ? 1 : std::max(1, std::atoi(given));
}
