// Matrices: the null matrix as the answer of what cannot be done, inverses near singularity, covariances.
#include "gnss/platform/Matrix.h"

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

namespace {

using Corvane::Matrix;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

double LargestDifference(const Matrix& a, const Matrix& b) {
    const Matrix d = a - b;
    double largest = d.IsNull() ? Infinity : 0.0;
    for (int i = 0; i < d.NmrRow(); ++i) {
        for (int j = 0; j < d.NmrColumn(); ++j) largest = std::max(largest, std::abs(d(i, j)));
    }
    return largest;
}

Matrix MakeRandomMatrix(int rows, int columns, std::mt19937_64& random) {
    std::normal_distribution<double> normal;
    Matrix m(rows, columns);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < columns; ++j) m.SetValue(i, j, normal(random));
    }
    return m;
}

// A 3 x 3 covariance that keeps its upper triangle row by row.
class Triangle : public Matrix::Covar {
public:
    [[nodiscard]] int Size() const override { return 3; }
    [[nodiscard]] double GetMatrixUpperValue(int row, int column) const override {
        return row <= column ? values_[row][column] : 0.0;
    }
    void SetMatrixUpperValue(int row, int column, double value) override { values_[row][column] = value; }

private:
    double values_[3][3] = {};
};

TEST(Matrix, WhatCannotBeDoneGivesTheNullMatrix) {
    const Matrix a(2, 3, {1, 2, 3, 4, 5, 6});
    const Matrix null;
    const std::pair<const char*, Matrix> cases[] = {
        {"no rows", Matrix(0, 3)},
        {"negative", Matrix(-1, -1)},
        {"too large", Matrix(Matrix::MaxDimension + 1, 1)},
        {"sum of sizes that differ", a + a.Transpose()},
        {"difference of sizes that differ", a - Matrix(2, 2)},
        {"product of sizes that do not meet", a * a},
        {"null in a sum", a + null},
        {"null in a product", null * a},
        {"null in a chain", null.Inverse().Transpose() * 2.0},
        {"inverse of a matrix that is not square", a.Inverse()},
        {"block over the edge", a.GetSubMatrix(1, 1, 2, 1)},
        {"block before the edge", a.GetSubMatrix(-1, 0, 1, 1)},
        {"block of nothing", a.GetSubMatrix(0, 0, 0, 1)},
        {"block far outside", a.GetSubMatrix(2147483647, 0, 2147483647, 1)},
        {"transformation of a matrix that is not square", a.TransformBy(a)},
        {"transformation of sizes that do not meet", Matrix::Identity(2).TransformBy(a)},
    };
    for (const auto& [name, result] : cases) EXPECT_TRUE(result.IsNull()) << name;
    EXPECT_EQ(a(2, 0), 0.0);
    EXPECT_EQ(a(-1, 2147483647), 0.0);
}

TEST(Matrix, Arithmetic) {
    const Matrix a(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(a * a.Transpose(), Matrix(2, 2, {14, 32, 32, 77}));
    EXPECT_EQ(a.GetSubMatrix(0, 1, 2, 2), Matrix(2, 2, {2, 3, 5, 6}));
    EXPECT_EQ(a + a, 2.0 * a);
    EXPECT_EQ(a - a, Matrix(2, 3));
    // Twice the first axis minus the second, and the second, of independent variances 4 and 9.
    EXPECT_EQ(Matrix(2, 2, {4, 0, 0, 9}).TransformBy(Matrix(2, 2, {2, -1, 0, 1})), Matrix(2, 2, {25, -9, -9, 9}));
}

TEST(Matrix, SingularMatricesHaveNoInverse) {
    const Matrix singular[] = {
        Matrix(1, 1),
        Matrix(3, 3),
        Matrix(2, 2, {1, 2, 2, 4}),
        Matrix(3, 3, {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}),  // singular but for rounding
        Matrix(2, 2, {1, 1, 1, 1 + 2e-14}),                           // reciprocal condition below the limit
        Matrix(2, 2, {1, NaN, 0, 1}),
        Matrix(2, 2, {1, 0, 0, Infinity}),
        Matrix(1, 1, {1e-310}),  // the inverse overflows
    };
    for (const Matrix& m : singular) EXPECT_TRUE(m.Inverse().IsNull()) << m(0, 0);
    const std::pair<Matrix, Matrix> regular[] = {
        {Matrix(1, 1, {4}), Matrix(1, 1, {0.25})},
        {Matrix(2, 2, {0, 1, 1, 0}), Matrix(2, 2, {0, 1, 1, 0})},
        {Matrix(2, 2, {1e-200, 0, 0, 1e200}), Matrix(2, 2, {1e200, 0, 0, 1e-200})},  // units far apart
    };
    for (const auto& [m, inverse] : regular) {
        EXPECT_LT(LargestDifference(m.Inverse() * m, Matrix::Identity(m.NmrRow())), 1e-15);
        EXPECT_LT(LargestDifference(inverse * m, Matrix::Identity(m.NmrRow())), 1e-15);
    }
}

TEST(Matrix, InverseAndTransformationOfRandomMatrices) {
    auto random = tests::MakeRandom();
    for (int size = 1; size <= 12; ++size) {
        const Matrix a = MakeRandomMatrix(size + 3, size, random);
        const Matrix normal = a.Transpose() * a + Matrix::Identity(size);
        EXPECT_LT(LargestDifference(normal * normal.Inverse(), Matrix::Identity(size)), 1e-11) << size;
        const Matrix r = MakeRandomMatrix(2, size, random);
        EXPECT_LT(LargestDifference(normal.TransformBy(r), r * normal * r.Transpose()), 1e-10) << size;
    }
}

TEST(Matrix, MovedFromMatrixIsNull) {
    Matrix large = Matrix::Identity(20);
    const Matrix taken = std::move(large);
    EXPECT_TRUE(
        large.IsNull());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): this is what is tested
    EXPECT_EQ(large(3, 3), 0.0);  // NOLINT(clang-analyzer-cplusplus.Move)
    EXPECT_EQ(taken, Matrix::Identity(20));
    Matrix small(2, 2, {1, 2, 3, 4});
    large = std::move(small);
    EXPECT_EQ(large, Matrix(2, 2, {1, 2, 3, 4}));
}

TEST(Matrix, ReadsASquareBody) {
    class Body : public Matrix::SquareBody {
    public:
        [[nodiscard]] int Size() const override { return 2; }
        [[nodiscard]] double GetValue(int row, int column) const override { return 10.0 * row + column; }
        [[nodiscard]] std::unique_ptr<SquareBody> Clone() const override { return std::make_unique<Body>(*this); }
    };
    EXPECT_EQ(Matrix(*Body().Clone()), Matrix(2, 2, {0, 1, 10, 11}));
}

TEST(MatrixCovar, TakesTheUpperTriangleOrNothing) {
    Triangle covar;
    ASSERT_TRUE(covar.SetFromMatrix(Matrix(4, 4, {-1, 2, 3, 0, 99, 4, 5, 0, 99, 99, 6, 0, 0, 0, 0, NaN})));
    const Matrix symmetric(3, 3, {-1, 2, 3, 2, 4, 5, 3, 5, 6});
    EXPECT_EQ(covar.GetMatrix(), symmetric);
    EXPECT_FALSE(covar.SetFromMatrix(Matrix()));
    EXPECT_FALSE(covar.SetFromMatrix(Matrix(2, 5)));
    EXPECT_FALSE(covar.SetFromMatrix(Matrix(3, 3, {1, 0, 0, 0, 1, Infinity, 0, 0, 1})));
    EXPECT_FALSE(covar.SetFromMatrix(Matrix(3, 3, {1, 0, 0, 0, NaN, 0, 0, 0, 1})));
    EXPECT_EQ(covar.GetMatrix(), symmetric);
}

}  // namespace
