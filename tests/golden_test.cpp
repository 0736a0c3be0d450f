// Jobs and stages against what an independent computation of the same sounds gave.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "audio/load_sound.h"
#include "audio/make_reader.h"
#include "features/harmonic.h"
#include "features/standardize_columns.h"
#include "features/timbre.h"
#include "features/transpose.h"
#include "modeling/model_streams.h"
#include "modeling/reduce_components.h"
#include "modeling/time_grid.h"
#include "similarity/frame_distances.h"
#include "tests/support/progress.h"
#include "veloria/process_handle.h"
#include "veloria/veloria.h"

namespace {

const std::string golden = VELORIA_TEST_DATA "/golden/";

const nlohmann::json& manifest()
{
    static const nlohmann::json contents = nlohmann::json::parse(std::ifstream(golden + "manifest.json"));
    return contents;
}

template <class T>
std::vector<T> read_all(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    std::vector<T> values(bytes.size() / sizeof(T));
    std::copy_n(bytes.data(), values.size() * sizeof(T), reinterpret_cast<char*>(values.data()));
    return values;
}

int position_in(const std::vector<std::string>& words, const std::string& word)
{
    return static_cast<int>(std::find(words.begin(), words.end(), word) - words.begin());
}

std::vector<std::string> input_paths(const nlohmann::json& job)
{
    std::vector<std::string> paths;
    for (const std::string input : job["inputs"])
        paths.push_back(golden + "sounds/" + input);
    return paths;
}

class GoldenJob : public testing::TestWithParam<int> {
protected:
    const nlohmann::json& expected = manifest()["cases"][static_cast<std::size_t>(GetParam())];
};

TEST_P(GoldenJob, AgreesWithTheReference)
{
    const std::string name = expected["name"];
    SCOPED_TRACE(name);
    const std::vector<std::string> inputs = input_paths(expected);
    std::vector<const char*> paths;
    for (const std::string& input : inputs)
        paths.push_back(input.c_str());
    const std::string output = testing::TempDir() + name + "." + std::to_string(getpid()) + ".sdif";
    const int features = position_in({"timbre", "harmo", "mixed"}, expected["features"]);
    const int modeling = position_in({"mean", "meanvar", "fft", "mph"}, expected["modeling"]);
    veloria::process_handle* job = veloria::process(
        static_cast<int>(paths.size()), paths.data(), output.c_str(), static_cast<veloria::features_type>(features),
        static_cast<veloria::modeling_type>(modeling), expected["window"], expected["step"]);
    while (veloria::getState(job) == veloria::process_running)
        usleep(1000);
    ASSERT_EQ(veloria::getErrorMessage(job), "");

    EXPECT_EQ(std::vector<double>(job->frame_times.begin(), job->frame_times.end()),
              read_all<double>(golden + "expected/" + name + ".times"));
    const auto bytes = read_all<unsigned char>(golden + "expected/" + name + ".bytes");
    const int n = expected["n"];
    ASSERT_EQ(job->similarity.rows, n);
    ASSERT_EQ(job->similarity.columns, n);
    int largest_step = 0;
    std::size_t differing = 0;
    for (std::size_t cell = 0; cell < bytes.size(); ++cell) {
        const int step = std::abs(job->similarity.data[cell] - bytes[cell]);
        largest_step = std::max(largest_step, step);
        differing += step != 0;
    }
    // The stored share is the largest effect that eleven other legal choices had on the reference: orders of sums, and
    // one single-precision transform. Another such transform moves the valleys of the contrast further: FFTW 3.3.10 in
    // place of ours up to 0.021 of the cells more, by one step.
    const double transform_share = features == veloria::harmo ? 0.0 : 0.021;
    const double share = 2.0 * expected["rounding_share_of_cells"].get<double>() + 0.005 + transform_share;
    EXPECT_LE(largest_step, expected["rounding_max_step"].get<int>() + 1);
    EXPECT_LE(static_cast<double>(differing), share * static_cast<double>(bytes.size()));
    veloria::shutdown(job);
    std::filesystem::remove(output);
}

INSTANTIATE_TEST_SUITE_P(All, GoldenJob, testing::Range(0, 35));

TEST(Golden, HasNoJobThatIsNotRun)
{
    EXPECT_EQ(manifest()["cases"].size(), 35U);
}

using stream_list = tavel::Vector<tavel::Matrix<double>>;

tavel::Matrix<double> stored_stage(const std::string& name)
{
    const auto& arrays = manifest()["stages"]["arrays"];
    const auto array = std::find_if(arrays.begin(), arrays.end(), [&](const auto& a) { return a["name"] == name; });
    tavel::Matrix<double> matrix((*array)["rows"], (*array)["columns"]);
    const auto values = read_all<double>(golden + "expected/stage_" + name + ".f64");
    EXPECT_EQ(values.size(), static_cast<std::size_t>(matrix.rows) * static_cast<std::size_t>(matrix.columns));
    std::copy(values.begin(), values.end(), matrix.data);
    return matrix;
}

stream_list stored_streams(const std::string& name)
{
    stream_list streams(3);
    for (int s = 0; s < 3; ++s)
        streams[s] = stored_stage(name + "_" + std::to_string(s));
    return streams;
}

// All columns within `bound` of their largest value; where a sign is free it is that of the stored column.
void expect_stage(const tavel::Matrix<double>& matrix, const std::string& name, double bound, bool sign_is_free = false)
{
    SCOPED_TRACE(name);
    const tavel::Matrix<double> expected = stored_stage(name);
    ASSERT_EQ(matrix.rows, expected.rows);
    ASSERT_EQ(matrix.columns, expected.columns);
    for (int c = 0; c < matrix.columns; ++c) {
        double product = 0.0, largest = 0.0, error = 0.0;
        for (int r = 0; r < matrix.rows; ++r) {
            product += expected(r, c) * matrix(r, c);
            largest = std::max(largest, std::fabs(expected(r, c)));
        }
        const double sign = sign_is_free && product < 0.0 ? -1.0 : 1.0;
        for (int r = 0; r < matrix.rows; ++r)
            error = std::max(error, std::fabs(sign * matrix(r, c) - expected(r, c)));
        EXPECT_LE(error, bound * largest) << "column " << c;
    }
}

void expect_stage(const double* values, int count, const std::string& name, double bound)
{
    tavel::Matrix<double> column(count, 1);
    std::copy_n(values, count, column.data);
    expect_stage(column, name, bound);
}

double deviation(const tavel::Matrix<double>& matrix, int c)
{
    double sum = 0.0, squares = 0.0;
    for (int r = 0; r < matrix.rows; ++r)
        sum += matrix(r, c);
    for (int r = 0; r < matrix.rows; ++r)
        squares += std::pow(matrix(r, c) - sum / matrix.rows, 2);
    return std::sqrt(squares / (matrix.rows - 1));
}

// Features are single precision inside: to some 1e-4 of a column's deviation. The valleys of the contrast also carry
// the rounding noise of the transform, of which each bin has about a unit roundoff of the strongest one; a valley's
// level moves by twice the ratio of the amplitudes.
void expect_features(const tavel::Matrix<double>& features, const std::string& name, bool has_valleys)
{
    SCOPED_TRACE(name);
    constexpr double roundoff = std::numeric_limits<float>::epsilon() / 2.0;
    const tavel::Matrix<double> expected = stored_stage(name);
    ASSERT_EQ(features.rows, expected.rows);
    for (int c = 0; c < expected.columns; ++c) {
        const double bound = 2e-4 * deviation(expected, c);
        for (int r = 0; r < expected.rows; ++r) {
            double noise = 0.0;
            if (has_valleys && c >= 6) {
                double strongest = expected(r, 0);
                for (int b = 1; b < 6; ++b)
                    strongest = std::max(strongest, expected(r, b));
                const double valley = expected(r, c - 6) - expected(r, c);
                noise = 2.0 * roundoff * std::exp((strongest - valley) / 2.0);
            }
            ASSERT_NEAR(features(r, c), expected(r, c), bound + noise) << "row " << r << " column " << c;
        }
    }
}

constexpr double exact = 1e-9; // what double-precision stages agree to

TEST(Golden, FeaturesAgreeWithTheReference)
{
    const nlohmann::json& job = manifest()["stages"]["job"];
    const std::string input = input_paths(job)[0];
    const char* path = input.c_str();
    const auto reader = corvane::make_reader(1, &path);
    tavel::Vector<double> sound;
    corvane::load_sound(*reader, 11025.0, false, false, sound, unread_progress());
    expect_stage(sound.data, sound.size, "sound", exact);
    const std::vector<double> grid =
        veloria::time_grid(reader->frames() / static_cast<double>(reader->sample_rate()), job["step"]);
    expect_stage(grid.data(), static_cast<int>(grid.size()), "grid", 0.0);

    tavel::Matrix<double> pitch_classes;
    tavel::Slice<int> frame_slice;
    veloria::extract_harmonic(sound, 11025.0, 882, 294, 77.0, 1500.0, 0.001, pitch_classes, frame_slice,
                              unread_progress());
    veloria::transpose_in_place(pitch_classes);
    tavel::Matrix<double> cepstrum(frame_slice.count, 13), contrast(frame_slice.count, 12);
    veloria::extract_timbre(sound, 11025.0, 882, frame_slice, cepstrum, &contrast, unread_progress());
    expect_features(cepstrum, "features_raw_0", false);
    expect_features(contrast, "features_raw_1", true);
    expect_features(pitch_classes, "features_raw_2", false);
}

TEST(Golden, ModelingAndDistancesAgreeWithTheReference)
{
    const nlohmann::json& job = manifest()["stages"]["job"];
    stream_list streams = stored_streams("features_raw");
    veloria::standardize_columns(streams);
    for (int s = 0; s < 3; ++s)
        expect_stage(streams[s], "features_standardised_" + std::to_string(s), exact);

    const tavel::Matrix<double> grid = stored_stage("grid");
    const veloria::settings chosen{veloria::feature_selection::mixed, veloria::modeling_kind::meanvar, job["window"],
                                   job["step"]};
    tavel::Vector<double> frame_times;
    stream_list scores;
    veloria::model_streams(streams, 11025.0, tavel::Slice<int>(440, 105839, 294), {grid.data, grid.data + grid.rows},
                           chosen, frame_times, scores, unread_progress());
    veloria::standardize_columns(scores);
    veloria::reduce_components(scores, unread_progress());
    expect_stage(frame_times.data, frame_times.size, "frame_times", 0.0);
    for (int s = 0; s < 3; ++s)
        expect_stage(scores[s], "scores_" + std::to_string(s), exact, true);

    tavel::Matrix<double> distance;
    veloria::compute_frame_distances(scores, distance, unread_progress());
    expect_stage(distance, "distance", exact);
}

} // namespace
