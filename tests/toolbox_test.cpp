#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tavel/min_max_elem.h"
#include "tavel/mldivide.h"
#include "tavel/polyval.h"
#include "tavel/sort.h"
#include "tavel/tavel_dense_vector.h"

using tavel::Matrix;
using tavel::Vector;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Toolbox, RefusesWithItsWords)
{
    const Vector<double> none, two{1.0, 2.0};
    const Matrix<double> square(2, 2), tall(3, 2), wide(3, 99);
    Vector<double> same = two;
    Vector<int> index;
    const struct {
        std::function<void()> call;
        std::string text;
    } cases[] = {
        {[&] { sort(two, same, index, ""); },
         "sort (const Tin& datain, Tout& dataout, Tind& outind...) called with inplace arguments\n"},
        {[&] { min_elem(none); }, "min/max_elem called for empty vector \n"},
        {[&] { max_elem(abs(none)); }, "min/max_elem called for empty expression \n"},
        {[&] { polyval(none, two); }, "polyval:InvalidP -- P  must be a vector.\n"},
        {[&] { mldivide(square, square); }, "mldivide :: solution is badly conditioned \n"},
        {[&] { mldivide(square, tall); }, "mldivide :: argument error in mldivide info = -7\n"},
        {[&] { mldivide(tall, wide); }, "mldivide :: argument error in mldivide info = -12\n"},
    };
    for (const auto& c : cases)
        EXPECT_THAT(c.call, testing::ThrowsMessage<tavel::error>("tavel error: " + c.text));
}

TEST(Sort, GivesPositionsAndKeepsTheOrderOfEquals)
{
    const struct {
        bool column;
        int dim;
        const char* mode;
        std::vector<int> positions;
    } cases[] = {
        {true, 1, "ascend", {2, 0, 3, 1}}, {true, 1, "descend", {0, 3, 2, 1}}, {true, 2, nullptr, {0, 1, 2, 3}},
        {false, 2, nullptr, {2, 0, 3, 1}}, {false, 2, "Down", {0, 3, 2, 1}},   {false, 1, "d", {0, 1, 2, 3}},
        {false, 2, "", {2, 0, 3, 1}},      {false, 2, "xd", {2, 0, 3, 1}},
    };
    Vector<double> data{3, nan, 1, 3}, sorted;
    Vector<int> index{9};
    for (const auto& c : cases) {
        data.column = c.column;
        sort(data, index, c.dim, c.mode);
        EXPECT_THAT(index, ElementsAreArray(c.positions)) << &c - cases;
        EXPECT_EQ(index.column, c.column);
    }
    data[1] = 2.0;
    sort(data, sorted, index, "d");
    EXPECT_THAT(sorted, ElementsAre(3, 3, 2, 1));
    EXPECT_THAT(index, ElementsAre(0, 3, 1, 2));
}

TEST(Mldivide, SolvesSquareAndOtherSystems)
{
    const struct {
        int rows, columns;
        std::vector<double> a, b, x;
    } cases[] = {
        {2, 2, {2, 1, 1, 3}, {3, 5}, {0.8, 1.4}},
        {3, 1, {1, 2, 2}, {3, 0, 3}, {1}},                     // least squares
        {1, 2, {3, 4}, {50}, {6, 8}},                          // smallest norm
        {3, 2, {1, 1, 1, 1, 1, 1}, {2, 4, 6}, {2, 2}},         // rank 1: smallest norm of all least squares
        {3, 2, {1, 0, 0, 0, 7e-16, 0}, {1, 7e-16, 0}, {1, 1}}, // singular values down to 3 eps count, which is 6.7e-16
        {3, 2, {1, 0, 0, 0, 6e-16, 0}, {1, 6e-16, 0}, {1, 0}},
        {0, 0, {}, {}, {}},
    };
    for (const auto& c : cases) {
        Matrix<double> a(c.rows, c.columns), b(c.rows, 2);
        std::copy(c.a.begin(), c.a.end(), a.data);
        std::copy(c.b.begin(), c.b.end(), b.column_data(1));
        const Vector<double> x = mldivide(a, b)(tavel::all, 1);
        EXPECT_TRUE(mldivide(a, Vector<double>(b(tavel::all, 1))).column);
        // The methods are backward stable, and but for diagonal matrices the condition numbers are below 10.
        const double bound = 1000.0 * std::numeric_limits<double>::epsilon();
        EXPECT_THAT(std::vector(x.begin(), x.end()), testing::Pointwise(testing::DoubleNear(bound), c.x));
        EXPECT_TRUE(std::equal(c.a.begin(), c.a.end(), a.data)); // the arguments stay
    }
}

TEST(Saturate, CutsOffAtBothEndsOfEveryWidth)
{
    using std::numeric_limits;
    const Vector<double> values{nan, HUGE_VAL, -1e30, 0x1p63, 100.9, -0.9};
    constexpr std::int64_t most = numeric_limits<std::int64_t>::max();
    EXPECT_THAT(Vector<unsigned char>(values), ElementsAre(0, 255, 0, 255, 100, 0));
    EXPECT_THAT(Vector<int>(values), ElementsAre(0, 2147483647, -2147483647 - 1, 2147483647, 100, 0));
    EXPECT_THAT(Vector<std::int64_t>(values), ElementsAre(0, most, -most - 1, most, 100, 0));
    EXPECT_THAT(Vector<std::uint64_t>(values),
                ElementsAre(0, numeric_limits<std::uint64_t>::max(), 0, std::uint64_t{1} << 63, 100, 0));
}

} // namespace
