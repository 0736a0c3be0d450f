#pragma once

#include <stdexcept>
#include <string>

namespace marquen {

/// What a job failed for: the sound itself, which no second try helps; the machine (memory, threads, descriptors, a
/// disk that can't be read, a signal); an output.
enum class cause { none, sound, machine, output };

/// The words of `--json`.
inline constexpr const char* cause_words[] = {nullptr, "sound", "machine", "output"};

/// A failure whose cause is known where it is thrown.
class failure : public std::runtime_error {
public:
    failure(cause of, const std::string& text) : std::runtime_error(text), known(of) {}
    cause why() const { return known; }

private:
    cause known;
};

} // namespace marquen
