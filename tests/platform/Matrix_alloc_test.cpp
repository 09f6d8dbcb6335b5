// Matrices of up to 5 x 5 never allocate.
#include <gtest/gtest.h>

#include "gnss/platform/Matrix.h"
#include "tests/support/CountingNew.h"

namespace {

using Corvane::Matrix;

TEST(MatrixAllocation, SmallMatricesDoNotAllocate) {
    const long before = tests::CountAllocations();
    Matrix m = Matrix::Identity(5) * 2.0 + Matrix::Identity(5);
    m.SetValue(0, 4, 1.0);
    const Matrix p = m.TransformBy(m.Inverse());
    const Matrix q = (p - p.Transpose() * m).GetSubMatrix(1, 1, 3, 3);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_FALSE(q.IsNull());
    const Matrix large(5, 6);
    EXPECT_EQ(tests::CountAllocations() - before, 1);
    EXPECT_FALSE(large.IsNull());
}

}  // namespace
