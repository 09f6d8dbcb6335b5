#include "gnss/platform/Matrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include <Eigen/Dense>

namespace Corvane {

namespace {

using RowMajor = ::Eigen::Matrix<double, ::Eigen::Dynamic, ::Eigen::Dynamic, ::Eigen::RowMajor>;

// The power of two that brings x near 1, so that scaling by it rounds nothing; 1 for zero.
double ScaleOf(double x) {
    int exponent = 0;
    std::frexp(x, &exponent);
    return x > 0.0 ? std::ldexp(1.0, std::clamp(-exponent, -1000, 1000)) : 1.0;
}

// Inverts a finite square matrix in place; false when it is singular. Work is a matrix type that holds the size.
template <class Work>
bool InvertInPlace(::Eigen::Map<RowMajor> matrix) {
    const auto n = matrix.rows();
    Work scaled = matrix;
    Work rowScale(n, 1);
    Work columnScale(n, 1);
    for (::Eigen::Index i = 0; i < n; ++i) {
        rowScale(i, 0) = ScaleOf(scaled.row(i).cwiseAbs().maxCoeff());
        scaled.row(i) *= rowScale(i, 0);
    }
    for (::Eigen::Index i = 0; i < n; ++i) {
        columnScale(i, 0) = ScaleOf(scaled.col(i).cwiseAbs().maxCoeff());
        scaled.col(i) *= columnScale(i, 0);
    }
    const Work inverse = ::Eigen::PartialPivLU<Work>(scaled).inverse();
    const double norm = scaled.cwiseAbs().colwise().sum().maxCoeff();
    const double inverseNorm = inverse.cwiseAbs().colwise().sum().sum();  // sum, not maximum: a NaN must show
    if (!std::isfinite(inverseNorm)) return false;
    const double condition = norm * inverse.cwiseAbs().colwise().sum().maxCoeff();
    if (!(condition * Matrix::MinReciprocalCondition <= 1.0)) return false;
    for (::Eigen::Index i = 0; i < n; ++i) {
        for (::Eigen::Index j = 0; j < n; ++j) matrix(i, j) = inverse(i, j) * columnScale(i, 0) * rowScale(j, 0);
    }
    return true;
}

}  // namespace

struct Matrix::Eigen {
    static ::Eigen::Map<RowMajor> View(Matrix& m) { return {m.Data(), m.rows_, m.columns_}; }
    static ::Eigen::Map<const RowMajor> View(const Matrix& m) { return {m.Data(), m.rows_, m.columns_}; }
};

Matrix::Matrix(int rows, int columns) {
    if (rows < 1 || columns < 1 || rows > MaxDimension || columns > MaxDimension) return;
    rows_ = rows;
    columns_ = columns;
    if (Count() > Inline) large_.resize(Count());
}

Matrix::Matrix(int rows, int columns, std::initializer_list<double> values) : Matrix(rows, columns) {
    const auto count = std::min(values.size(), Count());
    std::copy_n(values.begin(), count, Data());
}

Matrix::Matrix(const SquareBody& body) : Matrix(body.Size(), body.Size()) {
    for (int row = 0; row < rows_; ++row) {
        for (int column = 0; column < columns_; ++column) *At(row, column) = body.GetValue(row, column);
    }
}

Matrix::Matrix(Matrix&& other) noexcept
    : rows_(std::exchange(other.rows_, 0)),
      columns_(std::exchange(other.columns_, 0)),
      small_(other.small_),
      large_(std::exchange(other.large_, {})) {}

Matrix& Matrix::operator=(Matrix&& other) noexcept {
    if (this != &other) {
        rows_ = std::exchange(other.rows_, 0);
        columns_ = std::exchange(other.columns_, 0);
        small_ = other.small_;
        large_ = std::exchange(other.large_, {});
    }
    return *this;
}

Matrix Matrix::Identity(int size) {
    Matrix result(size, size);
    for (int i = 0; i < result.rows_; ++i) *result.At(i, i) = 1.0;
    return result;
}

bool Matrix::IsFinite() const {
    return std::all_of(Data(), Data() + Count(), [](double x) { return std::isfinite(x); });
}

Matrix Matrix::Transpose() const {
    Matrix result(columns_, rows_);
    Eigen::View(result) = Eigen::View(*this).transpose();
    return result;
}

Matrix Matrix::Inverse() const {
    if (!IsSquare() || !IsFinite()) return {};
    using Small = ::Eigen::Matrix<double, ::Eigen::Dynamic, ::Eigen::Dynamic, 0, 5, 5>;
    static_assert(Inline == 25);
    Matrix result = *this;
    const auto view = Eigen::View(result);
    const bool regular = rows_ <= 5 ? InvertInPlace<Small>(view) : InvertInPlace<::Eigen::MatrixXd>(view);
    return regular && result.IsFinite() ? result : Matrix();
}

Matrix Matrix::GetSubMatrix(int row, int column, int rows, int columns) const {
    if (row < 0 || column < 0 || rows < 1 || columns < 1) return {};
    if (rows > rows_ - row || columns > columns_ - column) return {};
    Matrix result(rows, columns);
    Eigen::View(result) = Eigen::View(*this).block(row, column, rows, columns);
    return result;
}

Matrix Matrix::TransformBy(const Matrix& r) const {
    if (!IsSquare()) return {};
    return r * *this * r.Transpose();
}

Matrix operator+(const Matrix& a, const Matrix& b) {
    if (a.rows_ != b.rows_ || a.columns_ != b.columns_) return {};
    Matrix result = a;
    Matrix::Eigen::View(result) += Matrix::Eigen::View(b);
    return result;
}

Matrix operator-(const Matrix& a, const Matrix& b) {
    if (a.rows_ != b.rows_ || a.columns_ != b.columns_) return {};
    Matrix result = a;
    Matrix::Eigen::View(result) -= Matrix::Eigen::View(b);
    return result;
}

Matrix operator*(const Matrix& a, const Matrix& b) {
    if (a.columns_ != b.rows_ || a.IsNull()) return {};
    Matrix result(a.rows_, b.columns_);
    Matrix::Eigen::View(result).noalias() = Matrix::Eigen::View(a) * Matrix::Eigen::View(b);
    return result;
}

Matrix operator*(const Matrix& a, double factor) {
    Matrix result = a;
    Matrix::Eigen::View(result) *= factor;
    return result;
}

bool operator==(const Matrix& a, const Matrix& b) {
    if (a.rows_ != b.rows_ || a.columns_ != b.columns_) return false;
    return std::equal(a.Data(), a.Data() + a.Count(), b.Data());
}

Matrix::SquareBody::~SquareBody() = default;

Matrix::Covar::~Covar() = default;

Matrix Matrix::Covar::GetMatrix() const {
    Matrix result(Size(), Size());
    for (int row = 0; row < result.rows_; ++row) {
        for (int column = row; column < result.columns_; ++column) {
            *result.At(row, column) = *result.At(column, row) = GetMatrixUpperValue(row, column);
        }
    }
    return result;
}

bool Matrix::Covar::SetFromMatrix(const Matrix& matrix) {
    const int size = Size();
    if (matrix.IsNull() || matrix.NmrRow() < size || matrix.NmrColumn() < size) return false;
    for (int row = 0; row < size; ++row) {
        for (int column = row; column < size; ++column) {
            if (!std::isfinite(matrix(row, column))) return false;
        }
    }
    for (int row = 0; row < size; ++row) {
        for (int column = row; column < size; ++column) SetMatrixUpperValue(row, column, matrix(row, column));
    }
    return true;
}

}  // namespace Corvane
