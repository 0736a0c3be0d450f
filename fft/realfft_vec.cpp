#include "fft/realfft_vec.h"

#include "fft/realfft.h"

namespace tavel {

namespace {

template <class T>
void transform(Vector<T>& buffer, int size)
{
    if (!libfft::realfft(buffer.data, buffer.data, size, 1))
        throw error("realfft_vec:: Error in realfft");
    // A single value is its own spectrum and has no Nyquist bin to make room for.
    const int nyquist = size / 2;
    const T last = size == 1 ? buffer[0] : buffer[1];
    buffer[1] = T(0);
    buffer[2 * nyquist] = last;
    buffer[2 * nyquist + 1] = T(0);
}

} // namespace

void realfft_vec(Vector<float>& buffer, int size)
{
    transform(buffer, size);
}

void realfft_vec(Vector<double>& buffer, int size)
{
    transform(buffer, size);
}

} // namespace tavel
