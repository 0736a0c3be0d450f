#include "gabarit/form.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "gabarit/verify.h"

namespace gabarit {

using json = nlohmann::ordered_json;

namespace {

struct whole_square {
    std::vector<unsigned char> bytes;
    std::vector<double> times;
};

whole_square read_square(reader& gabarit)
{
    whole_square square;
    const auto n = static_cast<std::size_t>(gabarit.size());
    square.bytes.reserve(n * n);
    verify(gabarit, [&](const column& read) {
        square.bytes.insert(square.bytes.end(), read.similarity.begin(), read.similarity.end());
        square.times.push_back(read.time_seconds);
    });
    return square;
}

// Whether two gabarits have the same moments, but for what the frames of their features differ.
bool are_together(const std::vector<double>& one, const std::vector<double>& other)
{
    if (one.size() != other.size())
        return false;
    const double tolerance = one.size() < 2 ? 0.1 : (one[1] - one[0]) / 4.0;
    return std::ranges::equal(one, other, [&](double a, double b) { return std::abs(a - b) < tolerance; });
}

whole_square read_other(const std::string& path, const std::vector<double>& times)
{
    try {
        reader gabarit(path);
        whole_square square = read_square(gabarit);
        if (!are_together(square.times, times))
            throw std::runtime_error("has other moments");
        return square;
    } catch (const std::exception& error) {
        throw std::runtime_error("with " + path + ": " + error.what());
    }
}

// Brings others in by the mean of the bytes, rounded.
void average(std::vector<unsigned char>& bytes, const std::vector<std::string>& others,
             const std::vector<double>& times)
{
    if (others.empty())
        return;
    std::vector<std::uint32_t> sums(bytes.begin(), bytes.end());
    for (const std::string& other : others) {
        const whole_square square = read_other(other, times);
        std::ranges::transform(sums, square.bytes, sums.begin(), std::plus<>());
    }
    const auto count = static_cast<std::uint32_t>(others.size() + 1);
    std::ranges::transform(sums, bytes.begin(),
                           [&](std::uint32_t sum) { return static_cast<unsigned char>((sum + count / 2) / count); });
}

// A length from the command that made the gabarit, or what stands in for it.
double seconds_or(const std::string& word, double otherwise)
{
    const double seconds = std::strtod(word.c_str(), nullptr);
    return std::isfinite(seconds) && seconds > 0.0 ? seconds : otherwise;
}

// "1:02.5", "1:00:02.5"
std::string clock(double seconds)
{
    const auto tenths = std::llround(10.0 * seconds);
    std::array<char, 48> text{};
    if (tenths >= 36000)
        std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld.%lld", tenths / 36000, tenths / 600 % 60,
                      tenths / 10 % 60, tenths % 10);
    else
        std::snprintf(text.data(), text.size(), "%lld:%02lld.%lld", tenths / 600, tenths / 10 % 60, tenths % 10);
    return text.data();
}

double in_milliseconds(double seconds)
{
    return std::round(1000.0 * seconds) / 1000.0;
}

json parameters_of(const form& found)
{
    const sections::parameters& p = found.parameters;
    return {{"window", found.window_seconds},
            {"step", in_milliseconds(found.step_seconds)},
            {"shortest", p.shortest},
            {"longest", p.longest},
            {"cut_cost", p.cut_cost},
            {"cut_share", p.cut_share},
            {"least_cut_cost", p.least_cut_cost},
            {"least_contrast", p.least_contrast},
            {"stripe_share", p.stripe_share},
            {"smoothing", p.smoothing},
            {"aside", p.aside},
            {"stripe_contrast", p.stripe_contrast},
            {"stripe_likeness", p.stripe_likeness},
            {"shortest_stripe", p.shortest_stripe},
            {"reach", p.reach},
            {"stripe_pull", p.stripe_pull},
            {"jump", p.jump},
            {"leveling", p.leveling},
            {"ringing", p.ringing},
            {"shortest_pass", p.shortest_pass},
            {"pass_likeness", p.pass_likeness},
            {"pass_contrast", p.pass_contrast},
            {"ripple", p.ripple}};
}

} // namespace

form read_form(const std::string& path, const std::vector<std::string>& others)
{
    reader gabarit(path);
    const settings made_with = gabarit.made_with();
    form found;
    found.sound = gabarit.sound();
    whole_square square = read_square(gabarit);
    average(square.bytes, others, square.times);

    const std::vector<double>& times = square.times;
    const std::size_t n = times.size();
    found.window_seconds = seconds_or(made_with.modeling_window, 1.0);
    found.step_seconds = n > 1 ? (times.back() - times.front()) / static_cast<double>(n - 1)
                               : seconds_or(made_with.modeling_step, found.window_seconds / 2.0);
    if (n > 0)
        found.sections =
            sections::find_sections({square.bytes, static_cast<int>(n)},
                                    {times.front(), found.step_seconds, found.window_seconds}, found.parameters);
    return found;
}

std::string letters_of(const form& found)
{
    std::string letters;
    for (const sections::section& each : found.sections)
        letters += (letters.empty() ? "" : " ") + each.label;
    return letters;
}

std::string text_of(const form& found)
{
    std::string text = letters_of(found) + '\n';
    for (const sections::section& each : found.sections)
        text += clock(each.start_seconds) + "   " + clock(each.end_seconds) + "   " + each.label + '\n';
    text += "parameters:";
    const json parameters = parameters_of(found);
    for (const auto& [name, value] : parameters.items())
        text += ' ' + name + '=' + value.dump();
    return text + '\n';
}

std::string json_of(const form& found)
{
    json all{{"form", letters_of(found)}, {"sections", json::array()}, {"parameters", parameters_of(found)}};
    for (const sections::section& each : found.sections)
        all["sections"].push_back({{"start", in_milliseconds(each.start_seconds)},
                                   {"end", in_milliseconds(each.end_seconds)},
                                   {"label", each.label}});
    return all.dump(2) + '\n';
}

} // namespace gabarit
