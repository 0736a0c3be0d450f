#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tavel/tavel_dense_vector.h"

using tavel::all;
using tavel::Matrix;
using tavel::range;
using tavel::Slice;
using tavel::Vector;
using testing::ElementsAre;

namespace {

// Element (r, c) is 10 r + c.
Matrix<double> numbered(int rows, int columns)
{
    Matrix<double> matrix(rows, columns);
    for (int c = 0; c < columns; ++c)
        for (int r = 0; r < rows; ++r)
            matrix(r, c) = 10 * r + c;
    return matrix;
}

std::vector<double> elements_of(const Matrix<double>& matrix)
{
    return {matrix.data, matrix.data + matrix.rows * matrix.columns};
}

TEST(Slice, CountsTheIndicesItReaches)
{
    constexpr int lowest = std::numeric_limits<int>::min();
    const struct {
        int start, last, step, end, count;
    } cases[] = {
        {0, 9, 3, 9, 4},  {0, 8, 3, 6, 3},  {5, 5, 7, 5, 1},         {3, 2, 1, 2, 0},
        {3, 2, -1, 4, 0}, {2, 9, -1, 3, 0}, {440, 439, 294, 146, 0}, {lowest, 2147483646, 2147483647, 2147483646, 3}};
    for (const auto& c : cases) {
        const Slice<int> slice(c.start, c.last, c.step);
        EXPECT_THAT((std::vector{slice.start, slice.end, int{slice.whole}, slice.step, slice.count}),
                    ElementsAre(c.start, c.end, 0, c.step, c.count));
    }
}

TEST(Arrays, RefuseWithTheirWords)
{
    const Matrix<double> wide = numbered(2, 3);
    Matrix<double> matrix = numbered(3, 3);
    Vector<double> vector(3);
    const Vector<int> index{0, 2}, longer{0, 0, 1, 2};
    const range two{0, 1};
    const std::string words = "adjustment of orientation failed for 2d argument object Vector<>::operator=(OBJS)\n";
    const std::string overlap = "unsupported self assignment detected\n";
    const struct {
        std::function<void()> call;
        std::string text;
    } cases[] = {
        {[&] { matrix(two, 0) = wide; }, "VectorRange:: " + words},
        {[&] { matrix(0, all) = wide; }, "VectorSlice:: " + words},
        {[&] { vector(index) = wide; }, "VectorIndex:: " + words},
        {[&] { vector = wide; }, "TavelVector:: " + words},
        {[&] { vector(two) = vector; }, "VectorRange:: " + words},
        {[&] { vector.resize(2, 2); }, "in file tavel/tavel_dense_vector 1020\n2d resize of vector requested."},
        {[&] { Slice<int>(0, -1, 0); }, "Slice<INDEX>:: creating slice with offset 0 is not supported\n"},
        {[&] { matrix = matrix(all, 2); }, overlap},
        {[&] { matrix = 1.0 + square(matrix(1, all)); }, overlap},
        {[&] { vector = vector(longer); }, overlap},
    };
    for (const auto& c : cases)
        EXPECT_THAT(c.call, testing::ThrowsMessage<tavel::error>("tavel error: " + c.text));
    EXPECT_STREQ(tavel::error("text").detail(), "");
    EXPECT_EQ(elements_of(matrix), elements_of(numbered(3, 3)));

    constexpr int most = std::numeric_limits<int>::max();
    EXPECT_THROW(vector.resize(-1), std::length_error);
    EXPECT_THROW(matrix.resize(most, most), std::length_error);
}

TEST(Vector, TakesTheOrientationOfItsSourceOrShape)
{
    // Is it a column, if it was a row or a column before?
    const struct {
        int rows, columns;
        bool assigned[2], resized[2];
    } cases[] = {
        {0, 0, {true, true}, {false, true}},  {0, 4, {true, true}, {false, true}},
        {3, 0, {true, true}, {false, true}},  {1, 0, {false, false}, {false, true}},
        {1, 1, {false, true}, {false, true}}, {1, 4, {false, false}, {false, false}},
        {2, 1, {true, true}, {true, true}},
    };
    for (const auto& c : cases)
        for (const bool column : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.rows << " by " << c.columns << ", column " << column);
            Vector<double> assigned(2, 5.0, column), resized(2, 5.0, column);
            assigned = numbered(c.rows, c.columns);
            resized.resize(c.rows, c.columns);
            EXPECT_EQ(assigned.column, c.assigned[column]);
            EXPECT_EQ(resized.column, c.resized[column]);
            EXPECT_TRUE(assigned.size == c.rows * c.columns && resized.size == assigned.size);
            EXPECT_EQ(assigned.data == nullptr, assigned.size == 0);
        }
}

TEST(Vector, SharesInCopiesAndCopiesInAssignments)
{
    Vector<int> first{1, 2, 3}, share = first, copy;
    copy = first;
    first[0] = 7;
    EXPECT_THAT(share, ElementsAre(7, 2, 3));
    share = copy; // into the shared elements
    EXPECT_THAT(first, ElementsAre(1, 2, 3));

    first = first(range{1, 2});
    first.resize(4, 9);
    first.push_back(first[0]);
    EXPECT_THAT(first, ElementsAre(2, 3, 9, 9, 2));
}

TEST(Vector, EvaluatesLikeTheElementLoop)
{
    constexpr int n = 37;
    Vector<double> a(n), b(n), c(n);
    for (int i = 0; i < n; ++i)
        b[i] = 1.0 / ((a[i] = i / 3.0 - 5.0) + 9.7);
    c = square(a - 0.25) * b + abs(a) / (2.0 - b) - 1;
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(c[i], (a[i] - 0.25) * (a[i] - 0.25) * b[i] + std::abs(a[i]) / (2.0 - b[i]) - 1) << i;

    Vector<double> chain(n, 1.0);
    chain(range{1, n - 1}) = chain(range{0, n - 2}) + 1.0; // each element reads the one just stored
    EXPECT_EQ(chain[n - 1], n);
}

TEST(Views, ReadAndWriteTheirElementsOnly)
{
    Matrix<double> matrix = numbered(3, 3);
    Vector<double> vector{0, 1, 2, 3, 4, 5};
    const Vector<int> index{5, 0, 0, 3};
    EXPECT_THAT(Vector<double>(matrix(range{1, 2}, 2)), ElementsAre(12, 22));
    EXPECT_THAT(Vector<double>(matrix(2, all)), ElementsAre(20, 21, 22));
    EXPECT_THAT(Vector<double>(vector(range{3, 1})), ElementsAre());
    EXPECT_THAT(Vector<double>(vector(Slice<int>(1, 4, 2))), ElementsAre(1, 3));
    EXPECT_THAT(Vector<double>(vector(Slice<int>())), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(Vector<double>(vector(index)), ElementsAre(5, 0, 0, 3));
    EXPECT_TRUE(matrix(all, 1).column && !matrix(2, all).column);

    matrix(all, 0) = Vector<double>{1, 2, 3};
    matrix(1, all) = matrix(range{0, 2}, 1) + 1.0; // its last element reads the one just stored
    matrix(range{2, 2}, 2) = 9.0;
    EXPECT_THAT(elements_of(matrix), ElementsAre(1, 2, 3, 1, 12, 21, 2, 22, 9));
    EXPECT_EQ(Vector<double>()(range{1, 0}).node().access.data, nullptr); // an offset to null would be undefined
    EXPECT_EQ(Vector<double>()(Slice<int>(1, 0, 1)).node().access.data, nullptr);
    EXPECT_EQ(Matrix<double>(3, 0)(1, all).node().access.data, nullptr);
    EXPECT_EQ(Matrix<double>(0, 3)(range{1, 0}, 2).node().access.data, nullptr);
    vector(index) = 7.0;
    vector(Slice<int>(1, 5, 3)) = Vector<double>{8, 9};
    EXPECT_THAT(vector, ElementsAre(7, 8, 2, 7, 9, 7));
}

TEST(Matrix, KeepsItsElementsInEitherFormOfResize)
{
    for (int shapes = 0; shapes < 5 * 5 * 5 * 5; ++shapes) {
        const int rows = shapes % 5, columns = shapes / 5 % 5, new_rows = shapes / 25 % 5, new_columns = shapes / 125;
        SCOPED_TRACE(testing::Message() << rows << " by " << columns << " to " << new_rows << " by " << new_columns);
        Matrix<double> linear = numbered(rows, columns), positional = numbered(rows, columns);
        std::vector<double> run = elements_of(linear);
        linear.resize(new_rows, new_columns);
        run.resize(static_cast<std::size_t>(new_rows * new_columns));
        EXPECT_EQ(elements_of(linear), run);

        positional.resize(new_rows, new_columns, -1.0);
        ASSERT_EQ(*positional.leading, new_rows);
        for (int c = 0; c < new_columns; ++c)
            for (int r = 0; r < new_rows; ++r)
                EXPECT_EQ(positional(r, c), r < rows && c < columns ? 10 * r + c : -1.0) << r << ", " << c;
    }
}

TEST(Matrix, ListsHoldTheirOwnMatricesAndStrides)
{
    Vector<Matrix<double>> list(2), copy;
    list[0] = numbered(2, 2);
    list[0](0, 0) = 5.0;
    list.resize(20); // moves the matrices
    copy = list;
    const Matrix<double> share = list[0];
    list[0](1, 1) = 6.0;
    EXPECT_THAT(elements_of(copy[0]), ElementsAre(5, 10, 1, 11));
    EXPECT_TRUE(list[0].leading == &list[0].rows && copy[0].leading == &copy[0].rows && share.leading == &share.rows);

    list[0].resize(3, 2, 0.0);
    list = list(range{0, 0});
    EXPECT_THAT(elements_of(list[0]), ElementsAre(5, 10, 0, 1, 6, 0));
}

TEST(Storage, FillsLargeBlocksAlsoWhereMemoryWasUsedBefore)
{
    constexpr int size = 3 << 20;
    for (const double fill : {3.0, 0.0, -0.0, 0.0}) {
        const auto differs = [fill](double value) {
            return value != fill || std::signbit(value) != std::signbit(fill);
        };
        Vector<double> block(size, fill);
        EXPECT_TRUE(std::none_of(block.begin(), block.end(), differs)) << fill;
        std::fill(block.begin(), block.end(), 9.0);
        block.resize(size / 3);
        block.resize(size, fill); // what was cut off is written anew
        EXPECT_EQ(std::count_if(block.begin(), block.end(), differs), size / 3) << fill;
    }
}

TEST(Means, RunAlongEitherDimension)
{
    const Matrix<double> matrix = numbered(3, 4);
    EXPECT_THAT(mean(matrix, 1), ElementsAre(10, 11, 12, 13));
    EXPECT_THAT(mean(matrix, 2), ElementsAre(1.5, 11.5, 21.5));
    EXPECT_TRUE(!mean(matrix, 1).column && mean(matrix, 2).column && !mean(numbered(1, 4), 2).column);
    EXPECT_TRUE(std::isnan(mean(Matrix<double>(0, 1), 1)[0]));
    Matrix<double> cancelling(3, 3); // 1 + 1e16 is 1e16: from the back, the sum would be 1
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            cancelling(i, j) = i + j == 0 ? 1.0 : i + j == 1 ? 1e16 : i + j == 2 ? -1e16 : 0.0;
    EXPECT_EQ(mean(cancelling, 1)[0], 0.0);
    EXPECT_EQ(mean(cancelling, 2)[0], 0.0);
    EXPECT_THAT(elements_of(select_columns(matrix, Vector<int>{3, 0})), ElementsAre(3, 13, 23, 0, 10, 20));
}

} // namespace
