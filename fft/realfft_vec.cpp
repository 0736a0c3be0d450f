#include "fft/realfft_vec.h"

#include "fft/realfft.h"

namespace tavel {

template <class T>
void realfft_vec(Vector<T>& buffer, int size)
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

template void realfft_vec(Vector<float>&, int);
template void realfft_vec(Vector<double>&, int);

} // namespace tavel
