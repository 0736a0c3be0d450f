#pragma once

#include <exception>
#include <string>

namespace tavel {

/// The exception of the numeric code.
class error : public std::exception {
public:
    /// "tavel error: ", then the text.
    explicit error(const std::string& text);

    /// "tavel error: in file ", the path, a blank, the line, a line break, then the text.
    error(const std::string& path, int line, const std::string& text);

    ~error() override;

    const char* what() const noexcept override;

    /// Stays empty.
    virtual const char* detail() const noexcept;

private:
    std::string message;
    std::string empty_detail;
};

} // namespace tavel
