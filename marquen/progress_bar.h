#pragma once

namespace marquen {

/// A bar on stderr that only grows, whatever the positions do. Gone with the object.
class progress_bar {
public:
    explicit progress_bar(bool visible) : drawing(visible) {}
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;
    ~progress_bar();

    /// @param position 0.0 to 1.0; a NaN and whatever lies behind the largest so far change nothing
    void show(double position);

private:
    bool drawing;
    int percent = -1; // shown now; -1 before the first
};

} // namespace marquen
