#pragma once

namespace marquen {

/// Keeps what decoders write to stderr by themselves, such as libmpg123 on an odd header, from being seen as long as it
/// lives. libsndfile has no way to quiet them. For calls of this thread that write nothing else there.
class decoder_silence {
public:
    decoder_silence();
    decoder_silence(const decoder_silence&) = delete;
    decoder_silence& operator=(const decoder_silence&) = delete;
    ~decoder_silence();

private:
    int shown; // where stderr led
};

} // namespace marquen
