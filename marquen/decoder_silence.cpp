#include "marquen/decoder_silence.h"

#include <fcntl.h>
#include <unistd.h>

namespace marquen {

decoder_silence::decoder_silence() : shown(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))
{
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (shown >= 0 && nowhere >= 0)
        dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0)
        close(nowhere);
}

decoder_silence::~decoder_silence()
{
    if (shown < 0)
        return;
    dup2(shown, STDERR_FILENO);
    close(shown);
}

} // namespace marquen
