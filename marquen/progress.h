#pragma once

#include <chrono>
#include <string>

namespace marquen {

enum class progress_form { none, bar, json };

/// How far a job is, on stderr: a bar for people, gone with the object, or a line of JSON per report for programs.
/// It only grows within a stage, whatever the positions do.
class progress {
public:
    explicit progress(progress_form chosen) : form(chosen) {}
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;
    ~progress() { clear(); }

    /// @param stage     a word or two for what is being done; another one begins anew
    /// @param position  0.0 to 1.0 of that stage; a NaN and whatever lies behind the largest so far change nothing
    void show(const std::string& stage, double position);

    /// Takes the bar away until the next report, so that a line can be written.
    void clear();

private:
    std::string left() const;
    void draw(int percent);

    using clock = std::chrono::steady_clock;

    progress_form form;
    std::string stage_name;
    clock::time_point begin;
    double reached = -1.0;
    int shown = -1; // percent; -1 if nothing is on the screen
};

/// Seconds as people write them: "0:07", "1:02:03".
std::string readable_time(double seconds);

} // namespace marquen
