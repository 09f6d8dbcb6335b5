// Corvane::Matrix: matrices of doubles, and the two forms in which other classes offer theirs.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <vector>

#include "gnss/platform/Export.h"

namespace Corvane {

// A matrix of doubles, a plain value. The default matrix is the null matrix, with no rows and no columns; it is also
// the answer of every operation that cannot be done, and an operation on a null matrix gives a null matrix, so that a
// chain of operations needs one test at its end. Rows and columns count from 0. Matrices of up to 25 elements (5 x 5,
// a position and two clocks) never allocate, nor do the operations between them.
class GNSS_EXPORT Matrix {
public:
    class SquareBody;
    class Covar;

    // More rows or columns than this make a null matrix.
    static constexpr int MaxDimension = 4096;
    // Inverse takes a matrix for singular when its reciprocal condition number lies below this: the inverse would
    // have no more than about three good digits.
    static constexpr double MinReciprocalCondition = 1e-13;

    Matrix() = default;
    // All zeros; null when either number is below 1 or above MaxDimension.
    Matrix(int rows, int columns);
    // The values row by row; elements without a value are zero, values without an element are dropped.
    Matrix(int rows, int columns, std::initializer_list<double> values);
    // The values that the body has now.
    explicit Matrix(const SquareBody& body);
    Matrix(const Matrix&) = default;
    Matrix(Matrix&& other) noexcept;  // leaves the other null
    Matrix& operator=(const Matrix&) = default;
    Matrix& operator=(Matrix&& other) noexcept;
    ~Matrix() = default;

    [[nodiscard]] static Matrix Identity(int size);

    [[nodiscard]] bool IsNull() const { return rows_ == 0; }
    [[nodiscard]] bool IsSquare() const { return rows_ == columns_ && rows_ > 0; }
    [[nodiscard]] bool IsFinite() const;  // no NaN, no infinity; true for the null matrix
    [[nodiscard]] int NmrRow() const { return rows_; }
    [[nodiscard]] int NmrColumn() const { return columns_; }

    // The element; 0.0 outside the matrix.
    [[nodiscard]] double GetValue(int row, int column) const { return IsInside(row, column) ? *At(row, column) : 0.0; }
    [[nodiscard]] double operator()(int row, int column) const { return GetValue(row, column); }
    // Nothing happens outside the matrix.
    void SetValue(int row, int column, double value) {
        if (IsInside(row, column)) *At(row, column) = value;
    }

    [[nodiscard]] Matrix Transpose() const;
    // The inverse; null when the matrix is not square, not finite or singular. Whether it is singular is judged after
    // rows and columns are scaled to the same size, so that a mixture of units does not count: by 1 / (|A| |1/A|) in
    // the norm of the largest column sum, against MinReciprocalCondition.
    [[nodiscard]] Matrix Inverse() const;
    // The rows x columns block whose first element is (row, column); null when it does not lie inside.
    [[nodiscard]] Matrix GetSubMatrix(int row, int column, int rows, int columns) const;
    // R M R-transposed, where M is this matrix: a covariance brought through the linear map R. Null when the sizes do
    // not fit.
    [[nodiscard]] Matrix TransformBy(const Matrix& r) const;

    // Null when the sizes do not fit.
    friend GNSS_EXPORT Matrix operator+(const Matrix& a, const Matrix& b);
    friend GNSS_EXPORT Matrix operator-(const Matrix& a, const Matrix& b);
    friend GNSS_EXPORT Matrix operator*(const Matrix& a, const Matrix& b);
    friend GNSS_EXPORT Matrix operator*(const Matrix& a, double factor);
    friend Matrix operator*(double factor, const Matrix& a) { return a * factor; }
    // Same size, same values.
    friend GNSS_EXPORT bool operator==(const Matrix& a, const Matrix& b);

private:
    static constexpr std::size_t Inline = 25;
    struct Eigen;  // views for the arithmetic, in the source

    [[nodiscard]] bool IsInside(int row, int column) const {
        return row >= 0 && row < rows_ && column >= 0 && column < columns_;
    }
    [[nodiscard]] double* Data() { return large_.empty() ? small_.data() : large_.data(); }
    [[nodiscard]] const double* Data() const { return large_.empty() ? small_.data() : large_.data(); }
    [[nodiscard]] std::size_t Offset(int row, int column) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) + static_cast<std::size_t>(column);
    }
    [[nodiscard]] std::size_t Count() const { return Offset(rows_, 0); }
    [[nodiscard]] double* At(int row, int column) { return Data() + Offset(row, column); }
    [[nodiscard]] const double* At(int row, int column) const { return Data() + Offset(row, column); }

    // Row by row, in small_ when there are no more than Inline elements, else in large_.
    int rows_ = 0;
    int columns_ = 0;
    std::array<double, Inline> small_{};
    std::vector<double> large_;
};

// What a class implements to offer values of its own as a square matrix; a Matrix is made from it.
class GNSS_EXPORT Matrix::SquareBody {
public:
    virtual ~SquareBody();
    [[nodiscard]] virtual int Size() const = 0;
    // The element; 0.0 outside.
    [[nodiscard]] virtual double GetValue(int row, int column) const = 0;
    [[nodiscard]] virtual std::unique_ptr<SquareBody> Clone() const = 0;

protected:
    SquareBody() = default;
    SquareBody(const SquareBody&) = default;
    SquareBody& operator=(const SquareBody&) = default;
};

// What a class implements to be a covariance matrix, of which it stores the upper triangle (row <= column).
class GNSS_EXPORT Matrix::Covar {
public:
    virtual ~Covar();
    [[nodiscard]] virtual int Size() const = 0;
    // The element of the upper triangle; 0.0 elsewhere.
    [[nodiscard]] virtual double GetMatrixUpperValue(int row, int column) const = 0;
    // Nothing happens outside the upper triangle.
    virtual void SetMatrixUpperValue(int row, int column, double value) = 0;

    // The whole symmetric matrix.
    [[nodiscard]] Matrix GetMatrix() const;
    // Takes the upper triangle of the matrix's first Size() rows and columns. False, and nothing changes, when the
    // matrix is null or smaller, or when a value to be taken is NaN or infinite. Negative variances are taken: whether
    // they are valid is for the derived class to say.
    bool SetFromMatrix(const Matrix& matrix);

protected:
    Covar() = default;
    Covar(const Covar&) = default;
    Covar& operator=(const Covar&) = default;
};

}  // namespace Corvane
