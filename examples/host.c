/* A whole host in C99: analyses the sound given first and writes the gabarit given second. Ctrl-C cancels. */
#include <signal.h>
#include <stdio.h>

#include <veloria/veloria_c.h>

static volatile sig_atomic_t interrupted = 0;

static void note_interrupt(int number)
{
    (void)number;
    interrupted = 1;
}

int main(int argc, char** argv)
{
    char text[1024];
    double position = 0.0;
    veloria_job* job = NULL;
    veloria_code end;
    if (argc != 3) {
        fprintf(stderr, "usage: host SOUND OUT.sdif\n");
        return 2;
    }
    signal(SIGINT, note_interrupt);
    const char* const paths[] = {argv[1]};
    if (veloria_start(paths, 1, argv[2], NULL, &job, text, sizeof text) != VELORIA_OK) {
        fprintf(stderr, "%s\n", text);
        return 1;
    }
    while (veloria_job_wait(job, 0.02) == VELORIA_RUNNING) {
        if (interrupted)
            veloria_job_cancel(job);
        veloria_job_position(job, &position);
        fprintf(stderr, "\r%.0f %%", 100 * position);
    }
    end = veloria_job_message(job, text, sizeof text);
    veloria_job_end(job);
    fprintf(stderr, "\r%s\n", end == VELORIA_OK ? "done" : text);
    return end == VELORIA_OK ? 0 : end == VELORIA_CANCELED ? 130 : 1;
}
